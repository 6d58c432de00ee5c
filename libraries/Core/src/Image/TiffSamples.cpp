#include "Image/TiffSamples.h"

#include <QtCore/QIODevice>
#include <QtCore/QtEndian>

namespace vlr {

namespace {

constexpr int photometricTag = 262;
constexpr int bitsTag = 258;
constexpr int perPixelTag = 277;
constexpr int formatTag = 339;
constexpr int minIsBlack = 1;

// Numbers in the file's byte order, and in the widths of its kind.
class Reader {
public:
    explicit Reader(QIODevice& file) : m_file(file), m_start(file.pos()) {
        const QByteArray mark = bytesAt(0, 4);
        m_isBigEndian = mark.startsWith("MM");
        m_isBig = number(2, 2) == 43;
        m_isTiff = mark.size() == 4 && (m_isBig || number(2, 2) == 42);
    }
    ~Reader() { m_file.seek(m_start); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    // 0 where the file has no such bytes, which is no place of a directory either.
    quint64 number(quint64 position, int width) const {
        const QByteArray bytes = bytesAt(position, width);
        quint64 value = 0;
        for (int i = 0; i < bytes.size(); ++i)
            value = value << 8U |
                    static_cast<uchar>(bytes.at(m_isBigEndian ? i : bytes.size() - 1 - i));
        return bytes.size() == width ? value : 0;
    }
    // The directory of the page; 0 where there is none.
    quint64 directory(int page) const {
        quint64 place = m_isTiff ? number(m_isBig ? 8 : 4, offsetWidth()) : 0;
        for (int i = 0; i < page && place != 0; ++i)
            place = number(place + countWidth() + number(place, countWidth()) * entrySize(),
                           offsetWidth());
        return place;
    }
    void read(quint64 directory, TiffSamples& samples) const {
        const quint64 count = number(directory, countWidth());
        for (quint64 i = 0; i < count && i < mostEntries; ++i) {
            const quint64 entry = directory + countWidth() + i * entrySize();
            switch (number(entry, 2)) {
            case bitsTag:
                samples.bits = firstValue(entry);
                break;
            case photometricTag:
                samples.isBlackZero = firstValue(entry) == minIsBlack;
                break;
            case perPixelTag:
                samples.perPixel = firstValue(entry);
                break;
            case formatTag:
                samples.format = firstValue(entry);
                break;
            default:
                break;
            }
        }
    }

private:
    static constexpr quint64 mostEntries = 4096;

    int offsetWidth() const { return m_isBig ? 8 : 4; }
    int countWidth() const { return m_isBig ? 8 : 2; }
    quint64 entrySize() const { return m_isBig ? 20 : 12; }

    QByteArray bytesAt(quint64 position, int count) const {
        const bool exists = position <= static_cast<quint64>(m_file.size());
        return exists && m_file.seek(static_cast<qint64>(position)) ? m_file.read(count)
                                                                    : QByteArray();
    }
    // Several samples have a value each; the first one speaks for all of them.
    int firstValue(quint64 entry) const {
        const quint64 type = number(entry + 2, 2);
        const int width = type == 1 ? 1 : type == 3 ? 2 : 4;
        const quint64 count = number(entry + 4, offsetWidth());
        const quint64 field = entry + 4 + static_cast<quint64>(offsetWidth());
        const bool isInside = count <= static_cast<quint64>(offsetWidth() / width);
        return static_cast<int>(number(isInside ? field : number(field, offsetWidth()), width));
    }

    QIODevice& m_file;
    const qint64 m_start;
    bool m_isBigEndian = false;
    bool m_isBig = false;
    bool m_isTiff = false;
};

} // namespace

bool readTiffSamples(QIODevice& file, int page, TiffSamples& samples) {
    const Reader reader(file);
    const quint64 directory = reader.directory(page);
    if (directory == 0)
        return false;
    samples = {};
    reader.read(directory, samples);
    return true;
}

} // namespace vlr
