#pragma once

#include "Settings/vlrSettings.h"
#include "Support/TestEnvironment.h"

#include <QtCore/QDir>

#include <sys/stat.h>

/// A file of that name in the folder of the running test.
inline QString inFolder(const char* name) {
    return vlrTest::testFolder() + QLatin1Char('/') + QLatin1String(name);
}

/// Makes reading the file fail with an input error for as long as the object lives.
class UnreadableFile {
public:
    explicit UnreadableFile(const QString& path)
        : m_path(path), m_moved(path + QStringLiteral(".moved")) {
        EXPECT_TRUE(QFile::rename(m_path, m_moved));
        // A regular file of which the first bytes, the null page, can never be read.
        EXPECT_TRUE(QFile::link(QStringLiteral("/proc/self/mem"), m_path));
    }
    ~UnreadableFile() {
        EXPECT_TRUE(QFile::remove(m_path));
        EXPECT_TRUE(QFile::rename(m_moved, m_path));
    }
    UnreadableFile(const UnreadableFile&) = delete;
    UnreadableFile& operator=(const UnreadableFile&) = delete;

private:
    QString m_path;
    QString m_moved;
};
