#pragma once

#include "Log/vlrLog.h"

#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <string>
#include <utility>
#include <vector>

/// Something that other users of the machine, their files, or a peer on the wire try. It runs in a
/// process of its own, once as root, where the test has that right, and once as an ordinary user,
/// with empty user folders. It says what went wrong, or nothing.
struct TrustCase {
    const char* name;
    std::string (*run)();
};

// The cases by what they attack, one file each; TrustFault.cpp runs them all.

std::vector<TrustCase> trustCopies();
std::vector<TrustCase> trustExit();
std::vector<TrustCase> trustFiles();
std::vector<TrustCase> trustPlants();
std::vector<TrustCase> trustRandom();
std::vector<TrustCase> trustRecordings();
std::vector<TrustCase> trustSelfCheck();
std::vector<TrustCase> trustStore();
std::vector<TrustCase> trustWire();
std::vector<TrustCase> trustTexts();

/// Every file and folder below the home, with owner and rights, and of files inode, size, time and
/// content.
QStringList trustInventory();

/// The file of the default repository.
QString trustRepository();

/// The first value that the last of the statements, one a line, gives past the library in the
/// default repository.
QVariant trustSql(const char* statements);

/// A TCP socket that listens at a free port of this machine, and the port; throws without one.
std::pair<int, int> listenOnThisMachine();

/// The warnings that are logged while it lives.
class TrustWarnings {
public:
    TrustWarnings()
        : m_listener(vlr::Log::addListener([this](const vlr::LogRecord& record) {
              if (record.level == vlr::LogLevel::Warning)
                  m_text += record.text + '\n';
          })) {}
    ~TrustWarnings() { vlr::Log::removeListener(m_listener); }
    TrustWarnings(const TrustWarnings&) = delete;
    TrustWarnings& operator=(const TrustWarnings&) = delete;
    [[nodiscard]] bool tell(const std::string& text) const {
        return m_text.find(text) != std::string::npos;
    }

private:
    std::string m_text;
    int m_listener;
};
