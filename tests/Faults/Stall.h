#pragma once

#include <QtCore/QTimer>

/// How long the event loop of this thread did not come round: the longest gap between the ticks of
/// a timer of one millisecond. The time for which other programs had the processor does not count.
///
///     Stall stall;
///     ... the event loop runs ...
///     report.atMost("longest stall of the event loop [ms]", stall.longest(), 100);
class Stall {
public:
    Stall();
    /// Milliseconds, with the gap that has not ended yet.
    long longest();
    void restart(); ///< Forgets what was.

private:
    void tick();

    QTimer m_timer;
    long long m_last = 0; // nanoseconds
    long long m_longest = 0;
};
