#include "ListCommand.h"

#include "CommandRunner.h"

#include "Tessary/Shell/Environment.h"
#include "Tessary/Store/Store.h"
#include "TessaryWire/Json.h"

#include <QJsonArray>

#include <cstdio>
#include <optional>

namespace tessary {

namespace {

const QString usage
    = QStringLiteral("Usage: tessary list [--json]\n"
                     "       tessary list show NAME\n"
                     "       tessary list create NAME SYMBOL...\n"
                     "       tessary list add NAME SYMBOL...\n"
                     "       tessary list remove NAME SYMBOL...\n"
                     "       tessary list rename OLD NEW\n"
                     "       tessary list delete NAME\n"
                     "\n"
                     "Works on the account's lists while signed in (see tessary account) and waits until the\n"
                     "change is saved there; otherwise on the lists kept on this computer.");

struct ListRequest {
    QString verb; // "", show, create, add, remove, rename, delete
    QStringList operands;
    bool json = false;
};

std::optional<ListRequest> parse(const QStringList& arguments, QString* error)
{
    ListRequest request;
    QStringList words = arguments;
    request.json = words.removeAll(QStringLiteral("--json")) > 0;
    if (!words.isEmpty())
        request.verb = words.takeFirst();
    request.operands = words;
    struct Shape {
        const char* verb;
        qsizetype least;
        qsizetype most;
    };
    static constexpr Shape shapes[] = { { "", 0, 0 }, { "show", 1, 1 }, { "create", 1, 10'000 }, { "add", 2, 10'000 },
        { "remove", 2, 10'000 }, { "rename", 2, 2 }, { "delete", 1, 1 } };
    for (const Shape& shape : shapes) {
        if (request.verb != QLatin1StringView(shape.verb))
            continue;
        if (request.operands.size() < shape.least || request.operands.size() > shape.most) {
            *error = QStringLiteral("tessary list %1: wrong number of arguments; see tessary list --help")
                         .arg(request.verb);
            return std::nullopt;
        }
        return request;
    }
    *error = QStringLiteral("tessary list: unknown command \"%1\"; see tessary list --help").arg(request.verb);
    return std::nullopt;
}

// The list called `name`: exactly, else the one list whose name differs only in case.
const ComparisonList* findList(const Store& store, const QString& name)
{
    const ComparisonList* folded = nullptr;
    int foldedCount = 0;
    for (const ComparisonList& list : store.lists()) {
        if (list.name == name)
            return &list;
        if (list.name.compare(name, Qt::CaseInsensitive) == 0) {
            folded = &list;
            ++foldedCount;
        }
    }
    return foldedCount == 1 ? folded : nullptr;
}

QString describe(const ComparisonList& list)
{
    return QStringLiteral("%1\t%2 tickers\tvs %3\t%4")
        .arg(list.name)
        .arg(list.tickers.size())
        .arg(list.benchmark, list.period().label());
}

QByteArray listsJson(const std::vector<ComparisonList>& lists)
{
    QList<QByteArray> objects;
    for (const ComparisonList& list : lists) {
        OrderedJsonWriter writer;
        writer.add(u"name", list.name);
        writer.add(u"tickers", QJsonArray::fromStringList(list.tickers));
        writer.add(u"benchmark", list.benchmark);
        writer.add(u"period", list.period().label());
        objects.append(writer.finish());
    }
    return joinJsonArray(objects);
}

bool needsUniverse(const ListRequest& request)
{
    return request.verb == QStringLiteral("create") || request.verb == QStringLiteral("add");
}

// Adds symbols to the selected list; one line and false for any the universe does not know.
bool addSymbols(Store& store, const QStringList& symbols)
{
    const Store::AddResult result = store.addTickers(symbols);
    if (!result.unknown.isEmpty()) {
        printLine(
            stderr, QStringLiteral("tessary list: unknown symbols: ") + result.unknown.join(QStringLiteral(", ")));
        return false;
    }
    if (result.overLimit > 0)
        printLine(stderr,
            QStringLiteral("tessary list: the list is full (%1 tickers); %2 not added")
                .arg(maxTickersPerList)
                .arg(result.overLimit));
    return result.overLimit == 0;
}

// Applies the request to the store; false after printing why it could not.
bool apply(Store& store, const ListRequest& request)
{
    const QStringList& words = request.operands;
    if (request.verb.isEmpty()) {
        const auto lists = store.listsByRecency();
        if (request.json)
            std::fprintf(stdout, "%s\n", listsJson(lists).constData());
        for (const ComparisonList& list : request.json ? std::vector<ComparisonList>() : lists)
            printLine(stdout, describe(list));
        return true;
    }
    if (request.verb == QStringLiteral("create")) {
        if (findList(store, words[0])) {
            printLine(stderr, QStringLiteral("tessary list: a list named \"%1\" exists already").arg(words[0]));
            return false;
        }
        const QUuid id = store.create(words[0], {});
        if (!addSymbols(store, words.mid(1))) {
            store.remove(id);
            return false;
        }
        return true;
    }
    const ComparisonList* list = findList(store, words[0]);
    if (!list) {
        printLine(stderr, QStringLiteral("tessary list: no list named \"%1\"").arg(words[0]));
        return false;
    }
    const QUuid id = list->id;
    if (request.verb == QStringLiteral("show")) {
        printLine(stdout, describe(*list));
        printLine(stdout, list->tickers.join(u' '));
        return true;
    }
    if (request.verb == QStringLiteral("rename")) {
        store.rename(id, words[1]);
        return true;
    }
    if (request.verb == QStringLiteral("delete")) {
        store.remove(id);
        return true;
    }
    store.select(SidebarItem::list(id));
    if (request.verb == QStringLiteral("add"))
        return addSymbols(store, words.mid(1));
    QSet<QString> symbols;
    for (const QString& symbol : words.mid(1))
        symbols.insert(symbol.trimmed().toUpper());
    const QStringList missing = [&] {
        QStringList absent;
        for (const QString& symbol : symbols)
            if (!list->tickers.contains(symbol))
                absent.append(symbol);
        return absent;
    }();
    if (!missing.isEmpty()) {
        printLine(stderr,
            QStringLiteral("tessary list: not in \"%1\": %2").arg(words[0], missing.join(QStringLiteral(", "))));
        return false;
    }
    store.removeTickers(symbols);
    return true;
}

QCoro::Task<int> run(Store* store, ListRequest request)
{
    if (needsUniverse(request)) {
        auto universe = co_await store->client()->tickers();
        if (!universe) {
            printLine(stderr, QStringLiteral("tessary list: ") + universe.error().description());
            co_return 1;
        }
        store->setUniverse(std::move(*universe));
    }
    // Signed in, the account's lists are read first; without the server the last copy read
    // stands in, and an edit made on it is kept to be sent by the next command.
    AccountSync* sync = store->sync();
    std::optional<AccountError> unreachable;
    if (sync) {
        if (const auto pulled = co_await sync->pull(); !pulled)
            unreachable = pulled.error();
    }
    if (!apply(*store, request))
        co_return 1;
    if (sync && !sync->pending().empty()) {
        if (const auto pushed = co_await sync->push(); !pushed)
            unreachable = pushed.error();
    }
    if (unreachable) {
        printLine(stderr, sync->syncError().value_or(unreachable->description()));
        co_return 1;
    }
    co_return 0;
}

} // namespace

int runListCommand(const QStringList& arguments)
{
    if (arguments.contains(QStringLiteral("--help")) || arguments.contains(QStringLiteral("-h"))) {
        printLine(stdout, usage);
        return 0;
    }
    QString error;
    const auto request = parse(arguments, &error);
    if (!request) {
        printLine(stderr, error);
        return 1;
    }
    const auto environment = Environment::read();
    if (!environment) {
        printLine(stderr, QStringLiteral("tessary: ") + environment.error().description());
        return 1;
    }
    Store store(Store::Options::at(environment->dataDir.value_or(QString())));
    // Symbols need the market-data service, the account's lists its session service; the
    // local lists alone need neither.
    return runCommandTask(
        store, *environment, needsUniverse(*request), store.sync() != nullptr, [&] { return run(&store, *request); });
}

} // namespace tessary
