#include "JumpScore.h"

#include <QStringList>

#include <algorithm>

#include "Tessary/Store/Store.h"

namespace tessary {

namespace {

constexpr int titlePrefixScore = 1000;
constexpr int wordStartScore = 800;
constexpr int containsScore = 600;
constexpr int secondaryPenalty = 400;
// Initials sit between a substring of the title and a category hit: "gd" naming Growth &
// Dividends is a deliberate title match, but weaker evidence than the letters appearing in the
// title as typed. Initials that start at the title's first word score 500; initials picked from
// later words (skipping some) score 300, still above a category that merely contains the word.
constexpr int leadingInitialsScore = 500;
constexpr int scatteredInitialsScore = 300;
constexpr int longestCountedTitle = 99;
const QString tickersSuffix = QStringLiteral(" tickers");
const QString emptySubtitle = QStringLiteral("Empty");

bool isWordCharacter(QChar c)
{
    return c.isLetterOrNumber();
}

QStringList wordsOf(QStringView text)
{
    QStringList words;
    qsizetype start = -1;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        const bool inside = i < text.size() && isWordCharacter(text[i]);
        if (inside && start < 0)
            start = i;
        if (!inside && start >= 0) {
            words.append(text.mid(start, i - start).toString());
            start = -1;
        }
    }
    return words;
}

std::optional<int> wordScore(const QString& word, QStringView text)
{
    for (const QString& candidate : wordsOf(text)) {
        if (candidate.startsWith(word))
            return wordStartScore;
    }
    if (text.contains(word))
        return containsScore;
    return std::nullopt;
}

std::optional<int> initialsScore(const QString& word, QStringView title)
{
    QString initials;
    for (const QString& titleWord : wordsOf(title))
        initials.append(titleWord.front());
    if (initials.startsWith(word))
        return leadingInitialsScore;
    qsizetype next = 0;
    for (const QChar letter : word) {
        next = initials.indexOf(letter, next);
        if (next < 0)
            return std::nullopt;
        ++next;
    }
    return scatteredInitialsScore;
}

} // namespace

std::optional<int> jumpScore(QStringView query, QStringView title, QStringView secondary)
{
    const QString lowerQuery = query.trimmed().toString().toLower();
    const QString lowerTitle = title.toString().toLower();
    const QString lowerSecondary = secondary.toString().toLower();
    const QStringList words = lowerQuery.split(u' ', Qt::SkipEmptyParts);
    if (words.isEmpty())
        return std::nullopt;
    const int length = static_cast<int>(std::min<qsizetype>(lowerTitle.size(), longestCountedTitle));
    if (lowerTitle.startsWith(lowerQuery))
        return titlePrefixScore - length;

    int sum = 0;
    for (const QString& word : words) {
        if (const auto inTitle = wordScore(word, lowerTitle))
            sum += *inTitle;
        else if (const auto inSecondary = wordScore(word, lowerSecondary))
            sum += *inSecondary - secondaryPenalty;
        else if (const auto initials = words.size() == 1 ? initialsScore(word, lowerTitle) : std::nullopt)
            sum += *initials;
        else
            return std::nullopt;
    }
    return sum / static_cast<int>(words.size()) - length;
}

std::vector<JumpTarget> myListTargets(const Store& store)
{
    std::vector<JumpTarget> targets;
    for (const ComparisonList& list : store.listsByRecency()) {
        const QString subtitle
            = list.tickers.isEmpty() ? emptySubtitle : QString::number(list.tickers.size()) + tickersSuffix;
        targets.push_back({ SidebarItem::list(list.id), list.name, QString(), subtitle });
    }
    return targets;
}

std::vector<JumpTarget> curatedListTargets(const Store& store)
{
    const FeaturedCatalog& catalog = store.catalog();
    std::vector<JumpTarget> targets;
    for (const FeaturedCatalog::Collection& collection : catalog.collections) {
        QString category;
        if (collection.category) {
            const FeaturedCatalog::Category* found = catalog.category(*collection.category);
            category = found ? found->label : *collection.category;
        }
        targets.push_back({ SidebarItem::featured(collection.id), collection.name, category, category });
    }
    return targets;
}

std::vector<JumpTarget> rankTargets(const std::vector<JumpTarget>& targets, QStringView query)
{
    if (query.trimmed().isEmpty())
        return targets;
    std::vector<std::pair<int, const JumpTarget*>> scored;
    for (const JumpTarget& target : targets) {
        if (const auto score = jumpScore(query, target.title, target.secondary))
            scored.emplace_back(*score, &target);
    }
    std::ranges::stable_sort(scored, std::greater {}, &std::pair<int, const JumpTarget*>::first);
    std::vector<JumpTarget> ranked;
    ranked.reserve(scored.size());
    for (const auto& entry : scored)
        ranked.push_back(*entry.second);
    return ranked;
}

} // namespace tessary
