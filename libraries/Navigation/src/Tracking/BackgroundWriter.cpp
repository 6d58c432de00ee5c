#include "Tracking/BackgroundWriter.h"

#include <utility>

namespace vlr {

BackgroundWriter::BackgroundWriter(Sink sink, Sync sync, std::chrono::milliseconds pace)
    : m_sink(std::move(sink)), m_sync(std::move(sync)), m_pace(pace),
      m_thread(&BackgroundWriter::run, this) {}

BackgroundWriter::~BackgroundWriter() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isFinishing = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

bool BackgroundWriter::write(const QByteArray& bytes) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_waiting.size() + bytes.size() > mostWaiting)
            return false;
        m_waiting += bytes;
    }
    m_wake.notify_one();
    return true;
}

void BackgroundWriter::run() {
    using Clock = std::chrono::steady_clock;
    bool isGood = true;
    bool isDirty = bool(m_sync); // With what was there before the first bytes.
    Clock::time_point syncAt = Clock::now() + m_pace;
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto hasWork = [this] { return m_isFinishing || !m_waiting.isEmpty(); };
    for (;;) {
        if (isDirty)
            m_wake.wait_until(lock, syncAt, hasWork);
        else
            m_wake.wait(lock, hasWork);
        const QByteArray bytes = std::exchange(m_waiting, QByteArray());
        const bool isLast = m_isFinishing && bytes.isEmpty();
        lock.unlock();
        if (!bytes.isEmpty() && isGood) {
            isGood = m_sink(bytes);
            if (!isDirty)
                syncAt = Clock::now() + m_pace;
            isDirty = bool(m_sync);
        }
        if (isDirty && (isLast || Clock::now() >= syncAt)) {
            isGood = m_sync() && isGood;
            isDirty = false;
        }
        lock.lock();
        if (isLast)
            return;
    }
}

} // namespace vlr
