#include "Files/FileTrust.h"

#include <cerrno>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace vlr {

namespace {

constexpr std::size_t mostText = std::size_t(1) << 20; // of a group with many members

// Calls one of the system's look-ups with more and more room for its texts.
template <class Entry, class LookUp>
bool lookUp(std::vector<char>& texts, Entry& entry, LookUp call) {
    Entry* found = nullptr;
    int error = ERANGE;
    for (std::size_t size = 1024; error == ERANGE && size <= mostText; size *= 4) {
        texts.resize(size);
        error = call(&entry, texts.data(), texts.size(), &found);
    }
    return error == 0 && found;
}

struct User {
    std::string name;
    gid_t group = 0;
};

std::optional<User> systemUser(uid_t number) {
    std::vector<char> texts;
    passwd entry = {};
    if (!lookUp(texts, entry, [=](auto... rest) { return getpwuid_r(number, rest...); }))
        return std::nullopt;
    return User{entry.pw_name, entry.pw_gid};
}

// Nobody but this user can write what the group may.
bool isPrivate(gid_t number, uid_t user) {
    const std::optional<User> owner = systemUser(user);
    std::vector<char> texts;
    group entry = {};
    if (!owner || owner->group != number ||
        !lookUp(texts, entry, [=](auto... rest) { return getgrgid_r(number, rest...); }) ||
        owner->name != entry.gr_name)
        return false;
    for (char** member = entry.gr_mem; *member; ++member)
        if (owner->name != *member)
            return false;
    return true;
}

bool isTrusted(uid_t user) {
    return user == geteuid() || user == 0;
}

// In a sticky folder nobody takes away or renames what is another one's.
bool isOpenToEverybody(const struct stat& status) {
    return (status.st_mode & S_IWOTH) && !(S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX));
}

bool isOpenToGroup(const struct stat& status) {
    return (status.st_mode & S_IWGRP) && !(S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX)) &&
           !isPrivate(status.st_gid, status.st_uid) && !isPrivate(status.st_gid, geteuid());
}

std::string problemOf(const struct stat& status, const char* what) {
    if (!isTrusted(status.st_uid))
        return std::string(what) + " belongs to " + userText(status.st_uid);
    if (isOpenToEverybody(status))
        return std::string(what) + " may be written by everybody";
    return isOpenToGroup(status) ? std::string(what) + " may be written by a group" : "";
}

QByteArray folderOf(const QByteArray& path) {
    const int slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArray(".") : path.left(slash == 0 ? 1 : slash);
}

} // namespace

std::string userText(unsigned user) {
    const std::optional<User> known = systemUser(user);
    return known ? "the user \"" + known->name + "\"" : "the user " + std::to_string(user);
}

std::optional<unsigned> systemGroup(const QString& name) {
    std::vector<char> texts;
    group entry = {};
    const std::string wanted = name.toStdString();
    if (!lookUp(texts, entry, [&](auto... rest) { return getgrnam_r(wanted.c_str(), rest...); }))
        return std::nullopt;
    return entry.gr_gid;
}

std::string whyNotBelieved(const QByteArray& path, const struct stat& file) {
    std::string problem = problemOf(file, "it");
    struct stat status = {};
    if (problem.empty() && lstat(path.constData(), &status) == 0 && S_ISLNK(status.st_mode) &&
        !isTrusted(status.st_uid))
        problem = "the link to it belongs to " + userText(status.st_uid);
    if (problem.empty() && stat(folderOf(path).constData(), &status) == 0)
        problem = problemOf(status, "its folder");
    return problem;
}

std::string whyNotBegun(const QByteArray& path) {
    struct stat status = {};
    if (lstat(path.constData(), &status) == 0)
        return {};
    QByteArray folder = folderOf(path);
    if (stat(folder.constData(), &status) == 0)
        return problemOf(status, "its folder");
    while (stat(folder.constData(), &status) != 0 && folder.size() > 1)
        folder = folderOf(folder);
    // What is made below it is for this user alone, whoever else may write here.
    return isTrusted(status.st_uid)
               ? ""
               : "\"" + folder.toStdString() + "\" belongs to " + userText(status.st_uid);
}

std::string closeFolderOf(const QByteArray& path) {
    const QByteArray folder = folderOf(path);
    struct stat status = {};
    if (stat(folder.constData(), &status) != 0 || problemOf(status, "").empty())
        return {};
    if (status.st_uid != geteuid())
        return problemOf(status, "its folder");
    return chmod(folder.constData(), status.st_mode & 07755U) == 0
               ? ""
               : "the rights of its folder cannot be set";
}

std::string whyNotFollowed(const QByteArray& link, const QByteArray& target) {
    struct stat status = {};
    if (lstat(link.constData(), &status) == 0 && status.st_uid != geteuid())
        return "it is a symbolic link that belongs to " + userText(status.st_uid);
    QByteArray owned = target;
    while (lstat(owned.constData(), &status) != 0 && owned.size() > 1)
        owned = folderOf(owned);
    if (status.st_uid == geteuid())
        return {};
    return "it is a symbolic link to \"" + owned.toStdString() + "\", which belongs to " +
           userText(status.st_uid);
}

} // namespace vlr
