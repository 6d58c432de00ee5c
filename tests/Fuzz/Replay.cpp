// Runs every file of the corpus through its target: what a fuzzer once found, and some files that
// are in order. Its argument is the folder that has one folder for each target.

#include "Input.h"
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

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    for (const Target& target : targets) {
        const QDir folder(QCoreApplication::arguments().value(1) + QLatin1Char('/') +
                          QLatin1String(target.name));
        const QStringList names = folder.entryList(QDir::Files, QDir::Name);
        for (const QString& name : names) {
            std::printf("%s/%s\n", target.name, qPrintable(name));
            std::fflush(stdout); // The last line is the one that crashed.
            QFile file(folder.filePath(name));
            demand(file.open(QIODevice::ReadOnly), "the corpus can be read");
            target.run(file.readAll());
        }
        demand(!names.isEmpty(), "there is something in the corpus");
    }
    return 0;
}
