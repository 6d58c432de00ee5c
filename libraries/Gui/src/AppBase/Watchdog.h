#pragma once

#include "vlrGuiExport.h"

#include <atomic>
#include <thread>

namespace vlr {

/// Sees to it that a process that was told to end does so: 10 seconds after the first signal at the
/// latest, whatever its other threads wait for, and at once after another one when nothing can be
/// lost any more. It has a thread of its own and ends the process by _exit() with status 1.
/// One at a time.
class VLR_GUI_EXPORT Watchdog {
public:
    Watchdog();
    ~Watchdog(); ///< The process may live on.
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// For signal handlers.
    static void noteSignal() noexcept;

    void begin();   ///< The time begins now, unless a signal began it.
    void giveUp();  ///< The process is not to end after all.
    void setSafe(); ///< Nothing is lost when it ends now.

private:
    void watch();

    std::atomic<bool> m_isStopped{false};
    std::thread m_thread;
};

} // namespace vlr
