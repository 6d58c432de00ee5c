#pragma once

#include "AppBase/QtScreenShotData.h"

#include <QtCore/QObject>
#include <QtCore/QSize>
#include <QtCore/QThreadPool>

#include <vector>

/// Decodes screenshots one at a time beside the GUI thread. What was asked for last is decoded
/// first: it is what the user sees now.
///
///     connect(decoder, &BackgroundDecoder::decoded, this, &Model::keep);
///     decoder->request(record, QSize(200, 150));
class BackgroundDecoder : public QObject {
    Q_OBJECT

public:
    explicit BackgroundDecoder(QObject* parent = nullptr);
    ~BackgroundDecoder() override; ///< Waits for the picture that is being decoded.

    /// A record that waits already is asked for once. The size (pixels) bounds the picture.
    void request(const DataPointer<QtScreenShotData>& record, const QSize& bound);
    bool isBusy() const { return m_isBusy; } ///< Something waits or is being decoded.
    void clear(); ///< Forgets what waits; what is being decoded is not announced any more.

signals:
    /// The image is null where there is an error.
    void decoded(const DataPointer<QtScreenShotData>& record, const QImage& image,
                 const CaError& error);

private:
    struct Request {
        DataPointer<QtScreenShotData> record;
        QSize bound;
    };

    void startNext();
    void finish(int generation, const QImage& image, const CaError& error);

    std::vector<Request> m_waiting;
    DataPointer<QtScreenShotData> m_current; ///< It never leaves the GUI thread.
    int m_generation = 0;
    bool m_isBusy = false;
    QThreadPool m_pool;
};
