#include "Review/BackgroundDecoder.h"

#include <QtCore/QTimer>

#include <algorithm>

namespace {

constexpr std::size_t mostWaiting = 500;

} // namespace

BackgroundDecoder::BackgroundDecoder(QObject* parent) : QObject(parent) {
    m_pool.setMaxThreadCount(1);
}

BackgroundDecoder::~BackgroundDecoder() {
    m_pool.waitForDone();
}

void BackgroundDecoder::request(const DataPointer<QtScreenShotData>& record, const QSize& bound) {
    if (record == m_current)
        return;
    const auto waits = std::find_if(m_waiting.begin(), m_waiting.end(),
                                    [&](const Request& each) { return each.record == record; });
    if (waits != m_waiting.end())
        m_waiting.erase(waits);
    else if (m_waiting.size() == mostWaiting)
        m_waiting.erase(m_waiting.begin());
    m_waiting.push_back({record, bound});
    if (m_isBusy)
        return;
    m_isBusy = true;
    // Not while somebody paints.
    QTimer::singleShot(0, this, &BackgroundDecoder::startNext);
}

void BackgroundDecoder::clear() {
    m_waiting.clear();
    m_current = nullptr;
    ++m_generation;
}

// Reads the bytes here, as the repository belongs to this thread; one record per turn of the event
// loop.
void BackgroundDecoder::startNext() {
    if (m_waiting.empty()) {
        m_isBusy = false;
        return;
    }
    const Request next = m_waiting.back();
    m_waiting.pop_back();
    m_current = next.record;
    const auto decode = [this, generation = m_generation,
                         read = next.record->imageReader(next.bound)] {
        QImage image;
        const CaError error = read(image);
        QMetaObject::invokeMethod(
            this, [this, generation, image, error] { finish(generation, image, error); },
            Qt::QueuedConnection);
    };
    m_pool.start(decode);
}

void BackgroundDecoder::finish(int generation, const QImage& image, const CaError& error) {
    const DataPointer<QtScreenShotData> record = m_current;
    m_current = nullptr;
    startNext();
    if (generation == m_generation && record)
        emit decoded(record, image, error);
}
