#include "AppBase/QtApplication.h"

#include "AppBase/Watchdog.h"
#include "Base/PlainText.h"
#include "Log/vlrLog.h"

#include <QtCore/QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int handledSignals[] = {SIGHUP, SIGINT, SIGTERM};
constexpr std::size_t signalCount = sizeof(handledSignals) / sizeof(handledSignals[0]);

// A handler may only write to a descriptor; the event loop reads the other end.
int writeEnd = -1;
int readEnd = -1;
struct sigaction previousActions[signalCount];
bool isHandled[signalCount];

extern "C" void handleUnixSignal(int signal) {
    const int savedError = errno;
    const auto number = static_cast<unsigned char>(signal);
    // Nothing can be done here about a full pipe: a signal is waiting in it already.
    [[maybe_unused]] const ssize_t written = write(writeEnd, &number, 1);
    vlr::Watchdog::noteSignal();
    errno = savedError;
}

bool openPipe() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) != 0)
        return false;
    writeEnd = ends[0];
    readEnd = ends[1];
    return true;
}

} // namespace

QtApplication::QtApplication(int& argc, char** argv) : QApplication(argc, argv) {
    new vlr::PlainToolTips(this);
    if (readEnd >= 0 || !openPipe()) {
        VLR_LOG(Warning) << "Unix signals will not be reported.";
        return;
    }
    m_notifier = new QSocketNotifier(readEnd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { readSignals(); });
    struct sigaction action {};
    action.sa_handler = &handleUnixSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < signalCount; ++i) {
        // A program that was started to survive a hang-up goes on doing so.
        sigaction(handledSignals[i], nullptr, &previousActions[i]);
        isHandled[i] = previousActions[i].sa_handler != SIG_IGN;
        if (isHandled[i])
            sigaction(handledSignals[i], &action, nullptr);
    }
}

QtApplication::~QtApplication() {
    if (!m_notifier)
        return;
    for (std::size_t i = 0; i < signalCount; ++i)
        if (isHandled[i])
            sigaction(handledSignals[i], &previousActions[i], nullptr);
    delete m_notifier;
    close(writeEnd);
    close(readEnd);
    writeEnd = readEnd = -1;
}

void QtApplication::readSignals() {
    unsigned char number = 0;
    while (read(readEnd, &number, 1) == 1) {
        emit unixSignal(number);
        emit terminationRequested();
        quit();
    }
}
