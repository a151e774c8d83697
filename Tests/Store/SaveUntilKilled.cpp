// Saves the lists in the given file again and again through the app's own list store, each
// save renaming one list to the next "gen N", until it is killed. Prints "saving" once the
// first save is done.

#include "Tessary/Store/ListStore.h"

#include <QCoreApplication>

#include <cstdio>

using namespace tessary;

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 3)
        return 2;
    ListStore store(QString::fromLocal8Bit(argv[1]));
    const int count = QByteArray(argv[2]).toInt();
    QStringList tickers;
    for (int i = 0; i < 40; ++i)
        tickers.append(QStringLiteral("T%1").arg(i));
    while (std::ssize(store.localLists()) < count)
        store.add(ComparisonList::create(QStringLiteral("gen 0"), tickers));

    // Carries on from the newest generation the file holds.
    qint64 generation = 0;
    for (const ComparisonList& list : store.localLists())
        generation = std::max(generation, list.name.mid(4).toLongLong());
    for (bool announced = false;; announced = true) {
        ++generation;
        const QUuid id = store.localLists()[generation % count].id;
        store.edit(id, ListEdit::Kind::rename, [generation](ComparisonList& list) {
            list.name = QStringLiteral("gen %1").arg(generation);
            return true;
        });
        if (!announced) {
            std::puts("saving");
            std::fflush(stdout);
        }
    }
}
