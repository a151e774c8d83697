#include "DateLabel.h"

#include "TessaryWire/MarketTime.h"

#include <QLocale>

namespace tessary::DateLabel {

std::optional<QDate> parse(QStringView text)
{
    if (text.size() != 10)
        return std::nullopt;
    return MarketTime::parseDate(text);
}

QString display(QDate date)
{
    static const QLocale english(QLocale::English, QLocale::UnitedStates);
    return english.toString(date, QStringLiteral("MMM d, yyyy"));
}

QString display(QStringView text)
{
    const auto date = parse(text);
    return date ? display(*date) : text.toString();
}

} // namespace tessary::DateLabel
