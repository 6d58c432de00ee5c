#pragma once

#include "Log/vlrLog.h"

#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace vlrTest {

// What nearly every test says.
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Key;
using testing::Not;
using testing::StartsWith;
using vlr::LogLevel;

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

/// A limit of the system for this process, for as long as the object lives.
class ResourceLimit {
public:
    ResourceLimit(int resource, unsigned long most);
    ~ResourceLimit();
    ResourceLimit(const ResourceLimit&) = delete;
    ResourceLimit& operator=(const ResourceLimit&) = delete;

private:
    int m_resource;
    unsigned long m_previous;
};

/// Makes every file write fail once the file is longer than `bytes`, as a full disk does.
class FullDisk : public ResourceLimit {
public:
    explicit FullDisk(unsigned long bytes = 0);
};

/// Leaves no more memory than there is in use, but for `room` bytes. Not for sanitizers, which end
/// the process then.
class ShortOfMemory : public ResourceLimit {
public:
    explicit ShortOfMemory(unsigned long room);
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
