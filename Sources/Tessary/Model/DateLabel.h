#pragma once

#include <QDate>
#include <QString>

#include <optional>

namespace tessary::DateLabel {

// A market day text ("2009-03-09") as a date; anything else is nothing.
std::optional<QDate> parse(QStringView text);
// A day as the app shows it: "Mar 9, 2009". The app's texts are English, so its dates are too.
QString display(QDate date);
// The display form of a market day text, or the text itself when it is not one.
QString display(QStringView text);

} // namespace tessary::DateLabel
