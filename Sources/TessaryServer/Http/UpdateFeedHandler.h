#pragma once

#include "HttpExchange.h"

namespace tessary::server {

// The desktop app's release feed, GET /updates/linux.json. Whoever runs the server announces
// a release by placing that file in the data directory (updates/linux.json); it is read on
// every request, so a new release needs no restart. Without one the server vouches for its
// own build, which tells an app of the same build that it is up to date.
class UpdateFeedHandler {
public:
    static constexpr QStringView path = u"/updates/linux.json";

    // `dataDirectory` empty: only the built-in answer.
    explicit UpdateFeedHandler(QString dataDirectory);

    HttpResponse handle() const;

private:
    QString m_file;
};

} // namespace tessary::server
