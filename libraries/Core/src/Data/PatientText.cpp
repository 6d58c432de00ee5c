#include "Data/PatientText.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/uspoof.h>

namespace vlr {

namespace {

constexpr uint firstPrintable = 0x20;
constexpr uint endOfPrintable = 0x7F;

uint32_t maskOf(uint character) {
    return uint32_t(1) << u_charType(static_cast<UChar32>(character));
}

constexpr uint32_t mask(UCharCategory category) {
    return uint32_t(1) << category;
}

bool isSpace(uint character) {
    return u_isUWhiteSpace(static_cast<UChar32>(character)) != 0;
}

// No name and no id needs it.
bool isForeign(uint character) {
    constexpr uint32_t foreign = mask(U_FORMAT_CHAR) | mask(U_CONTROL_CHAR) |
                                 mask(U_PRIVATE_USE_CHAR) | mask(U_UNASSIGNED) | mask(U_SURROGATE) |
                                 mask(U_LINE_SEPARATOR) | mask(U_PARAGRAPH_SEPARATOR);
    return (maskOf(character) & foreign) != 0;
}

// Signs that are drawn as nothing: a cell of Braille, a head of a note and a filler without ink,
// and the blanks of hieroglyphs.
bool isBlank(uint character) {
    constexpr uint blanks[] = {0x2800, 0x1D159, 0x16FE4, 0x13441, 0x13442};
    return std::find(std::begin(blanks), std::end(blanks), character) != std::end(blanks);
}

bool isInvisible(uint character) {
    return isForeign(character) || isBlank(character) ||
           u_hasBinaryProperty(static_cast<UChar32>(character),
                               UCHAR_DEFAULT_IGNORABLE_CODE_POINT) != 0;
}

bool isAscii(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar character) {
        return character.unicode() >= firstPrintable && character.unicode() < endOfPrintable;
    });
}

// By far the most ids and names are, and need no look at each character.
bool isPlain(const QString& text) {
    const QChar blank = QLatin1Char(' ');
    return isAscii(text) && !text.startsWith(blank) && !text.endsWith(blank);
}

// Halves of surrogate pairs come as they are.
template <class Act>
void forEachCharacter(const QString& text, const Act& act) {
    for (int i = 0; i < text.size(); ++i) {
        const QChar first = text[i];
        const bool isPair =
            first.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
        act(isPair ? QChar::surrogateToUcs4(first, text[i + 1]) : uint(first.unicode()));
        i += isPair ? 1 : 0;
    }
}

void append(QString& text, uint character) {
    if (QChar::requiresSurrogates(character))
        text += QChar(QChar::highSurrogate(character));
    text += QChar(QChar::requiresSurrogates(character) ? QChar::lowSurrogate(character)
                                                       : static_cast<ushort>(character));
}

// A function of ICU that fills a buffer, called again where that was too small.
template <class Function>
QString filled(const QString& otherwise, const Function& function) {
    QString result(2 * otherwise.size() + 16, Qt::Uninitialized);
    for (int attempt = 0; attempt < 2; ++attempt) {
        UErrorCode status = U_ZERO_ERROR;
        const int32_t size =
            function(reinterpret_cast<UChar*>(result.data()), result.size(), &status);
        result.resize(std::max(0, size));
        if (U_SUCCESS(status))
            return result;
        if (status != U_BUFFER_OVERFLOW_ERROR)
            break;
    }
    return otherwise;
}

const UChar* charactersOf(const QString& text) {
    return reinterpret_cast<const UChar*>(text.utf16());
}

using FormOfIcu = const UNormalizer2* (*)(UErrorCode*);

QString normalizedBy(FormOfIcu formOfIcu, QString::NormalizationForm formOfQt,
                     const QString& text) {
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* const form = formOfIcu(&status);
    if (U_FAILURE(status))
        return text.normalized(formOfQt);
    return filled(text, [&](UChar* to, int32_t room, UErrorCode* error) {
        return unorm2_normalize(form, charactersOf(text), text.size(), to, room, error);
    });
}

QString composed(const QString& text) {
    return normalizedBy(&unorm2_getNFCInstance, QString::NormalizationForm_C, text);
}

// Without wide, narrow, raised and circled forms of a character.
QString plainForm(const QString& text) {
    return normalizedBy(&unorm2_getNFKCInstance, QString::NormalizationForm_KC, text);
}

QString withoutOuterSpaces(const QString& text) {
    int begin = 0;
    int end = text.size(); // No space is a pair of surrogates.
    while (begin < end && isSpace(text[begin].unicode()))
        ++begin;
    while (end > begin && isSpace(text[end - 1].unicode()))
        --end;
    return text.mid(begin, end - begin);
}

QString normalized(const QString& text, bool (*isDropped)(uint)) {
    if (isPlain(text))
        return text;
    QString kept;
    forEachCharacter(text, [&](uint character) {
        if (!isDropped(character))
            append(kept, character);
        else if (isSpace(character))
            kept += QLatin1Char(' ');
    });
    return withoutOuterSpaces(composed(kept));
}

QString writtenOut(uint character) {
    const bool isLong = character > 0xFFFF;
    return QLatin1String(isLong ? "\\U" : "\\u") +
           QString::number(character, 16)
               .toUpper()
               .rightJustified(isLong ? 8 : 4, QLatin1Char('0'));
}

QString nameOf(uint character) {
    std::array<char, 128> name{};
    UErrorCode status = U_ZERO_ERROR;
    u_charName(static_cast<UChar32>(character), U_EXTENDED_CHAR_NAME, name.data(),
               static_cast<int32_t>(name.size()) - 1, &status);
    return QStringLiteral("U+%1 %2").arg(
        QString::number(character, 16).toUpper().rightJustified(4, QLatin1Char('0')),
        QString::fromLatin1(name.data()));
}

// What normalized() would change.
QString differenceOf(const QString& text, bool (*isDropped)(uint)) {
    if (normalized(text, isDropped) == text)
        return {};
    QString found;
    forEachCharacter(text, [&](uint character) {
        if (found.isEmpty() && isDropped(character))
            found = nameOf(character);
    });
    if (!found.isEmpty())
        return QStringLiteral("It contains the invisible character %1.").arg(found);
    if (withoutOuterSpaces(text) != text)
        return QStringLiteral("It begins or ends with a blank.");
    return QStringLiteral("Its characters are not composed ones (NFC).");
}

// --- skeletons

QString confusableForm(const QString& text) {
    // Kept for good: to open it means to read its tables.
    static const USpoofChecker* const checker = [] {
        UErrorCode status = U_ZERO_ERROR;
        USpoofChecker* const opened = uspoof_open(&status);
        return U_SUCCESS(status) ? opened : nullptr;
    }();
    if (!checker)
        return text;
    return filled(text, [&](UChar* to, int32_t room, UErrorCode* error) {
        return uspoof_getSkeleton(checker, 0, charactersOf(text), text.size(), to, room, error);
    });
}

// Folding the case makes "i" of "I", which by itself is taken for "l".
QString foldedForm(const QString& text) {
    const QString folded = confusableForm(confusableForm(text).toCaseFolded());
    return QString(folded).replace(QLatin1Char('i'), QLatin1Char('l'));
}

// ICU takes microseconds for an id, of which there may be 100,000.
QString foldedAscii(const QString& text) {
    static const auto forms = [] {
        std::array<QString, endOfPrintable> made;
        for (uint character = firstPrintable; character < endOfPrintable; ++character)
            made[character] = foldedForm(QString(QChar(character)));
        return made;
    }();
    QString result;
    result.reserve(2 * text.size());
    for (const QChar character : text)
        result += forms[character.unicode()];
    return result;
}

} // namespace

QString normalizedText(const QString& text) {
    return normalized(text, &isForeign);
}

QString normalizedId(const QString& id) {
    return normalized(id, &isInvisible);
}

QString idProblem(const QString& id) {
    return normalizedId(id).isEmpty() ? QStringLiteral("It has no visible character.")
                                      : differenceOf(id, &isInvisible);
}

QString nameProblem(const QString& name) {
    return differenceOf(name, &isForeign);
}

QString visibleText(const QString& text) {
    if (isPlain(text))
        return text;
    const int begin = text.indexOf(withoutOuterSpaces(text));
    const int end = begin + withoutOuterSpaces(text).size();
    QString shown;
    int place = 0;
    bool isAfterIdeograph = false; // It may be drawn as the variation selector says.
    forEachCharacter(text, [&](uint character) {
        const auto code = static_cast<UChar32>(character);
        const bool isSelector = u_hasBinaryProperty(code, UCHAR_VARIATION_SELECTOR) != 0;
        const bool isOuter = place < begin || place >= end;
        if (isOuter || (isInvisible(character) && !(isSelector && isAfterIdeograph)))
            shown += writtenOut(character);
        else
            append(shown, character);
        isAfterIdeograph = u_hasBinaryProperty(code, UCHAR_IDEOGRAPHIC) != 0;
        place += QChar::requiresSurrogates(character) ? 2 : 1;
    });
    return shown;
}

QString idSkeleton(const QString& id) {
    QString text = plainForm(normalizedId(id));
    text.remove(QLatin1Char(' '));
    if (isAscii(text))
        return foldedAscii(text);
    QString solid;
    forEachCharacter(text, [&](uint character) {
        if (!isSpace(character))
            append(solid, character);
    });
    return foldedForm(solid);
}

QString storageProblem(const QString& text) {
    QString problem;
    forEachCharacter(text, [&](uint character) {
        if (character == 0)
            problem = QStringLiteral("the character NUL");
        else if (QChar::isSurrogate(character))
            problem = QStringLiteral("half of a surrogate pair");
    });
    return problem;
}

} // namespace vlr
