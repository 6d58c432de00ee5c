#include "Input.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <cstdio>
#include <cstdlib>

void demand(bool claim, const char* what) {
    if (claim)
        return;
    std::fprintf(stderr, "Not true: %s\n", what);
    std::abort();
}

void writeInput(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    demand(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush(),
           "the input could be written");
}

QString inputFile(const char* name, const QByteArray& bytes) {
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QString::fromLatin1(name));
    writeInput(path, bytes);
    return path;
}
