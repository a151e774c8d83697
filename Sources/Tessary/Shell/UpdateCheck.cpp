#include "UpdateCheck.h"

#include "NetworkReply.h"

#include <QCoroNetworkReply>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QRegularExpression>

#include <algorithm>

namespace tessary {

QString UpdateError::description() const
{
    return QStringLiteral("Could not check for updates: ") + reason;
}

QString UpdateCheckResult::headline() const
{
    // A build ahead of the feed (a development build) is itself the latest there is.
    return (available ? availableText : latestText).arg(available ? latest.version : running);
}

namespace UpdateFeed {

namespace {

struct Version {
    std::vector<qulonglong> release;
    QStringList preRelease;
};

std::optional<Version> parse(QStringView text)
{
    static const QRegularExpression pattern(
        QStringLiteral(R"(^v?(\d+(?:\.\d+)*)(?:-([0-9A-Za-z-]+(?:\.[0-9A-Za-z-]+)*))?(?:\+[0-9A-Za-z.-]+)?$)"));
    const auto match = pattern.match(text.trimmed());
    if (!match.hasMatch())
        return std::nullopt;
    Version version;
    for (const auto part : match.capturedView(1).split(u'.')) {
        bool ok = false;
        version.release.push_back(part.toULongLong(&ok));
        if (!ok)
            return std::nullopt;
    }
    // "1.2" is "1.2.0": trailing zeros say nothing.
    while (version.release.size() > 1 && version.release.back() == 0)
        version.release.pop_back();
    if (match.hasCaptured(2))
        version.preRelease = match.captured(2).split(u'.');
    return version;
}

// Pre-release parts: numbers compare as numbers and come before words.
std::strong_ordering compareIdentifier(const QString& left, const QString& right)
{
    bool leftNumber = false;
    bool rightNumber = false;
    const qulonglong l = left.toULongLong(&leftNumber);
    const qulonglong r = right.toULongLong(&rightNumber);
    if (leftNumber && rightNumber)
        return l <=> r;
    if (leftNumber != rightNumber)
        return leftNumber ? std::strong_ordering::less : std::strong_ordering::greater;
    return QString::compare(left, right, Qt::CaseSensitive) <=> 0;
}

} // namespace

QUrl defaultUrl(const QUrl& web)
{
    return urlBelow(web, path.toString());
}

std::expected<Release, UpdateError> decode(const QByteArray& body)
{
    QJsonParseError error {};
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::unexpected(UpdateError { QStringLiteral("the update feed is not a JSON object") });
    const QJsonObject object = document.object();
    Release release { object.value(u"version").toString(), object.value(u"notes").toString(),
        QUrl(object.value(u"url").toString()) };
    if (!parse(release.version))
        return std::unexpected(UpdateError { QStringLiteral("the update feed names no version") });
    return release;
}

std::optional<std::strong_ordering> compareVersions(QStringView left, QStringView right)
{
    const auto l = parse(left);
    const auto r = parse(right);
    if (!l || !r)
        return std::nullopt;
    if (const auto order = std::lexicographical_compare_three_way(
            l->release.begin(), l->release.end(), r->release.begin(), r->release.end());
        order != 0)
        return order;
    if (l->preRelease.isEmpty() != r->preRelease.isEmpty())
        return l->preRelease.isEmpty() ? std::strong_ordering::greater : std::strong_ordering::less;
    return std::lexicographical_compare_three_way(
        l->preRelease.begin(), l->preRelease.end(), r->preRelease.begin(), r->preRelease.end(), compareIdentifier);
}

QCoro::Task<std::expected<UpdateCheckResult, UpdateError>> check(
    QPointer<QNetworkAccessManager> network, QUrl feed, QString running, std::chrono::milliseconds timeout)
{
    if (!network)
        co_return std::unexpected(UpdateError { QStringLiteral("the network is not available") });
    QNetworkRequest request(feed);
    // A server that accepts the connection and then says nothing must not keep the user waiting.
    request.setTransferTimeout(static_cast<int>(timeout.count()));
    const OwnedReply reply(network->get(request));
    if (!co_await reply.finished())
        co_return std::unexpected(UpdateError { QStringLiteral("the check was abandoned") });

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid() && (status.toInt() < 200 || status.toInt() > 299))
        co_return std::unexpected(
            UpdateError { QStringLiteral("the update feed answered HTTP %1").arg(status.toInt()) });
    if (reply->error() == QNetworkReply::OperationCanceledError || reply->error() == QNetworkReply::TimeoutError) {
        const qint64 seconds = std::max<qint64>(1, timeout.count() / 1000);
        co_return std::unexpected(
            UpdateError { QStringLiteral("no answer from %1 within %2 %3")
                              .arg(feed.host())
                              .arg(seconds)
                              .arg(seconds == 1 ? QStringLiteral("second") : QStringLiteral("seconds")) });
    }
    if (reply->error() != QNetworkReply::NoError)
        co_return std::unexpected(UpdateError { reply->errorString().simplified() });
    auto release = decode(reply->readAll());
    if (!release)
        co_return std::unexpected(release.error());
    const auto order = compareVersions(release->version, running);
    co_return UpdateCheckResult { *release, running, order && *order > 0 };
}

} // namespace UpdateFeed

} // namespace tessary
