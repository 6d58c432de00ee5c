// Runs every file of the corpus through its target: what a fuzzer once found, and some files that
// are in order. Its argument is the folder that has one folder for each target.

#include "Targets.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>

#include <cstdio>

namespace {

struct Target {
    const char* name;
    void (*run)(const QByteArray&);
};

constexpr Target targets[] = {
    {"Xml", &fuzzXml},   {"Settings", &fuzzSettings}, {"Tool", &fuzzTool},
    {"Igtl", &fuzzIgtl}, {"Image", &fuzzImage},
};

// The number of files.
int replay(const Target& target, const QDir& folder) {
    const QStringList names = folder.entryList(QDir::Files, QDir::Name);
    for (const QString& name : names) {
        std::printf("%s/%s\n", target.name, qPrintable(name));
        std::fflush(stdout); // The last line is the one that crashed.
        QFile file(folder.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            return 0;
        target.run(file.readAll());
    }
    return names.size();
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QDir corpus(QCoreApplication::arguments().value(1));
    for (const Target& target : targets)
        if (replay(target, QDir(corpus.filePath(QLatin1String(target.name)))) == 0) {
            std::fprintf(stderr, "The corpus of %s cannot be read.\n", target.name);
            return 1;
        }
    return 0;
}
