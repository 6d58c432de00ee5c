#pragma once

class QIODevice;

namespace vlr {

/// How the pixels of one page of a TIFF are written, as the page's directory says it.
struct TiffSamples {
    enum Format { Unsigned = 1, Signed = 2, Floating = 3, Untyped = 4, Complex = 6 };

    int format = Unsigned; ///< One of Format, or another number that the file gives.
    int bits = 1;          ///< Of one sample.
    int perPixel = 1;
    bool isBlackZero = true; ///< False: white is zero, or there are colours.
};

/// Reads the directory of the page (from 0) of a TIFF or BigTIFF; what a directory does not say has
/// the format's default. False where there is no such directory. The device stays where it was.
bool readTiffSamples(QIODevice& file, int page, TiffSamples& samples);

} // namespace vlr
