// The price and universe CSV importers of tessary-server, on a store made once per run. The
// first byte picks the importer, the rest is the file.

#include "Fuzz/FuzzTarget.h"

#include "TessaryServer/Data/Import.h"
#include "TessaryServer/Data/MarketDatabase.h"

#include <QFile>
#include <QTemporaryDir>

using namespace tessary::server;

namespace {

// One object for the whole run (not a leaked pointer), so its directory goes when it ends.
struct Store {
    Store()
    {
        auto opened = MarketDatabase::open(directory.path());
        if (!opened)
            tessary::fuzz::fail("cannot open a store", opened.error().description().toUtf8());
        database = std::move(*opened);
    }

    QTemporaryDir directory;
    std::unique_ptr<MarketDatabase> database;
};

} // namespace

TESSARY_FUZZ_TARGET(csv_import)
{
    if (input.isEmpty())
        return;
    static Store into;
    const QString path = into.directory.filePath(QStringLiteral("FUZZ.csv"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(input.mid(1)) != input.size() - 1)
        tessary::fuzz::fail("cannot write the input file");
    file.close();
    const ImportResult result
        = (input[0] & 1) ? importUniverse(*into.database, path) : importPrices(*into.database, { path });
    (void)(result ? result->lines() : result.error().lines());
}
