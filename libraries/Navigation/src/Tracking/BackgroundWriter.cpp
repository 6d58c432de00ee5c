#include "Tracking/BackgroundWriter.h"

#include <utility>

namespace vlr {

BackgroundWriter::BackgroundWriter(Sink sink)
    : m_sink(std::move(sink)), m_thread(&BackgroundWriter::run, this) {}

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
    bool isGood = true;
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_isFinishing || !m_waiting.isEmpty(); });
        if (m_waiting.isEmpty())
            return;
        const QByteArray bytes = std::exchange(m_waiting, QByteArray());
        lock.unlock();
        isGood = isGood && m_sink(bytes);
        lock.lock();
    }
}

} // namespace vlr
