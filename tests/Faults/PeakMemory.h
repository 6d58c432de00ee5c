#pragma once

#include <QtCore/QtGlobal>

/// How much memory a piece of work takes at its peak, in bytes.
///
///     PeakMemory memory;
///     work();
///     memory.growth();
///
/// To be used in a process of its own: what the process gave back before, and the allocator kept,
/// would not show.
class PeakMemory {
public:
    PeakMemory();
    [[nodiscard]] qint64 growth() const;

    /// Not under sanitizers, which need memory of their own, and where the system does not tell.
    static bool isMeasurable();

private:
    qint64 m_before;
};
