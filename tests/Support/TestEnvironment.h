#pragma once

#include "Log/vlrLog.h"

#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include <string>
#include <vector>

namespace vlrTest {

/// Runs all tests with every user location (configuration, data, cache, home) redirected to a
/// temporary folder, so that no test sees the files of the person who runs it. A test during
/// which a WARNING, ERROR or user-level record is logged that it did not expect fails.
int runTests(int argc, char** argv);

/// Allows (and requires, at the end of the test) a record of the level that contains the text.
void expectLog(vlr::LogLevel level, const std::string& text);

/// Every record of the running test so far.
const std::vector<vlr::LogRecord>& logRecords();

/// The number of records of the level that contain the text.
int logCount(vlr::LogLevel level, const std::string& text);

/// A fresh folder of the running test, removed after it.
QString testFolder();

/// Writes the bytes to the file, creating its folder; a test failure where that is impossible.
void writeFile(const QString& path, const QByteArray& bytes);
QByteArray readFile(const QString& path);

/// Makes every file write of this process fail once the file is longer than `bytes`, as a full
/// disk does, for as long as the object lives.
class FullDisk {
public:
    explicit FullDisk(unsigned long bytes = 0);
    ~FullDisk();
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    unsigned long m_previous;
};

/// Makes a folder unwritable for this process, also when it runs as root.
class ReadOnlyFolder {
public:
    explicit ReadOnlyFolder(const QString& path);
    ~ReadOnlyFolder();
    ReadOnlyFolder(const ReadOnlyFolder&) = delete;
    ReadOnlyFolder& operator=(const ReadOnlyFolder&) = delete;

private:
    QByteArray m_path;
    unsigned m_mode;
    bool m_droppedRoot;
};

} // namespace vlrTest
