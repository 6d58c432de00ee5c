#include "Log/LogFile.h"

#include "File/PrivateFile.h"
#include "Log/LogText.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStandardPaths>

#include <spdlog/details/log_msg.h>
#include <spdlog/formatter.h>

#include <cstdio>
#include <system_error>
#include <utility>

namespace vlr {

namespace {

constexpr std::size_t fileSize = std::size_t(2) << 20;
constexpr std::size_t olderFiles = 4; // beside the one that is written

// The lines come with their time, since standard error gets the same ones.
class AsItIs : public spdlog::formatter {
    void format(const spdlog::details::log_msg& message, spdlog::memory_buf_t& line) override {
        line.append(message.payload.data(), message.payload.data() + message.payload.size());
    }
    std::unique_ptr<spdlog::formatter> clone() const override { return std::make_unique<AsItIs>(); }
};

// spdlog would let everybody read the file, and wait at a pipe for somebody to do so.
void prepare(const std::string& path) {
    const QString file = QFile::decodeName(path.c_str());
    int error = makePrivateFolder(QFileInfo(file).path());
    if (error == 0)
        error = makePrivateFile(file);
    if (error == 0)
        error = limitRights(file);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), path);
}

} // namespace

LogPlace LogPlace::now() {
    LogPlace place;
    place.hasApplication = QCoreApplication::instance() != nullptr;
    place.isTest = QStandardPaths::isTestModeEnabled();
    place.organization = QCoreApplication::organizationName();
    place.application = QCoreApplication::applicationName();
    if (!place.isTest) // which leaves only the home of the user
        place.home = qgetenv("XDG_DATA_HOME");
    place.hasDataHome = !place.home.isEmpty();
    if (!place.hasDataHome)
        place.home = qgetenv("HOME");
    return place;
}

bool LogPlace::operator!=(const LogPlace& other) const {
    return hasApplication != other.hasApplication || isTest != other.isTest ||
           organization != other.organization || application != other.application ||
           hasDataHome != other.hasDataHome || home != other.home;
}

std::string logFilePath() {
    if (!QCoreApplication::instance())
        return {};
    QString name = QCoreApplication::applicationName();
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    if (name.isEmpty() || folder.isEmpty())
        return {};
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    return QFile::encodeName(folder + QStringLiteral("/log/") + name + QStringLiteral(".log"))
        .toStdString();
}

void LogFile::write(const std::string& line, const std::string& path, bool flushNow) {
    guarded([&] {
        if (!path.empty())
            open(path);
        if (m_sink)
            m_sink->log({{}, {}, {}, spdlog::level::info, line});
        if (m_sink && flushNow)
            m_sink->flush();
    });
}

void LogFile::flush() {
    guarded([&] {
        if (m_sink)
            m_sink->flush();
    });
}

std::string LogFile::path() const {
    return m_sink ? m_path : std::string();
}

void LogFile::open(const std::string& path) {
    if (path == m_path && (m_sink || Clock::now() < m_nextTry))
        return;
    if (path != m_path)
        m_failureTold = false;
    m_path = path;
    m_sink.reset();
    spdlog::file_event_handlers handlers;
    handlers.before_open = &prepare;
    m_sink = std::make_unique<spdlog::sinks::rotating_file_sink_st>(path, fileSize, olderFiles,
                                                                    false, handlers);
    m_sink->set_formatter(std::make_unique<AsItIs>());
}

template <class Action>
void LogFile::guarded(Action action) {
    try {
        action();
    } catch (const std::exception& exception) {
        m_sink.reset();
        m_nextTry = Clock::now() + std::chrono::minutes(1);
        if (std::exchange(m_failureTold, true))
            return;
        std::string reason;
        appendPrintable(reason, exception.what());
        std::fprintf(stderr, "The log file cannot be written: %s\n", reason.c_str());
    }
}

} // namespace vlr
