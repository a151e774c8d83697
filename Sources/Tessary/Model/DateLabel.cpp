#include "DateLabel.h"

#include "TessaryWire/MarketTime.h"

#include <QRegularExpression>

namespace tessary::DateLabel {

std::optional<QDate> parse(QStringView text)
{
    if (text.size() != 10)
        return std::nullopt;
    return MarketTime::parseDate(text);
}

QString dayFormat(const QLocale& locale)
{
    // Qt knows a short (numeric) and a long (weekday, full month) form; the one in between is
    // the long form without its weekday and with the month abbreviated.
    QString format = locale.dateFormat(QLocale::LongFormat);
    static const QRegularExpression weekday(QStringLiteral("d{4}[,.\\s]*|[,\\s]*d{4}"));
    format.remove(weekday);
    format.replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
    return format.trimmed();
}

QString monthDayFormat(const QLocale& locale)
{
    QString format = dayFormat(locale);
    // The year goes with the words that belong to it ("de 2009", "2009 г.", "2009年").
    static const QRegularExpression year(QStringLiteral("[,\\s]*('[^']*'\\s*)?y+\\s*('[^']*'|[年년])?\\.?"));
    format.remove(year);
    return format.trimmed();
}

QString hourFormat(bool withMinutes, const QLocale& locale)
{
    const bool twelveHours = locale.timeFormat(QLocale::ShortFormat).contains(u'a', Qt::CaseInsensitive);
    if (twelveHours)
        return withMinutes ? QStringLiteral("h:mm AP") : QStringLiteral("h AP");
    return QStringLiteral("H:mm");
}

QString display(QDate date)
{
    const QLocale locale = MarketTime::displayLocale();
    return locale.toString(date, dayFormat(locale));
}

QString display(QStringView text)
{
    const auto date = parse(text);
    return date ? display(*date) : text.toString();
}

} // namespace tessary::DateLabel
