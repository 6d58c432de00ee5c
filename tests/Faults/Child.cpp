#include "Child.h"

#include <QtCore/QCoreApplication>

#include <stdexcept>

namespace {

constexpr int longestWait = 60000;

} // namespace

Child::Child(const QString& act, const QStringList& arguments, const QStringList& environment) {
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (const QString& line : environment)
        variables.insert(line.section(QLatin1Char('='), 0, 0), line.section(QLatin1Char('='), 1));
    m_process.setProcessEnvironment(variables);
    m_process.start(QCoreApplication::applicationFilePath(),
                    QStringList{QStringLiteral("--act"), act} + arguments);
    if (!m_process.waitForStarted(longestWait))
        throw std::runtime_error("This program cannot be started once more: " +
                                 m_process.errorString().toStdString());
}

Child::~Child() {
    if (m_process.state() != QProcess::NotRunning)
        (void)kill();
}

QByteArray Child::readLine() {
    while (!m_process.canReadLine())
        if (!m_process.waitForReadyRead(longestWait))
            break;
    return m_process.readLine();
}

QByteArray Child::kill() {
    m_process.kill();
    m_process.waitForFinished(longestWait);
    return m_process.readAllStandardOutput();
}

int Child::wait() {
    // waitForFinished() is false too for what has ended already.
    m_process.waitForFinished(longestWait * 10);
    if (m_process.state() != QProcess::NotRunning)
        throw std::runtime_error("A process of " + std::to_string(longestWait / 100) +
                                 " seconds and more");
    // QProcess reports the signal as the exit code of a crash.
    return m_process.exitStatus() == QProcess::CrashExit ? -m_process.exitCode()
                                                         : m_process.exitCode();
}

QByteArray Child::standardError() {
    return m_process.readAllStandardError();
}
