#pragma once

#include <QtCore/QProcess>
#include <QtCore/QStringList>

/// This program once more, doing one act in the same user folders: what is killed, starved of disk
/// or run beside another process must not be the one that counts.
///
///     Child child("save", {"settings", "1", "1000"});
///     child.readLine();   // what it acknowledged
///     child.kill();       // SIGKILL
class Child {
public:
    /// Starts it. `environment` has lines like "LD_PRELOAD=/path/lib.so".
    explicit Child(const QString& act, const QStringList& arguments = {},
                   const QStringList& environment = {});
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// The next line of its standard output, waited for; null at the end or after 60 seconds.
    QByteArray readLine();
    /// SIGKILL, and the rest of what it wrote.
    QByteArray kill();
    /// Waits until it ends by itself: its exit code, or minus the signal that ended it.
    int wait();
    QByteArray standardError();
    QProcess& process() { return m_process; }

private:
    QProcess m_process;
};
