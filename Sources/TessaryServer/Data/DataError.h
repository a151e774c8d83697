#pragma once

#include <QString>

namespace tessary::server {

// Why the store, an import or the demo market could not do its work, as one line of text.
struct DataError {
    QString message;

    QString description() const { return message; }
};

} // namespace tessary::server
