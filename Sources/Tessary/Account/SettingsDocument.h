#pragma once

#include "Tessary/Model/ComparisonList.h"
#include "Tessary/Store/ListEdit.h"

#include <QHash>
#include <QJsonObject>
#include <QString>
#include <QUuid>

#include <optional>
#include <vector>

namespace tessary {

// The account's settings document: the web front end's own JSON object, of which this app
// reads and edits the comparison sets and keeps every other key as it found it.
class SettingsDocument {
public:
    static constexpr QLatin1StringView setIdPrefix { "set_mac_" };

    SettingsDocument() = default;
    explicit SettingsDocument(QJsonObject object);

    const QJsonObject& object() const { return m_object; }

    // The sets as lists, rebuilding the identifier maps from the same pass.
    std::vector<ComparisonList> lists();
    // Applies one edit; `now` stamps the document's `updatedAt`.
    void apply(const ListEdit& edit, double now);

    // A set identifier that is a UUID (with or without the prefix) is that UUID; any other is
    // given a UUID derived from its SHA-256 digest, the same on every run.
    static QUuid localId(const QString& setId);
    // The set that stands for a list: the one read for it, or a new "set_mac_…" identifier.
    QString remoteId(const QUuid& listId) const;

    // The web front end's settings for a set it did not make itself.
    static QJsonObject defaultSetSettings();

private:
    qsizetype indexOf(const QUuid& listId) const;

    QJsonObject m_object;
    QHash<QUuid, QString> m_remoteIds;
};

// The version in an ETag header: without a weak "W/" marker and without quotes.
std::optional<QString> versionFromETag(const QByteArray& header);

} // namespace tessary
