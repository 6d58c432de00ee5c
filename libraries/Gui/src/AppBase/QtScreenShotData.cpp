#include "AppBase/QtScreenShotData.h"

#include "IO/DurableFile.h"
#include "IO/IOManager.h"
#include "Image/ImageFile.h"
#include "Log/vlrLog.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QBuffer>
#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>

namespace {

const QString partName = QStringLiteral("screenShot");
constexpr const char* pngFormat = "png";
constexpr int longestName = 180; // characters; file systems take 255 bytes
constexpr int keptAtTheEnd = 24;
constexpr int mostFilesOfAName = 10000;

CaError failure(const QString& text) {
    return CaError("QtScreenShotData::failed", text.toStdString());
}

QString screenshotFolder() {
    const QString key = QStringLiteral("Velora/Application/ScreenshotLocation");
    const QString folder = vlr::Settings::get(key, "");
    return folder.isEmpty() ? QDir::homePath() + QStringLiteral("/Desktop/") : folder;
}

// A name that no file has yet; the file is there, and empty, when this returns.
QString claimFile(const QString& folder, const QString& name) {
    for (int number = 1; number < mostFilesOfAName; ++number) {
        const QString numbered =
            number == 1 ? name : name + QLatin1Char('_') + QString::number(number);
        const QString path =
            QDir::cleanPath(folder + QLatin1Char('/') + numbered + QStringLiteral(".png"));
        QFile file(path);
        if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
            return path;
        if (!file.exists())
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
    QImage image;
    m_image.reset();
    m_isStored = false;
    // The bytes in the repository stay with the original.
    if (other.m_image)
        m_image = std::make_unique<QPixmap>(*other.m_image);
    else if (other.readImage(image) == CaError::nullError)
        m_image = std::make_unique<QPixmap>(QPixmap::fromImage(image));
    return *this;
}

QtScreenShotData::~QtScreenShotData() = default;

void QtScreenShotData::setScreenShot(QPixmap image) {
    m_image = std::make_unique<QPixmap>(image);
    m_isStored = false;
}

void QtScreenShotData::setScreenShot(QPixmap image, const QString& name) {
    setScreenShot(image);
    saveImage(name);
}

QPixmap QtScreenShotData::screenShot() {
    if (m_image && !m_image->isNull())
        return *m_image;
    QImage image;
    return readImage(image) == CaError::nullError ? QPixmap::fromImage(image) : QPixmap();
}

CaError QtScreenShotData::readImage(QImage& image, const QSize& bound) const {
    return imageReader(bound)(image);
}

QtScreenShotData::ImageReader QtScreenShotData::imageReader(const QSize& bound) const {
    if (m_image && !m_image->isNull())
        return [kept = m_image->toImage(), bound](QImage& image) {
            image = bound.isValid() ? kept.scaled(bound.boundedTo(kept.size()), Qt::KeepAspectRatio,
                                                  Qt::SmoothTransformation)
                                    : kept;
            return CaError::nullError;
        };
    const vlr::URI uri = binaryPartUri(partName);
    QByteArray bytes;
    const CaError error = uri.isValid() ? IOManager::read(uri, bytes)
                                        : failure(QStringLiteral("The screenshot has no picture."));
    return [error, bytes, bound](QImage& image) {
        return error == CaError::nullError
                   ? vlr::readPng(bytes, QStringLiteral("screenshot"), image, bound)
                   : error;
    };
}

CaError QtScreenShotData::encodedImage(QByteArray& bytes) const {
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!m_image->save(&buffer, pngFormat))
        return failure(QStringLiteral("The screenshot cannot be encoded."));
    return CaError::nullError;
}

CaError QtScreenShotData::doBinSave() {
    if (m_image && !m_image->isNull() && !m_isStored) {
        (void)key(); // A new record has none before it is asked, and the place is named by it.
        if (!binaryPartUri(partName).isValid())
            return failure(QStringLiteral("QtScreenShotData: No URI found."));
        QByteArray bytes;
        const CaError error = encodedImage(bytes);
        if (error != CaError::nullError)
            return error;
        setBinaryPart(partName, bytes);
    }
    const CaError error = ConfigurationRecord<QtScreenShotData>::doBinSave();
    m_isStored = m_image && error == CaError::nullError;
    return error;
}

bool QtScreenShotData::doHasUnstoredBinaryParts() const {
    return (m_image && !m_image->isNull() && !m_isStored) ||
           ConfigurationRecord<QtScreenShotData>::doHasUnstoredBinaryParts();
}

void QtScreenShotData::saveImage(const QString& name) {
    if (!m_image || m_image->isNull() || name.isEmpty())
        return;
    const QString folder = screenshotFolder();
    (void)QDir().mkpath(folder);
    const QString path = claimFile(folder, safeFileName(name));
    QByteArray bytes;
    CaError error =
        path.isEmpty() ? failure(QStringLiteral("The file cannot be made.")) : encodedImage(bytes);
    if (error == CaError::nullError)
        error = vlr::writeDurably(path, bytes);
    if (error == CaError::nullError)
        return;
    if (!path.isEmpty())
        QFile::remove(path);
    const QString wanted = folder + QLatin1Char('/') + safeFileName(name) + QStringLiteral(".png");
    VLR_LOG(Error) << "Saving of screenshot '" << QDir::cleanPath(wanted) << "' failed... "
                   << error;
}

VLR_DEFINE_RECORD_FACTORY(QtScreenShotData)
