#pragma once

#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <string>
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

/// The first value that the statement gives, past the library in the default repository.
QVariant trustSql(const char* statement);
