#pragma once

#include "TessaryWire/Json.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace tessary {

// The curated, read-only lists downloaded from the web front end, grouped into categories.
struct FeaturedCatalog {
    struct Category {
        QString id;
        QString label;
        std::optional<int> order;

        friend bool operator==(const Category&, const Category&) = default;
    };

    struct Collection {
        QString id;
        QString name;
        std::optional<QString> description;
        std::optional<QString> category;
        std::optional<QString> emoji;
        QStringList tickers;
        std::optional<int> displayOrder;

        friend bool operator==(const Collection&, const Collection&) = default;
    };

    std::vector<Category> categories;
    std::vector<Collection> collections;

    friend bool operator==(const FeaturedCatalog&, const FeaturedCatalog&) = default;

    // The catalog until a download succeeds.
    static FeaturedCatalog empty() { return {}; }
    static Decoded<FeaturedCatalog> fromJson(const QByteArray& document);

    const Collection* collection(QStringView id) const;
    const Category* category(QStringView id) const;
};

} // namespace tessary
