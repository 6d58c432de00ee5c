#pragma once

#include "Image/ImageSeries.h"
#include "Volume/Plane.h"

#include <vector>

/// Grey values, 8 or 16 bits each, on a regular grid: what a series of slices of one size is
/// together. Copies share their voxels.
///
///     Volume volume;
///     CaError error = Volume::load(series, volume);
///     QImage picture = volume.slice(Plane::Sagittal, 40);
class Volume {
public:
    static constexpr qint64 defaultLimit = qint64(2) << 30;
    static const char* const cancelledError;

    /// Decodes the series; its first image is the lowest slice. `volume` is set on success only.
    ///
    /// Refused, before a pixel is decoded where the headers tell it: fewer than two images, images
    /// of different sizes, or with signed and with unsigned grey values (the error names the first
    /// one that differs), more than `limit` bytes. A
    /// slice that cannot be read stays empty; problem() says why. Colours become grey.
    ///
    /// The CaProgressMonitor shows how far it is; when the user cancels, the error has the id
    /// cancelledError.
    static CaError load(const vlr::ImageSeries& series, Volume& volume,
                        qint64 limit = defaultLimit);

    bool isEmpty() const { return m_slices.empty(); }
    Voxel size() const { return m_size; }
    int count(Plane plane) const; ///< Slices in the plane.
    int bitsPerVoxel() const { return m_format == QImage::Format_Grayscale16 ? 16 : 8; }
    int darkest() const { return m_darkest + m_zero; } ///< Of the grey values of all slices.
    int brightest() const { return m_brightest + m_zero; }
    /// How bright the grey value is shown where that range is spread over black to white.
    static uchar stretched(int grey, int darkest, int brightest);

    /// Distances between the centres of neighbours, in millimetres; 1 as long as nobody knows them.
    const std::array<double, 3>& spacing() const { return m_spacing; }
    /// A value that is not positive counts as not known.
    void setSpacing(const std::array<double, 3>& spacing);
    bool isSpacingKnown() const { return m_isSpacingKnown; } ///< Of all three axes; not at first.

    /// Whether it is known where the patient, or the phantom, that the volume shows is beside the
    /// reference base of the tracker (see Tracking/VolumeRegistration.h). Not at first, and never
    /// while the spacing is not known.
    bool isRegistered() const { return m_isRegistered && m_isSpacingKnown; }
    void setRegistered(bool registered) { m_isRegistered = registered; }

    /// Why the axial slice is empty, or the null error.
    CaError problem(int z) const;
    int grey(const Voxel& voxel) const; ///< As it is in the file, below 0 too; 0 outside.

    /// A picture of the plane with 8 bits, one pixel per voxel, turned as Plane.h says. 16 bits are
    /// windowed to the range of the whole volume. A null image for an index that does not exist.
    QImage slice(Plane plane, int index) const;

private:
    bool append(const QImage& decoded);
    void updateRange();
    template <class Grey>
    void updateRangeOf();
    template <class Grey>
    QImage reslice(Plane plane, int index) const;
    uchar shown(quint16 grey) const { return stretched(grey, m_darkest, m_brightest); }
    uchar shown(uchar grey) const { return grey; }

    std::vector<QImage> m_slices; ///< Axial; null where there is a problem.
    std::vector<CaError> m_problems;
    QImage::Format m_format = QImage::Format_Grayscale8;
    Voxel m_size{};
    std::array<double, 3> m_spacing{1, 1, 1};
    bool m_isSpacingKnown = false;
    bool m_isRegistered = false;
    int m_zero = 0; ///< The grey value of a voxel of 0, see vlr::ImageInfo::zeroGrey.
    int m_darkest = 0;
    int m_brightest = 0;
};
