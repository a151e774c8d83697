#pragma once

#include "Tessary/Store/Store.h"

#include <QString>
#include <QStringList>
#include <QStringView>

namespace tessary {

// The pieces of what the user typed or pasted into the ticker field: cut at spaces and commas
// only, empty pieces dropped. Tabs and semicolons stay inside a piece on purpose, so that a
// stray separator shows up as a symbol that is not found rather than silently splitting.
QStringList tickerTokens(QStringView text);
// The last of those pieces (what the suggestions complete), empty when there is none. It looks
// only at the end of the text, so a pasted page of symbols costs nothing per keystroke.
QStringView lastTickerToken(QStringView text);

// The one-line outcome of an addition: "Not found: …" and the over-limit count, joined with
// " · "; empty when everything went in.
QString addNotice(const Store::AddResult& result);

// The field's placeholder: it names the universe's size, grouped, once the universe is known.
QString tickerPlaceholder(qsizetype universeSize);

} // namespace tessary
