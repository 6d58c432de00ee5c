#include "Image/ImageSeries.h"

#include "Files/DurableFile.h"
#include "Progress/CaProgressMonitor.h"

#include <QtCore/QCollator>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>

namespace vlr {

const char* const ImageSeries::cancelledError = "ImageSeries::cancelled";

namespace {

constexpr int imageLimit = 20000;

CaError seriesError(const char* id, const QString& text) {
    return CaError(id, text.toStdString());
}

// The image files of the folder as a person would put them in order, wherever that person lives.
QStringList imageFiles(const QString& folder) {
    QStringList names = QDir(folder).entryList(imageNameFilters(), QDir::Files);
    QCollator collator{QLocale(QLocale::English)};
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::sort(names.begin(), names.end(), [&](const QString& a, const QString& b) {
        const int order = collator.compare(a, b);
        return order != 0 ? order < 0 : a < b; // "1.png" and "01.png" are not the same
    });
    QStringList paths;
    for (const QString& name : qAsConst(names))
        paths << QDir(folder).filePath(name);
    return paths;
}

CaError tooManyImages() {
    return seriesError("ImageSeries::tooMany",
                       QStringLiteral("These are more than %1 images.").arg(imageLimit));
}

// Shows how far the reading of many files is. The monitor may be replaced while it runs.
class Progress {
public:
    explicit Progress(int files) : m_isShown(files >= worthShowing) {
        if (!m_isShown)
            return;
        CaProgressMonitor* const monitor = CaProgressMonitor::getInstance();
        m_cancelled = CaConnection(*monitor, CaProgressMonitor::CANCELLED,
                                   [this](auto&&...) { m_isCancelled = true; });
        monitor->start("Reading images ", files, true, true, 1);
    }
    ~Progress() {
        if (m_isShown)
            CaProgressMonitor::getInstance()->end();
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void tick() const {
        if (m_isShown)
            CaProgressMonitor::getInstance()->tick();
    }
    bool isCancelled() const { return m_isCancelled; }

private:
    static constexpr int worthShowing = 50;

    const bool m_isShown;
    bool m_isCancelled = false;
    CaConnection m_cancelled;
};

// The files that the paths stand for, and the first error among them.
CaError listFiles(const QStringList& paths, QStringList& files) {
    CaError firstError;
    for (const QString& path : paths) {
        const QFileInfo info(path);
        const QStringList found = info.isDir() ? imageFiles(path) : QStringList(path);
        CaError error;
        if (!info.exists())
            error =
                seriesError(fileNotFoundError, QStringLiteral("\"%1\" does not exist.").arg(path));
        else if (found.isEmpty())
            error = seriesError("ImageSeries::noImages",
                                QStringLiteral("There are no images in \"%1\".").arg(path));
        else
            files << found;
        if (firstError.isNull())
            firstError = error;
    }
    return firstError;
}

} // namespace

CaError ImageSeries::open(const QStringList& paths, ImageSeries& series) {
    series.m_places.clear();
    QStringList files;
    const CaError error = listFiles(paths, files);
    if (files.size() > imageLimit)
        return tooManyImages();

    std::vector<Place> places;
    Progress progress(files.size());
    for (const QString& file : qAsConst(files)) {
        if (progress.isCancelled())
            return seriesError(ImageSeries::cancelledError,
                               QStringLiteral("Reading the images was cancelled."));
        progress.tick();
        ImageInfo info;
        const CaError fileError = readImageInfo(file, info);
        if (places.size() + static_cast<std::size_t>(info.pages) > imageLimit)
            return tooManyImages();
        for (int page = 0; page < info.pages; ++page)
            places.push_back({file, page, info, fileError});
    }
    series.m_places = std::move(places);
    return error;
}

int ImageSeries::count() const {
    return static_cast<int>(m_places.size());
}

const ImageSeries::Place* ImageSeries::place(int index) const {
    return index >= 0 && index < count() ? &m_places[static_cast<std::size_t>(index)] : nullptr;
}

QString ImageSeries::path(int index) const {
    const Place* const found = place(index);
    return found ? found->path : QString();
}

int ImageSeries::page(int index) const {
    const Place* const found = place(index);
    return found ? found->page : 0;
}

ImageInfo ImageSeries::info(int index) const {
    const Place* const found = place(index);
    return found ? found->info : ImageInfo();
}

CaError ImageSeries::error(int index) const {
    if (const Place* const found = place(index))
        return found->error;
    return seriesError(
        "ImageSeries::badIndex",
        QStringLiteral("There is no image %1 in a series of %2.").arg(index).arg(count()));
}

int ImageSeries::errorCount() const {
    return static_cast<int>(std::count_if(m_places.begin(), m_places.end(),
                                          [](const Place& each) { return !each.error.isNull(); }));
}

CaError ImageSeries::read(int index, QImage& image) const {
    const CaError known = error(index);
    return known.isNull() ? readImage(path(index), image, page(index)) : known;
}

} // namespace vlr
