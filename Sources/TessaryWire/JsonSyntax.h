#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace tessary {

// Checks a JSON text against the grammar to the letter, and says where it breaks ("a control
// character inside a string at offset 12"). Qt's parser lets some malformed texts through
// (numbers like "2." or ".5", raw tabs and newlines inside strings, "\x" escapes, lone
// surrogate escapes), which simdjson refuses; checking first makes both paths refuse the
// same texts. Beyond the grammar it refuses what neither tree can hold exactly: a whole
// number outside 64 bits. A leading UTF-8 byte-order mark is allowed, as both parsers skip it.
std::optional<QString> jsonSyntaxError(QByteArrayView text);

} // namespace tessary
