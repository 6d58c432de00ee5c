#include "Images/PhantomFiles.h"

#include "IO/DurableFile.h"
#include "Images/SheppLoganPhantom.h"
#include "Progress/CaProgressMonitor.h"

#include <QtCore/QBuffer>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtGui/QImage>

#include <cmath>

namespace {

constexpr int phantomSize = 128;

QString sliceName(int slice) {
    return QStringLiteral("slice_%1.png").arg(slice, 3, 10, QLatin1Char('0'));
}

CaError failure(const QString& reason) {
    const QString text =
        QCoreApplication::translate("PhantomFiles", "The example images cannot be made: %1");
    return CaError("Phantom::failed", text.arg(reason).toStdString());
}

QByteArray encodedSlice(const std::vector<float>& volume, int slice) {
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

CaError writeSlices(const QString& folder) {
    CaProgressMonitor* const progress = CaProgressMonitor::getInstance();
    progress->start("Making the example images ", phantomSize, false, true, 1);
    const std::vector<float> volume = sheppLoganVolume(phantomSize);
    CaError error;
    for (int slice = 0; slice < phantomSize && error == CaError::nullError; ++slice) {
        error = vlr::writeDurably(folder + QLatin1Char('/') + sliceName(slice),
                                  encodedSlice(volume, slice));
        progress->tick();
    }
    progress->end();
    return error;
}

} // namespace

QString phantomFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           QStringLiteral("/phantom");
}

CaError providePhantom() {
    const QString folder = phantomFolder();
    const QString lastSlice = folder + QLatin1Char('/') + sliceName(phantomSize - 1);
    if (QFileInfo::exists(lastSlice))
        return CaError::nullError;

    QDir().mkpath(QFileInfo(folder).path());
    // An interrupted start must not leave half a phantom that the next one takes for a whole one.
    QTemporaryDir temporary(folder + QStringLiteral("-XXXXXX"));
    if (!temporary.isValid())
        return failure(temporary.errorString());
    const CaError error = writeSlices(temporary.path());
    if (error != CaError::nullError)
        return failure(QString::fromStdString(error.text()));
    QDir(folder).removeRecursively(); // Somebody took slices away.
    if (QDir().rename(temporary.path(), folder))
        temporary.setAutoRemove(false);
    else if (!QFileInfo::exists(lastSlice)) // A second instance may have been faster.
        return failure(QDir::toNativeSeparators(folder));
    return CaError::nullError;
}
