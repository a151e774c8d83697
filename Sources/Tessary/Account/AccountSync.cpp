#include "AccountSync.h"

#include "Tessary/Shell/AtomicFile.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPointer>
#include <QTimer>

#include <array>

namespace tessary {

namespace {

const QString syncErrorPrefix = QStringLiteral("Couldn't save to your account: ");
constexpr std::array kindNames { "create", "rename", "setTickers", "setPreset", "setScenario", "setBenchmark", "touch",
    "delete" };

QJsonObject editToJson(const ListEdit& edit)
{
    return QJsonObject { { QStringLiteral("op"), QLatin1StringView(kindNames[static_cast<std::size_t>(edit.kind)]) },
        { QStringLiteral("list"), edit.list.toJsonObject() } };
}

std::optional<ListEdit> editFromJson(const QJsonObject& object)
{
    const QString name = object.value(QLatin1StringView("op")).toString();
    for (std::size_t i = 0; i < kindNames.size(); ++i) {
        if (name != QLatin1StringView(kindNames[i]))
            continue;
        auto list = ComparisonList::fromJson(object.value(QLatin1StringView("list")).toObject());
        if (!list)
            return std::nullopt;
        return ListEdit { static_cast<ListEdit::Kind>(i), std::move(*list) };
    }
    return std::nullopt;
}

} // namespace

AccountSync::AccountSync(AccountService& account, QString stateFile, QObject* parent)
    : QObject(parent)
    , m_account(account)
    , m_stateFile(std::move(stateFile))
{
    const auto bytes = readWholeFile(m_stateFile);
    const QJsonObject state = bytes ? QJsonDocument::fromJson(*bytes).object() : QJsonObject();
    if (const QJsonValue document = state.value(QLatin1StringView("document")); document.isObject()) {
        m_server = SettingsDocument(document.toObject());
        if (const QJsonValue etag = state.value(QLatin1StringView("etag")); etag.isString())
            m_etag = etag.toString();
        m_pulled = true;
    }
    for (const QJsonValue& value : state.value(QLatin1StringView("pending")).toArray()) {
        if (auto edit = editFromJson(value.toObject()))
            m_pending.push_back(std::move(*edit));
    }
    publish();
}

QCoro::Task<std::expected<void, AccountError>> AccountSync::pull()
{
    QPointer<AccountSync> self(this);
    setStatus(true, m_syncError);
    auto reply = co_await m_account.send(QStringLiteral("account"), "GET");
    if (!self)
        co_return std::unexpected(AccountError::cancelled());
    if (reply && reply->status != 200)
        reply = std::unexpected(AccountError::http(reply->status));
    if (!reply) {
        setStatus(false, syncErrorPrefix + reply.error().description());
        co_return std::unexpected(reply.error());
    }
    adopt(reply->body, reply->header("ETag"));
    m_pulled = true;
    saveState();
    m_lastSynced = QDateTime::currentDateTimeUtc();
    setStatus(false, m_syncError);
    publish();
    // What was left over from the last run goes out now.
    if (!m_pending.empty())
        schedulePush();
    co_return {};
}

void AccountSync::adopt(const QByteArray& body, const QByteArray& etag)
{
    m_server = SettingsDocument(QJsonDocument::fromJson(body).object());
    m_etag = versionFromETag(etag);
}

void AccountSync::enqueue(const ListEdit& edit)
{
    m_pending.push_back(edit);
    saveState();
    publish();
    schedulePush();
}

void AccountSync::schedulePush()
{
    const quint64 generation = ++m_pushGeneration;
    QTimer::singleShot(m_delay, this, [this, generation] {
        // A newer edit has scheduled its own write.
        if (generation == m_pushGeneration)
            QCoro::connect(push(), this, [](const auto&) {});
    });
}

QCoro::Task<std::expected<void, AccountError>> AccountSync::push()
{
    QPointer<AccountSync> self(this);
    if (m_isPushing || m_pending.empty())
        co_return {};
    // Without a document to edit there is nothing to write on top of: read it first.
    if (!m_pulled) {
        const auto pulled = co_await pull();
        if (!self || !pulled)
            co_return pulled;
        if (m_isPushing || m_pending.empty())
            co_return {};
    }
    m_isPushing = true;
    setStatus(true, m_syncError);
    const std::size_t carried = m_pending.size();
    SettingsDocument document = m_server;
    const double now = currentTimeMilliseconds();
    for (const ListEdit& edit : m_pending)
        document.apply(edit, now);
    RawHeaders headers;
    if (m_etag)
        headers.append({ "If-Match", '"' + m_etag->toUtf8() + '"' });
    auto reply = co_await m_account.send(
        QStringLiteral("account"), "PUT", QJsonDocument(document.object()).toJson(QJsonDocument::Compact), headers);
    if (!self)
        co_return std::unexpected(AccountError::cancelled());
    m_isPushing = false;
    if (reply && reply->status == 200) {
        m_server = std::move(document);
        m_etag = versionFromETag(reply->header("ETag"));
        m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(carried));
        saveState();
        m_lastSynced = QDateTime::currentDateTimeUtc();
        setStatus(false, std::nullopt);
        publish();
        // Edits made while this write was under way go out next.
        if (!m_pending.empty())
            schedulePush();
        co_return {};
    }
    if (reply && reply->status == 409) {
        // The document changed elsewhere: take it, and the kept edits go on top of it next time.
        adopt(reply->body, reply->header("ETag"));
        saveState();
    }
    const AccountError error = reply ? AccountError::http(reply->status) : reply.error();
    setStatus(false, syncErrorPrefix + error.description());
    publish();
    co_return std::unexpected(error);
}

void AccountSync::publish()
{
    SettingsDocument shown = m_server;
    const double now = currentTimeMilliseconds();
    for (const ListEdit& edit : m_pending)
        shown.apply(edit, now);
    std::vector<ComparisonList> lists = shown.lists();
    if (lists == m_lists)
        return;
    m_lists = std::move(lists);
    Q_EMIT listsChanged(m_lists);
}

void AccountSync::saveState()
{
    QJsonArray edits;
    for (const ListEdit& edit : m_pending)
        edits.append(editToJson(edit));
    QJsonObject state { { QStringLiteral("pending"), edits } };
    if (m_pulled)
        state.insert(QStringLiteral("document"), m_server.object());
    if (m_etag)
        state.insert(QStringLiteral("etag"), *m_etag);
    // Owner-only, like the session beside it: the lists are the user's own business.
    if (auto written = writeFileAtomically(m_stateFile, QJsonDocument(state).toJson(QJsonDocument::Compact),
            QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        !written)
        qWarning("%s", qPrintable(written.error().description()));
}

void AccountSync::discardState()
{
    m_pending.clear();
    QFile::remove(m_stateFile);
}

void AccountSync::setStatus(bool syncing, const std::optional<QString>& error)
{
    if (syncing == m_isSyncing && error == m_syncError)
        return;
    m_isSyncing = syncing;
    m_syncError = error;
    Q_EMIT statusChanged();
}

} // namespace tessary
