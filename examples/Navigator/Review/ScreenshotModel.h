#pragma once

#include "Data/Patient.h"
#include "Review/BackgroundDecoder.h"

#include <QtCore/QAbstractListModel>
#include <QtCore/QCache>
#include <QtCore/QMap>
#include <QtGui/QPixmap>

#include <vector>

/// The screenshots in a patient's tree, the newest first. A thumbnail is decoded when it is asked
/// for (DecorationRole) and announced with dataChanged(); only so many are kept.
class ScreenshotModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role {
        ReasonRole = Qt::UserRole, ///< Why there is no picture; empty while nothing is known.
    };
    static constexpr QSize thumbnailSize{200, 140};

    explicit ScreenshotModel(QObject* parent = nullptr);

    /// Null for nobody. The model does not follow the tree by itself; call it again.
    void setPatient(const DataPointer<Patient>& patient);
    /// Thumbnails get that many pixels of the screen per pixel.
    void setPixelRatio(qreal ratio);
    DataPointer<QtScreenShotData> screenshot(const QModelIndex& index) const;
    QModelIndex indexOf(const QtScreenShotData* record) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    QVariant thumbnail(const DataPointer<QtScreenShotData>& record) const;
    void keep(const DataPointer<QtScreenShotData>& record, const QImage& image,
              const CaError& error);

    std::vector<DataPointer<QtScreenShotData>> m_records;
    mutable QCache<const QtScreenShotData*, QPixmap> m_thumbnails;
    QMap<const QtScreenShotData*, QString> m_reasons;
    BackgroundDecoder* m_decoder;
    qreal m_pixelRatio = 1;
};

/// When the screenshot was taken, as its name says; otherwise its name.
QString screenshotTitle(const QtScreenShotData& record);
