#pragma once

#include "Image/ImageFile.h"

#include <vector>

namespace vlr {

/// An ordered series of images that is stepped through: the pages of the files of a folder, or
/// of a list of files.
///
///     ImageSeries series;
///     CaError error = ImageSeries::open({folder}, series);
///     QImage slice;
///     error = series.read(12, slice);
///
/// Opening lists and checks headers; pixels are decoded by read() alone. Within a folder files
/// are ordered as a person would (slice_2 before slice_10). A file that is not usable stays in
/// the series as a place of its own, whose read() gives its error, so that a gap is seen.
class VLR_CORE_EXPORT ImageSeries {
public:
    /// Opens folders (their image files, not those of folders inside) and files. The error
    /// names a path that does not exist or a folder without images; the series then holds what
    /// could be opened from the other paths. More than 20,000 images are refused.
    ///
    /// The CaProgressMonitor shows how far the reading of many files is. When the user cancels
    /// it, the series is empty and the error has the id cancelledError.
    static CaError open(const QStringList& paths, ImageSeries& series);

    static const char* const cancelledError;

    int count() const; ///< Places in the series.
    bool isEmpty() const { return count() == 0; }
    QString path(int index) const; ///< The file; empty for an index out of range.
    int page(int index) const;     ///< The page in the file, from 0.
    /// What the header of the file says of its first page, and thus mostly of all; an empty size
    /// where there is no image.
    ImageInfo info(int index) const;
    CaError error(int index) const; ///< Why this place has no image, or the null error.
    int errorCount() const;         ///< Places without image.
    /// Decodes the image at the index. An index out of range is an error.
    CaError read(int index, QImage& image) const;

private:
    struct Place {
        QString path;
        int page = 0;
        ImageInfo info;
        CaError error;
    };
    const Place* place(int index) const; ///< Null for an index out of range.
    std::vector<Place> m_places;
};

} // namespace vlr
