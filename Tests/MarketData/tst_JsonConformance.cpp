// The public JSON parsing test cases (../shared/jsontestsuite) through both JSON paths: the
// Qt path every document goes through, and the simdjson path of the big bodies.

#include "Tessary/MarketData/FastWireDecoding.h"
#include "TessaryWire/Json.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace tessary;

namespace {

std::optional<DecodingError> qtSyntax(const QByteArray& bytes)
{
    if (parseJsonObject(bytes) || parseJsonArray(bytes))
        return std::nullopt;
    return parseJsonObject(bytes).error();
}

// A bare number, string or literal at the top level: valid JSON, but Qt's tree holds only
// arrays and objects, as every document of ours is.
bool isBareValue(QByteArray bytes)
{
    const QByteArray start = bytes.trimmed().left(1);
    return !start.isEmpty() && start != "[" && start != "{";
}

// Implementation-defined cases the paths answer differently: a number too small for a double
// is zero to simdjson and an error to Qt.
const QStringList knownDisagreements { QStringLiteral("i_number_double_huge_neg_exp.json"),
    QStringLiteral("i_number_real_underflow.json") };

} // namespace

class JsonConformanceTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cases_data();
    void cases();
};

void JsonConformanceTests::cases_data()
{
    QTest::addColumn<QString>("file");
    const QDir suite(QStringLiteral(TESSARY_JSON_TEST_SUITE));
    if (!suite.exists())
        QSKIP("../shared/jsontestsuite is not present beside this checkout");
    for (const QString& name : suite.entryList({ QStringLiteral("*.json") }, QDir::Files, QDir::Name))
        QTest::newRow(qPrintable(name)) << suite.filePath(name);
}

void JsonConformanceTests::cases()
{
    QFETCH(QString, file);
    QFile input(file);
    QVERIFY(input.open(QIODevice::ReadOnly));
    const QByteArray bytes = input.readAll();
    const QString name = QFileInfo(file).fileName();
    const auto qt = qtSyntax(bytes);
    const auto fast = FastWireDecoding::checkSyntax(bytes);

    if (name.startsWith(u"y_")) {
        QVERIFY2(!fast, qPrintable(fast ? fast->reason : QString()));
        if (!isBareValue(bytes))
            QVERIFY2(!qt, qPrintable(qt ? qt->reason : QString()));
    } else if (name.startsWith(u"n_")) {
        QVERIFY(qt && fast);
        QVERIFY(!qt->reason.isEmpty() && !fast->reason.isEmpty());
    } else if (!knownDisagreements.contains(name)) {
        QCOMPARE(qt.has_value(), fast.has_value());
    }
}

QTEST_GUILESS_MAIN(JsonConformanceTests)
#include "tst_JsonConformance.moc"
