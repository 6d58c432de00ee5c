#pragma once

#include <QtCore/QTimer>

#include <string>

/// How long the event loop of this thread did not come round: the longest gap between the ticks of
/// a timer of one millisecond. The time for which other programs had the processor does not count.
///
///     Stall stall;
///     ... the event loop runs ...
///     reportStall("during resizes", stall.longest());
class Stall {
public:
    Stall();
    /// Milliseconds, with the gap that has not ended yet.
    long longest();

private:
    void tick();

    QTimer m_timer;
    long long m_last; // nanoseconds
    long long m_longest = 0;
};

constexpr long longestStall = 100; ///< Milliseconds for which a window may stand still.

/// A figure of the kind, from inside of a case. Under a sanitizer it is only told.
void reportStall(const std::string& when, long milliseconds);
