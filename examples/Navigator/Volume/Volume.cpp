#include "Volume/Volume.h"

#include "Progress/CaProgressMonitor.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

const char* const Volume::cancelledError = "Volume::cancelled";

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("Volume", text);
}

CaError refusal(const char* id, const QString& text) {
    return CaError(id, text.toStdString());
}

QString megabytes(qint64 bytes) {
    return QString::number(static_cast<double>(bytes) / (1 << 20), 'f', 1) + QLatin1String(" MiB");
}

CaError differentSize(const vlr::ImageSeries& series, int index, const QSize& size,
                      const QSize& first) {
    return refusal("Volume::unequalSizes", tr("Slice %1 (\"%2\") has %3 x %4 pixels, the slices "
                                              "before it have %5 x %6.")
                                               .arg(index + 1)
                                               .arg(QFileInfo(series.path(index)).fileName())
                                               .arg(size.width())
                                               .arg(size.height())
                                               .arg(first.width())
                                               .arg(first.height()));
}

// There is room for the file's name only where the problem is shown.
CaError withShortName(const CaError& error, const QString& path) {
    QString text = QString::fromStdString(error.text());
    return error == CaError::nullError
               ? error
               : refusal(error.id().c_str(), text.replace(path, QFileInfo(path).fileName()));
}

// What the headers say of all slices together.
struct Plan {
    QSize size;
    QImage::Format format = QImage::Format_Grayscale8;
    int zeroGrey = 0;
};

// Bits of a decoded pixel: 16 are one grey value of 16 bits, 64 are four components of 16 bits.
bool isDeep(const vlr::ImageInfo& info) {
    const qint64 bytes = info.bytes / info.size.width() / info.size.height();
    return bytes == 2 || bytes == 8;
}

CaError checkHeaders(const vlr::ImageSeries& series, Plan& plan) {
    if (series.count() < 2)
        return refusal("Volume::tooFew", tr("A volume needs more than one image."));
    for (int i = 0; i < series.count(); ++i) {
        const vlr::ImageInfo info = series.info(i);
        if (series.error(i) != CaError::nullError || info.size.isEmpty())
            continue;
        if (plan.size.isEmpty())
            plan = {info.size, plan.format, info.zeroGrey};
        if (info.size != plan.size && series.page(i) == 0)
            return differentSize(series, i, info.size, plan.size);
        if (info.zeroGrey != plan.zeroGrey)
            return refusal("Volume::unequalGreys",
                           tr("Slice %1 (\"%2\") and the slices before it do not both have signed "
                              "grey values.")
                               .arg(i + 1)
                               .arg(QFileInfo(series.path(i)).fileName()));
        if (isDeep(info))
            plan.format = QImage::Format_Grayscale16;
    }
    return plan.size.isEmpty() ? refusal("Volume::noImage", tr("No slice can be read."))
                               : CaError::nullError;
}

CaError checkLimit(const Plan& plan, int slices, qint64 limit) {
    const qint64 voxelBytes = plan.format == QImage::Format_Grayscale16 ? 2 : 1;
    const qint64 line = (plan.size.width() * voxelBytes + 3) / 4 * 4;
    const qint64 bytes = line * plan.size.height() * slices;
    if (bytes <= limit)
        return CaError::nullError;
    return refusal("Volume::tooLarge",
                   tr("A volume of %1 x %2 x %3 voxels needs %4 of memory, more than %5.")
                       .arg(plan.size.width())
                       .arg(plan.size.height())
                       .arg(slices)
                       .arg(megabytes(bytes), megabytes(limit)));
}

// The monitor may be replaced while it runs.
class Progress {
public:
    explicit Progress(int slices) {
        CaProgressMonitor* const monitor = CaProgressMonitor::getInstance();
        m_cancelled = CaConnection(*monitor, CaProgressMonitor::CANCELLED,
                                   [this](auto&&...) { m_isCancelled = true; });
        monitor->start(tr("Loading the volume ").toStdString(), slices, true, true, 1);
    }
    ~Progress() { CaProgressMonitor::getInstance()->end(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// False once the user does not want it any more.
    bool tick() const {
        CaProgressMonitor::getInstance()->tick();
        return !m_isCancelled;
    }

private:
    bool m_isCancelled = false;
    CaConnection m_cancelled;
};

} // namespace

CaError Volume::load(const vlr::ImageSeries& series, Volume& volume, qint64 limit) {
    Plan plan;
    CaError error = checkHeaders(series, plan);
    if (error == CaError::nullError)
        error = checkLimit(plan, series.count(), limit);
    if (error != CaError::nullError)
        return error;

    Volume loaded;
    loaded.m_format = plan.format;
    loaded.m_zero = plan.zeroGrey;
    loaded.m_size = {plan.size.width(), plan.size.height(), series.count()};
    bool isAnyThere = false;
    const Progress progress(series.count());
    for (int z = 0; z < series.count(); ++z) {
        if (!progress.tick())
            return refusal(cancelledError, tr("Loading the volume was cancelled."));
        QImage image;
        error = series.read(z, image);
        // The header speaks of the first page only.
        if (error == CaError::nullError && image.size() != plan.size)
            return differentSize(series, z, image.size(), plan.size);
        if (error == CaError::nullError && !loaded.append(image))
            return refusal("Volume::noMemory", tr("There is not enough memory for the volume."));
        if (error != CaError::nullError)
            loaded.m_slices.emplace_back();
        isAnyThere |= error == CaError::nullError;
        loaded.m_problems.push_back(withShortName(error, series.path(z)));
    }
    if (!isAnyThere)
        return loaded.m_problems.front();
    loaded.updateRange();
    volume = std::move(loaded);
    return CaError::nullError;
}

bool Volume::append(const QImage& decoded) {
    m_slices.push_back(decoded.convertToFormat(m_format));
    return !m_slices.back().isNull();
}

int Volume::count(Plane plane) const {
    return m_size[axesOf(plane).normal];
}

void Volume::setSpacing(const std::array<double, 3>& spacing) {
    m_isSpacingKnown = true;
    for (std::size_t axis = 0; axis < spacing.size(); ++axis) {
        const bool isKnown = std::isfinite(spacing[axis]) && spacing[axis] > 0;
        m_spacing[axis] = isKnown ? spacing[axis] : 1;
        m_isSpacingKnown = m_isSpacingKnown && isKnown;
    }
}

CaError Volume::problem(int z) const {
    return z >= 0 && z < m_size[2] ? m_problems[static_cast<std::size_t>(z)] : CaError::nullError;
}

int Volume::grey(const Voxel& voxel) const {
    for (std::size_t axis = 0; axis < voxel.size(); ++axis)
        if (voxel[axis] < 0 || voxel[axis] >= m_size[axis])
            return 0;
    const QImage& slice = m_slices[static_cast<std::size_t>(voxel[2])];
    if (slice.isNull())
        return 0;
    const uchar* const line = slice.constScanLine(voxel[1]);
    return m_zero + (bitsPerVoxel() == 16 ? reinterpret_cast<const quint16*>(line)[voxel[0]]
                                          : line[voxel[0]]);
}

// --- grey values

void Volume::updateRange() {
    if (bitsPerVoxel() == 16)
        updateRangeOf<quint16>();
    else
        updateRangeOf<uchar>();
}

template <class Grey>
void Volume::updateRangeOf() {
    Grey darkest = std::numeric_limits<Grey>::max();
    Grey brightest = 0;
    for (const QImage& slice : m_slices)
        for (int y = 0; y < slice.height(); ++y) {
            const auto* const line = reinterpret_cast<const Grey*>(slice.constScanLine(y));
            const auto range = std::minmax_element(line, line + slice.width());
            darkest = std::min(darkest, *range.first);
            brightest = std::max(brightest, *range.second);
        }
    m_darkest = darkest;
    m_brightest = brightest;
}

uchar Volume::stretched(int grey, int darkest, int brightest) {
    const int range = std::max(1, brightest - darkest);
    return static_cast<uchar>(std::clamp(grey - darkest, 0, range) * 255 / range);
}

// --- pictures

QImage Volume::slice(Plane plane, int index) const {
    if (index < 0 || index >= count(plane))
        return {};
    return bitsPerVoxel() == 16 ? reslice<quint16>(plane, index) : reslice<uchar>(plane, index);
}

// Line by line; only a sagittal picture has to collect its pixels one by one.
template <class Grey>
QImage Volume::reslice(Plane plane, int index) const {
    const PlaneAxes axes = axesOf(plane);
    const int width = m_size[axes.right];
    const int height = m_size[axes.vertical];
    QImage picture(width, height, QImage::Format_Grayscale8);
    picture.fill(0);
    for (int line = 0; line < height; ++line) {
        const int vertical = axes.isUpward ? height - 1 - line : line;
        const QImage& slice =
            m_slices[static_cast<std::size_t>(plane == Plane::Axial ? index : vertical)];
        if (slice.isNull())
            continue;
        uchar* const target = picture.scanLine(line);
        if (plane == Plane::Sagittal) {
            const uchar* source = slice.constBits() + std::ptrdiff_t(index) * int(sizeof(Grey));
            for (int y = 0; y < width; ++y, source += slice.bytesPerLine())
                target[y] = shown(*reinterpret_cast<const Grey*>(source));
            continue;
        }
        const auto* const source = reinterpret_cast<const Grey*>(
            slice.constScanLine(plane == Plane::Axial ? vertical : index));
        std::transform(source, source + width, target, [this](Grey grey) { return shown(grey); });
    }
    return picture;
}
