#include "Images/PhantomFiles.h"

#include "Files/DurableFile.h"
#include "Files/PatientFile.h"
#include "Images/SheppLoganPhantom.h"
#include "Progress/CaProgressMonitor.h"

#include <QtCore/QBuffer>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThreadPool>
#include <QtGui/QImage>

#include <algorithm>
#include <atomic>
#include <cmath>

namespace {

constexpr int writers = 8;
constexpr int progressInterval = 20; // Milliseconds.

QString sliceName(std::size_t slice) {
    return QStringLiteral("slice_%1.png").arg(slice, 3, 10, QLatin1Char('0'));
}

// A link may lead to the images of a patient.
bool isComplete() {
    const QStringList files = phantomFiles();
    return std::all_of(files.begin(), files.end(), [](const QString& file) {
        const QFileInfo info(file);
        return info.isFile() && !info.isSymLink();
    });
}

CaError failure(const QString& reason) {
    const QString text =
        QCoreApplication::translate("PhantomFiles", "The example images cannot be made: %1");
    return CaError("Phantom::failed", text.arg(reason).toStdString());
}

QByteArray encodedSlice(const std::vector<float>& volume, std::size_t slice) {
    QImage image(phantomSize, phantomSize, QImage::Format_Grayscale8);
    const float* value = volume.data() + slice * phantomSize * phantomSize;
    for (int y = 0; y < phantomSize; ++y) {
        uchar* const line = image.scanLine(y);
        for (int x = 0; x < phantomSize; ++x)
            line[x] = static_cast<uchar>(std::lround(*value++ * 255));
    }
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return buffer.data();
}

// Every file waits until the disk has it. The disk serves many at once hardly slower than one,
// whereas one after the other they would be what the first start spends its time on.
CaError writeSlices(const QString& folder) {
    std::atomic<bool> cancelled{false};
    CaProgressMonitor* const progress = CaProgressMonitor::getInstance();
    const CaConnection connection(*progress, CaProgressMonitor::CANCELLED,
                                  [&](auto&&...) { cancelled = true; });
    progress->start("Making the example images ", phantomSize, true, true, 1);
    const std::vector<float> volume = sheppLoganVolume(phantomSize);
    std::vector<CaError> errors(phantomSize);
    std::atomic<int> written{0};
    QThreadPool pool;
    pool.setMaxThreadCount(writers);
    for (std::size_t slice = 0; slice < phantomSize; ++slice)
        pool.start([&, slice] {
            if (cancelled)
                return;
            errors[slice] = vlr::writeDurably(folder + QLatin1Char('/') + sliceName(slice),
                                              encodedSlice(volume, slice));
            ++written;
        });
    int shown = 0;
    bool isDone = false;
    while (!isDone) {
        isDone = pool.waitForDone(progressInterval);
        // A tick processes events, in which the monitor may be replaced.
        for (; shown < written; ++shown)
            CaProgressMonitor::getInstance()->tick();
    }
    CaProgressMonitor::getInstance()->end();
    if (cancelled)
        return CaError("Phantom::cancelled",
                       QCoreApplication::translate("PhantomFiles", "cancelled").toStdString());
    const auto failed = std::find_if(errors.begin(), errors.end(),
                                     [](const CaError& error) { return !error.isNull(); });
    return failed == errors.end() ? CaError::nullError : *failed;
}

// Somebody took slices away. What else he keeps there is none of our business.
void replaceSlices(const QString& from) {
    for (const QString& file : phantomFiles()) {
        QFile::remove(file);
        QFile::rename(from + QLatin1Char('/') + QFileInfo(file).fileName(), file);
    }
}

} // namespace

QString phantomFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           QStringLiteral("/phantom");
}

QStringList phantomFiles() {
    QStringList files;
    for (std::size_t slice = 0; slice < phantomSize; ++slice)
        files << phantomFolder() + QLatin1Char('/') + sliceName(slice);
    return files;
}

bool isPhantomFile(const QString& path) {
    const QString folder = QFileInfo(phantomFolder()).canonicalFilePath();
    const QFileInfo file(QFileInfo(path).canonicalFilePath());
    return !folder.isEmpty() && file.path() == folder &&
           phantomFiles().contains(phantomFolder() + QLatin1Char('/') + file.fileName());
}

CaError providePhantom() {
    const QString folder = phantomFolder();
    if (isComplete())
        return CaError::nullError;

    (void)vlr::makePatientFolder(QFileInfo(folder).path()); // which is that of the patients
    // An interrupted start must not leave half a phantom that the next one takes for a whole one.
    QTemporaryDir temporary(folder + QStringLiteral("-XXXXXX"));
    if (!temporary.isValid())
        return failure(temporary.errorString());
    const CaError error = writeSlices(temporary.path());
    if (error != CaError::nullError)
        return failure(QString::fromStdString(error.text()));
    if (QDir().rename(temporary.path(), folder))
        temporary.setAutoRemove(false);
    else if (!isComplete()) // Else a second instance was faster.
        replaceSlices(temporary.path());
    return isComplete() ? CaError::nullError : failure(QDir::toNativeSeparators(folder));
}
