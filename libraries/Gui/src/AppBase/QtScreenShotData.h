#pragma once

#include "Data/ConfigurationRecord.h"
#include "vlrGuiExport.h"

#include <QtCore/QSize>
#include <QtGui/QImage>
#include <QtGui/QPixmap>

#include <functional>
#include <memory>

/// A screenshot among a patient's data. The picture is the record's binary part "screenShot", as
/// PNG; it is written when the patient is stored and read when it is asked for. Until then the
/// picture itself is kept in memory, after that only its PNG.
///
///     DataPointer<QtScreenShotData> record(new QtScreenShotData);
///     record->setScreenShot(window->grab());
///     (void)patient->addChild(record, true);
class VLR_GUI_EXPORT QtScreenShotData : public ConfigurationRecord<QtScreenShotData> {
public:
    static constexpr const char* className = "QtScreenShotData";

    QtScreenShotData();
    /// With the picture, wherever the original has it: where that is its PNG, with that. One that
    /// cannot be read is missed in the copy, with a "WARNING".
    QtScreenShotData(const QtScreenShotData& other);
    QtScreenShotData& operator=(const QtScreenShotData& other);

    void setScreenShot(QPixmap image);
    void setScreenShot(QPixmap image, const QString& name); ///< And saves it as saveImage() does.
    /// The picture from memory or from the repository, also after the record was taken out of its
    /// tree; null where it cannot be had.
    QPixmap screenShot();
    /// As screenShot(), with the reason where there is no picture. A valid `bound` gives it scaled
    /// down to fit into that size (pixels), with its aspect ratio. A PNG that says it needs more
    /// than 512 MiB is refused before it is decoded.
    CaError readImage(QImage& image, const QSize& bound = QSize()) const;
    /// readImage() in two steps, for who does not want to wait: the bytes are read now, and what
    /// is returned decodes them. It may be called in any thread, also when the record is gone.
    using ImageReader = std::function<CaError(QImage&)>;
    ImageReader imageReader(const QSize& bound = QSize()) const;

    /// Writes the picture as PNG into the folder of the setting "Velora/Application/
    /// ScreenshotLocation" (by default "Desktop" in the home folder), which is made if it is not
    /// there. Characters a file name should not hold become "_". A file of that name stays; the
    /// new one gets a number. Nothing happens without a picture or without a name; a failure is
    /// logged at "ERROR".
    void saveImage(const QString& name);
    /// The same for who tells the user: the failure is logged, and its reason returned.
    CaError saveImageFile(const QString& name);

protected:
    ~QtScreenShotData() override;
    CaError doBinSave() override;
    bool doHasUnstoredBinaryParts() const override;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() { return std::make_tuple(); }

    bool hasUnstoredImage() const { return m_image && !m_image->isNull(); }
    CaError storedBytes(QByteArray& bytes) const;
    CaError encodedImage(QByteArray& bytes) const;

    std::unique_ptr<QPixmap> m_image; ///< Until the part holds it.
};

VLR_DECLARE_RECORD_FACTORY(QtScreenShotData, VLR_GUI_EXPORT)

/// The name as one of a file in a folder: what file systems do not take, or take for a path,
/// becomes "_", and it is not longer than they allow.
VLR_GUI_EXPORT QString safeFileName(const QString& name);
