#include "Stall.h"

#include "Cases.h"

#include <QtCore/QFile>

#include <algorithm>
#include <chrono>

namespace {

// What the kernel says this thread was ready to run for, but did not.
long long waitedForProcessor() {
    QFile file(QStringLiteral("/proc/thread-self/schedstat"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readLine().split(' ').value(1).toLongLong();
}

long long now() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count() -
           waitedForProcessor();
}

} // namespace

Stall::Stall() : m_last(now()) {
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { tick(); });
    m_timer.start(1);
}

void Stall::tick() {
    const long long time = now();
    m_longest = std::max(m_longest, time - m_last);
    m_last = time;
}

long Stall::longest() {
    tick();
    return static_cast<long>(m_longest / 1000000);
}

void reportStall(const std::string& when, long milliseconds) {
    const std::string name = "longest stall of the event loop " + when + " [ms]";
    if (isSanitized)
        reportDone(name + ": " + std::to_string(milliseconds) + " (not judged: a sanitizer)");
    else
        reportAtMost(name, milliseconds, longestStall);
}
