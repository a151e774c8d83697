#include "Tessary/Store/ListStore.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

using namespace tessary;

namespace {

constexpr int listCount = 60;

// The newest generation among the lists in `file`, or nothing when the file is not a whole
// set of lists as the helper writes them.
std::optional<qint64> newestGeneration(const QString& file)
{
    const ListStore store(file);
    if (std::ssize(store.localLists()) != listCount)
        return std::nullopt;
    qint64 newest = 0;
    for (const ComparisonList& list : store.localLists()) {
        if (list.tickers.size() != 40 || !list.name.startsWith(u"gen "))
            return std::nullopt;
        newest = std::max(newest, list.name.mid(4).toLongLong());
    }
    return newest;
}

} // namespace

class KilledMidSaveTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fileIsAlwaysOldOrNew();
};

void KilledMidSaveTests::fileIsAlwaysOldOrNew()
{
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("lists.json"));
    qint64 previous = 0;
    auto* random = QRandomGenerator::global();
    for (int round = 0; round < 300; ++round) {
        QProcess saver;
        saver.start(QStringLiteral(SAVE_UNTIL_KILLED), { file, QString::number(listCount) });
        QVERIFY(saver.waitForReadyRead(10'000));
        // Anywhere within the next few dozen saves.
        QThread::usleep(random->bounded(20'000));
        saver.kill();
        QVERIFY(saver.waitForFinished(10'000));

        const auto generation = newestGeneration(file);
        QVERIFY2(generation, qPrintable(QStringLiteral("round %1 left a damaged file").arg(round)));
        QVERIFY2(*generation >= previous, "a finished save was lost");
        previous = *generation;
        // Nothing was set aside as unreadable. (A kill between Qt's link of the finished
        // temporary file and its rename leaves that file behind too, complete but unused.)
        const QStringList asideFiles = QDir(dir.path()).entryList({ QStringLiteral("*.corrupt-*") }, QDir::Files);
        QVERIFY2(asideFiles.isEmpty(), qPrintable(asideFiles.join(u' ')));
    }
    qInfo("the last round saw generation %lld", static_cast<long long>(previous));
}

QTEST_GUILESS_MAIN(KilledMidSaveTests)
#include "tst_KilledMidSave.moc"
