#include "PeakMemory.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>

#if defined(__SANITIZE_ADDRESS__)
#define VLR_IS_SANITIZED 1
#else
#define VLR_IS_SANITIZED 0
#endif

namespace {

// In bytes, by the name of the line in /proc/self/status; -1 where there is none.
qint64 status(const char* name) {
    constexpr qint64 kilobyte = 1024;
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : file.readAll().split('\n'))
        if (line.startsWith(name))
            return line.simplified().split(' ').value(1).toLongLong() * kilobyte;
    return -1;
}

// From here on the peak is counted anew.
bool forgetPeak() {
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write("5") == 1;
}

} // namespace

PeakMemory::PeakMemory() {
    (void)forgetPeak();
    m_before = status("VmRSS:");
}

qint64 PeakMemory::growth() const {
    return status("VmHWM:") - m_before;
}

bool PeakMemory::isMeasurable() {
    return VLR_IS_SANITIZED == 0 && forgetPeak();
}
