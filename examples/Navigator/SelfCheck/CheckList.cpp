#include "SelfCheck/CheckList.h"

#include <exception>
#include <iostream>
#include <utility>

namespace {

// Who reads the lines takes each by itself.
std::string inOneLine(const std::string& text) {
    return QString::fromStdString(text).simplified().toStdString();
}

} // namespace

CheckList::CheckList()
    : m_listener(vlr::Log::addListener([this](const vlr::LogRecord& record) { collect(record); })) {
}

CheckList::~CheckList() {
    vlr::Log::removeListener(m_listener);
}

void CheckList::collect(const vlr::LogRecord& record) {
    const bool isHarmless = record.level == vlr::LogLevel::Debug ||
                            record.level == vlr::LogLevel::Info ||
                            record.level == vlr::LogLevel::UserInfo;
    // The column of layout buttons writes an empty line whenever it grows.
    if (isHarmless || record.text.empty())
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_records.push_back(record.text);
}

std::vector<std::string> CheckList::takeRecords() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_records, {});
}

void CheckList::check(const char* kind, const QString& subject,
                      const std::function<QString()>& problem) {
    (void)takeRecords(); // Of before.
    std::string fault;
    try {
        fault = problem().toStdString();
    } catch (const std::exception& exception) {
        fault = exception.what();
    }
    for (const std::string& record : takeRecords())
        if (fault.find(record) == std::string::npos)
            fault += (fault.empty() ? "" : " ") + record;
    ++m_count;
    m_faults += fault.empty() ? 0 : 1;
    std::cout << (fault.empty() ? "ok     " : "FAULT  ")
              << QString::fromLatin1(kind).leftJustified(14).toStdString() << subject.toStdString()
              << (fault.empty() ? "" : ": ") << inOneLine(fault) << std::endl;
}

void CheckList::note(const char* kind, const QString& subject, const QString& text) {
    std::cout << "note   " << QString::fromLatin1(kind).leftJustified(14).toStdString()
              << inOneLine((subject + QStringLiteral(": ") + text).toStdString()) << std::endl;
}
