#include "AppBase/QtScreenShotData.h"

#include "Files/PatientFile.h"
#include "IO/IOManager.h"
#include "Image/ImageFile.h"
#include "Log/vlrLog.h"
#include "Settings/SettingKey.h"

#include <QtCore/QBuffer>
#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace {

const QString partName = QStringLiteral("screenShot");
constexpr const char* pngFormat = "png";
constexpr int longestName = 180; // characters; file systems take 255 bytes
constexpr int keptAtTheEnd = 24;
constexpr int mostFilesOfAName = 10000;

CaError failure(const QString& text) {
    return CaError("QtScreenShotData::failed", text.toStdString());
}

QString defaultFolder() {
    return QDir::homePath() + QStringLiteral("/Desktop/");
}

const vlr::SettingKey<QString> screenshotLocation(
    "Velora/Application/ScreenshotLocation", &defaultFolder,
    QT_TRANSLATE_NOOP("KnownSettings", "Folder that screenshots are stored in."));

QString screenshotFolder() {
    const QString folder = screenshotLocation.get();
    return folder.isEmpty() ? defaultFolder() : folder;
}

// A name that no file has yet; the file is there, and empty, when this returns.
QString claimFile(const QString& folder, const QString& name) {
    for (int number = 1; number < mostFilesOfAName; ++number) {
        const QString numbered =
            number == 1 ? name : name + QLatin1Char('_') + QString::number(number);
        const QString path =
            QDir::cleanPath(folder + QLatin1Char('/') + numbered + QStringLiteral(".png"));
        const int descriptor = vlr::createPatientFile(path);
        if (descriptor >= 0) {
            close(descriptor);
            return path;
        }
        if (errno != EEXIST)
            break; // It is not the name.
    }
    return {};
}

} // namespace

QString safeFileName(const QString& name) {
    static const QString forbidden = QStringLiteral("/\\:*?\"<>|%");
    QString result;
    for (const QChar character : name) {
        const bool isUsable =
            !forbidden.contains(character) && character.category() != QChar::Other_Control &&
            character.category() != QChar::Other_Format && !character.isSurrogate();
        result += isUsable ? character : QLatin1Char('_');
    }
    result = result.trimmed();
    while (result.startsWith(QLatin1Char('.')))
        result.replace(0, 1, QLatin1Char('_'));
    // Bytes count, not characters. What tells names apart, as the time, stands at the end.
    while (QFile::encodeName(result).size() > longestName)
        result.remove(std::max(0, result.size() - keptAtTheEnd - 1), 1);
    return result.isEmpty() ? QStringLiteral("_") : result;
}

QtScreenShotData::QtScreenShotData() = default;

QtScreenShotData::QtScreenShotData(const QtScreenShotData& other)
    : ConfigurationRecord<QtScreenShotData>(other) {
    *this = other;
}

QtScreenShotData& QtScreenShotData::operator=(const QtScreenShotData& other) {
    if (this == &other)
        return *this;
    ConfigurationRecord<QtScreenShotData>::operator=(other);
    m_image.reset();
    // The picture it had; what another one holds is not copied by itself.
    removeBinaryPart(partName);
    if (other.hasUnstoredImage()) {
        m_image = std::make_unique<QPixmap>(*other.m_image);
        return *this;
    }
    if (!other.binaryParts().contains(partName))
        return *this;
    QByteArray bytes;
    const CaError error = other.storedBytes(bytes);
    if (error == CaError::nullError)
        setBinaryPart(partName, bytes);
    else
        VLR_LOG(Warning) << "A copy of the screenshot \"" << id() << "\" has no picture. " << error;
    return *this;
}

QtScreenShotData::~QtScreenShotData() = default;

void QtScreenShotData::setScreenShot(QPixmap image) {
    m_image = std::make_unique<QPixmap>(image);
}

void QtScreenShotData::setScreenShot(QPixmap image, const QString& name) {
    setScreenShot(image);
    saveImage(name);
}

QPixmap QtScreenShotData::screenShot() {
    if (hasUnstoredImage())
        return *m_image;
    QImage image;
    return readImage(image) == CaError::nullError ? QPixmap::fromImage(image) : QPixmap();
}

CaError QtScreenShotData::readImage(QImage& image, const QSize& bound) const {
    return imageReader(bound)(image);
}

QtScreenShotData::ImageReader QtScreenShotData::imageReader(const QSize& bound) const {
    if (hasUnstoredImage())
        return [kept = m_image->toImage(), bound](QImage& image) {
            image = bound.isValid() ? kept.scaled(bound.boundedTo(kept.size()), Qt::KeepAspectRatio,
                                                  Qt::SmoothTransformation)
                                    : kept;
            return CaError::nullError;
        };
    QByteArray bytes;
    const CaError error = storedBytes(bytes);
    return [error, bytes, bound](QImage& image) {
        return error == CaError::nullError
                   ? vlr::readPng(bytes, QStringLiteral("screenshot"), image, bound)
                   : error;
    };
}

// The part knows its bytes also while they have no place yet, or none any more.
CaError QtScreenShotData::storedBytes(QByteArray& bytes) const {
    if (binaryParts().contains(partName))
        return binaryPart(partName, bytes);
    const vlr::URI uri = binaryPartUri(partName);
    return uri.isValid() ? IOManager::read(uri, bytes)
                         : failure(QStringLiteral("The screenshot has no picture."));
}

CaError QtScreenShotData::encodedImage(QByteArray& bytes) const {
    QImage image;
    const CaError error = readImage(image);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (error == CaError::nullError && !image.save(&buffer, pngFormat))
        return failure(QStringLiteral("The screenshot cannot be encoded."));
    return error;
}

// What the part holds is stored as its bytes, and again where that fails; the picture goes.
CaError QtScreenShotData::doBinSave() {
    if (hasUnstoredImage()) {
        (void)key(); // A new record has none before it is asked, and the place is named by it.
        if (!binaryPartUri(partName).isValid())
            return failure(QStringLiteral("QtScreenShotData: No URI found."));
        QByteArray bytes;
        const CaError error = encodedImage(bytes);
        if (error != CaError::nullError)
            return error;
        setBinaryPart(partName, bytes);
        m_image.reset();
    }
    return ConfigurationRecord<QtScreenShotData>::doBinSave();
}

bool QtScreenShotData::doHasUnstoredBinaryParts() const {
    return hasUnstoredImage() || ConfigurationRecord<QtScreenShotData>::doHasUnstoredBinaryParts();
}

void QtScreenShotData::saveImage(const QString& name) {
    (void)saveImageFile(name);
}

// A picture that is stored already, as by who hears that the record was added, is read again.
CaError QtScreenShotData::saveImageFile(const QString& name) {
    const bool hasPicture = m_image ? !m_image->isNull() : binaryParts().contains(partName);
    if (!hasPicture || name.isEmpty())
        return CaError::nullError;
    const QString folder = screenshotFolder();
    (void)vlr::makePatientFolder(folder);
    const QString fileName = safeFileName(name);
    const QString wanted =
        QDir::cleanPath(folder + QLatin1Char('/') + fileName + QStringLiteral(".png"));
    const QString path = claimFile(folder, fileName);
    QByteArray bytes;
    CaError error = path.isEmpty() ? failure(QStringLiteral("Could not make \"%1\".").arg(wanted))
                                   : encodedImage(bytes);
    if (error == CaError::nullError)
        error = vlr::writePatientFile(path, bytes);
    if (error == CaError::nullError)
        return error;
    if (!path.isEmpty())
        QFile::remove(path);
    VLR_LOG(Error) << "Saving of screenshot '" << wanted << "' failed... " << error;
    return error;
}

VLR_DEFINE_RECORD_FACTORY(QtScreenShotData)
