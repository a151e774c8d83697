// Runs fuzz targets over saved inputs without libFuzzer, so the crashes fuzzing once found
// stay fixed in every build:
//   tessary-fuzz-replay TARGET FILE|DIRECTORY...   one target over the given inputs
//   tessary-fuzz-replay --all ROOT                   every target over ROOT/*/TARGET/*
// A target that fails aborts, naming the input on the line before.

#include "FuzzTarget.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <cstdio>
#include <map>
#include <string>

namespace tessary::fuzz {

namespace {

std::map<std::string, Target>& targets()
{
    static std::map<std::string, Target> registry;
    return registry;
}

QStringList inputFiles(const QString& path)
{
    if (!QFileInfo(path).isDir())
        return { path };
    QStringList files;
    QDirIterator it(path, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(it.next());
    files.sort();
    return files;
}

int replay(Target target, const QStringList& paths)
{
    int count = 0;
    for (const QString& path : paths) {
        for (const QString& file : inputFiles(path)) {
            QFile input(file);
            if (!input.open(QIODevice::ReadOnly))
                fail("cannot read an input", file.toLocal8Bit());
            std::fprintf(stderr, "%s\n", qPrintable(file));
            target(input.readAll());
            ++count;
        }
    }
    return count;
}

} // namespace

bool registerTarget(const char* name, Target target)
{
    targets().emplace(name, target);
    return true;
}

} // namespace tessary::fuzz

int main(int argc, char** argv)
{
    using namespace tessary::fuzz;
    if (argc >= 3 && std::string(argv[1]) == "--all") {
        const QDir root(QString::fromLocal8Bit(argv[2]));
        for (const auto& [name, target] : targets()) {
            QStringList paths;
            for (const QString& kind : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
                if (const QString dir = root.filePath(kind + u'/' + QString::fromStdString(name));
                    QFileInfo(dir).isDir())
                    paths.append(dir);
            }
            const int count = replay(target, paths);
            std::printf("%s: %d inputs\n", name.c_str(), count);
            if (count == 0) {
                std::fprintf(stderr, "%s has no saved inputs\n", name.c_str());
                return 1;
            }
        }
        return 0;
    }
    if (argc >= 3) {
        const auto found = targets().find(argv[1]);
        if (found == targets().end()) {
            std::fprintf(stderr, "no fuzz target named %s\n", argv[1]);
            return 1;
        }
        QStringList paths;
        for (int i = 2; i < argc; ++i)
            paths.append(QString::fromLocal8Bit(argv[i]));
        std::printf("%s: %d inputs\n", argv[1], replay(found->second, paths));
        return 0;
    }
    std::fprintf(stderr, "usage: tessary-fuzz-replay TARGET FILE|DIRECTORY... | --all ROOT\n");
    return 2;
}
