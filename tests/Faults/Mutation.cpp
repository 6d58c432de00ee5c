#include "Mutation.h"

#include <QtCore/QList>
#include <QtCore/QRandomGenerator>

#include <algorithm>

namespace {

const QList<QByteArray> words =
    QByteArrayLiteral(
        "<!DOCTYPE a [<!ENTITY b \"c\">]>|&b;|&#0;|<![CDATA[|<data|<attribute|/>|\"|"
        "\\uD800|escaped=\"1\"|@Size(2147483647 -1)|@Variant(\\0)|@ByteArray(|%00|nan|"
        "inf|-1|1e999|99999999999999999999|\xEF\xBB\xBF|\xFF\xFE|\n|\0|\0\0\0\0|"
        "\x7F\xFF\xFF\xFF|\xFF\xFF\xFF\xFF")
        .split('|');

// A place from 0 to the size, and a length that fits behind it.
struct Span {
    int begin;
    int length;
};

Span span(const QByteArray& bytes, QRandomGenerator& random) {
    constexpr int longest = 64;
    const int begin = random.bounded(bytes.size() + 1);
    return {begin, random.bounded(std::min(longest, bytes.size() - begin) + 1)};
}

void change(QByteArray& bytes, QRandomGenerator& random) {
    const Span here = span(bytes, random);
    switch (random.bounded(5)) {
    case 0:
        if (here.begin < bytes.size())
            bytes[here.begin] = static_cast<char>(bytes.at(here.begin) ^ (1 << random.bounded(8)));
        break;
    case 1:
        bytes.insert(here.begin, static_cast<char>(random.bounded(256)));
        break;
    case 2:
        bytes.remove(here.begin, here.length);
        break;
    case 3:
        bytes.insert(span(bytes, random).begin, bytes.mid(here.begin, here.length));
        break;
    default:
        bytes.replace(here.begin, random.bounded(2) * here.length,
                      words.at(random.bounded(words.size())));
    }
}

} // namespace

QByteArray mutated(const QByteArray& original, quint32 seed) {
    QRandomGenerator random(seed);
    QByteArray bytes = original;
    for (int changes = 1 << random.bounded(4); changes > 0; --changes)
        change(bytes, random);
    return bytes;
}
