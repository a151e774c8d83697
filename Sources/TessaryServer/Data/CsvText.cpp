#include "TessaryServer/Data/CsvText.h"

#include <cmath>

namespace tessary::server {

QStringList splitCsvLine(QStringView line)
{
    QStringList fields;
    QString field;
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        if (quoted) {
            if (c == u'"' && i + 1 < line.size() && line[i + 1] == u'"') {
                field += u'"';
                ++i;
            } else if (c == u'"') {
                quoted = false;
            } else {
                field += c;
            }
        } else if (c == u'"') {
            quoted = true;
        } else if (c == u',') {
            fields.push_back(field.trimmed());
            field.clear();
        } else if (c != u'\r') {
            field += c;
        }
    }
    fields.push_back(field.trimmed());
    return fields;
}

QString headerKey(QStringView name)
{
    QString key;
    for (const QChar c : name)
        if (c.isLetterOrNumber())
            key += c.toLower();
    return key;
}

std::optional<double> parseNumber(QStringView text, bool allowScale)
{
    text = text.trimmed();
    double scale = 1;
    if (allowScale && !text.isEmpty()) {
        switch (text.back().toUpper().unicode()) {
        case u'K':
            scale = 1e3;
            break;
        case u'M':
            scale = 1e6;
            break;
        case u'B':
            scale = 1e9;
            break;
        case u'T':
            scale = 1e12;
            break;
        default:
            break;
        }
        if (scale != 1)
            text.chop(1);
        if (text.startsWith(u'$'))
            text = text.sliced(1);
    }
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value * scale;
}

CsvReader::CsvReader(QIODevice* device)
    : m_in(device)
{
    while (!m_in.atEnd() && m_headerLine.trimmed().isEmpty()) {
        m_headerLine = m_in.readLine();
        ++m_lineNumber;
    }
    if (m_headerLine.startsWith(QChar(0xFEFF)))
        m_headerLine.remove(0, 1);
    m_header = splitCsvLine(m_headerLine);
}

bool CsvReader::next()
{
    while (!m_in.atEnd()) {
        const QString line = m_in.readLine();
        ++m_lineNumber;
        if (!line.trimmed().isEmpty()) {
            m_fields = splitCsvLine(line);
            return true;
        }
    }
    return false;
}

} // namespace tessary::server
