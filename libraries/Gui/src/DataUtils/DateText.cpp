#include "DataUtils/DateText.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QRegularExpression>

#include <algorithm>

namespace vlr {

namespace {

const QString dateFormat = QStringLiteral("dd MMM yyyy");

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(DateText)
};

ReadDate understood(const QDate& date, const QTime& time = QTime(0, 0)) {
    return {QDateTime(date, time, Qt::UTC), {}};
}

ReadDate refused(const QString& problem) {
    return {{}, problem};
}

QString shown(const QDate& date, const QLocale& locale) {
    return locale.toString(date, dateFormat);
}

ReadDate noDate(const QLocale& locale) {
    return refused(
        Texts::tr("This is no date. Write it like %1.").arg(shown(QDate(1968, 3, 31), locale)));
}

ReadDate incompleteYear(const QString& digits) {
    if (digits.size() != 2)
        return refused(Texts::tr("Write the year with four digits."));
    return refused(
        Texts::tr("Write the year with four digits. %1 may be 19%1 or 20%1.").arg(digits));
}

ReadDate existing(int year, int month, int day) {
    const QDate date(year, month, day);
    return date.isValid() ? understood(date)
                          : refused(Texts::tr("There is no such date: day %1 of month %2, %3.")
                                        .arg(day)
                                        .arg(month)
                                        .arg(year));
}

bool isYear(const QString& digits) {
    return digits.size() == 4;
}

bool isDayOrMonth(const QString& digits) {
    return digits.size() <= 2;
}

// Other scripts have digits of their own.
QString withLatinDigits(QString text) {
    for (QChar& character : text)
        if (character.isDigit())
            character = QLatin1Char(static_cast<char>('0' + character.digitValue()));
    return text;
}

// --- months by name

// An abbreviation has three letters at least.
bool names(const QString& word, int month, const QLocale& locale) {
    constexpr int shortest = 3;
    for (const auto format : {QLocale::LongFormat, QLocale::ShortFormat})
        for (QString name :
             {locale.monthName(month, format), locale.standaloneMonthName(month, format)}) {
            name.remove(QLatin1Char('.'));
            if (name.compare(word, Qt::CaseInsensitive) == 0 ||
                (word.size() >= shortest && name.startsWith(word, Qt::CaseInsensitive)))
                return true;
        }
    return false;
}

// 0 where the word names no month, or more than one.
int monthOf(const QString& word, const QLocale& locale) {
    int result = 0;
    for (int month = 1; month <= 12; ++month) {
        if (!names(word, month, locale) && !names(word, month, QLocale::c()))
            continue;
        if (result != 0)
            return 0;
        result = month;
    }
    return result;
}

// A name of a month among two numbers, of which the one with four digits is the year.
ReadDate readWithName(const QStringList& parts, const QLocale& locale) {
    QString name;
    QStringList numbers;
    for (const QString& part : parts)
        part[0].isDigit() ? void(numbers << part) : void(name = part);
    const int month = numbers.size() == 2 ? monthOf(name, locale) : 0;
    if (month == 0)
        return noDate(locale);
    if (isYear(numbers[0]) && isDayOrMonth(numbers[1]))
        return existing(numbers[0].toInt(), month, numbers[1].toInt());
    if (isYear(numbers[1]) && isDayOrMonth(numbers[0]))
        return existing(numbers[1].toInt(), month, numbers[0].toInt());
    return incompleteYear(numbers[1]);
}

// --- numbers alone

enum class Order { DayFirst, MonthFirst, Unclear };

// Who writes the month first does so with slashes and hyphens; dots are for the day first, but he
// may not know. Where numbers are not customary, or begin with the year, only dots are clear.
Order orderOf(const QLocale& locale, const QString& sign) {
    const QString format = locale.dateFormat(QLocale::ShortFormat);
    const int day = format.indexOf(QLatin1Char('d'));
    const int month = format.indexOf(QLatin1Char('M'));
    const bool hasOrder = !format.contains(QLatin1String("MMM")) &&
                          format.indexOf(QLatin1Char('y')) > std::max(day, month);
    const bool isDotted = sign.contains(QLatin1Char('.'));
    if (!hasOrder)
        return isDotted ? Order::DayFirst : Order::Unclear;
    if (day < month)
        return Order::DayFirst;
    return isDotted ? Order::Unclear : Order::MonthFirst;
}

ReadDate readInOrder(int first, int second, int year, Order order, const QLocale& locale) {
    if (order != Order::Unclear)
        return order == Order::DayFirst ? existing(year, second, first)
                                        : existing(year, first, second);
    const QDate dayFirst(year, second, first);
    const QDate monthFirst(year, first, second);
    if (!dayFirst.isValid() && !monthFirst.isValid())
        return noDate(locale);
    if (dayFirst.isValid() && monthFirst.isValid() && dayFirst != monthFirst)
        return refused(Texts::tr("This may be %1 or %2. Write the month as a word.")
                           .arg(shown(dayFirst, locale), shown(monthFirst, locale)));
    return understood(dayFirst.isValid() ? dayFirst : monthFirst);
}

ReadDate readNumbers(const QStringList& numbers, const QString& sign, const QLocale& locale) {
    if (!isDayOrMonth(numbers[1]))
        return noDate(locale);
    if (isYear(numbers[0]) && isDayOrMonth(numbers[2]))
        return existing(numbers[0].toInt(), numbers[1].toInt(), numbers[2].toInt());
    if (!isDayOrMonth(numbers[0]))
        return noDate(locale);
    if (!isYear(numbers[2]))
        return incompleteYear(numbers[2]);
    return readInOrder(numbers[0].toInt(), numbers[1].toInt(), numbers[2].toInt(),
                       orderOf(locale, sign), locale);
}

// --- times

// Invalid where the text is not "h:mm" or "h:mm:ss".
QTime timeOf(const QString& text) {
    static const QRegularExpression pattern(QStringLiteral("^(\\d{1,2}):(\\d{2})(?::(\\d{2}))?$"));
    const auto match = pattern.match(withLatinDigits(text));
    return match.hasMatch() ? QTime(match.captured(1).toInt(), match.captured(2).toInt(),
                                    match.captured(3).toInt())
                            : QTime();
}

ReadDate readAnyDate(const QString& line, const QLocale& locale) {
    // What the field shows is always understood, whatever the language makes of a month.
    const QDate own = locale.toDate(line, dateFormat);
    if (own.isValid() && shown(own, locale).compare(line, Qt::CaseInsensitive) == 0)
        return understood(own);

    static const QRegularExpression numbers(
        QStringLiteral("^(\\d+)( ?[./-] ?| )(\\d+)\\2(\\d+)\\.?$"));
    static const QRegularExpression withName(
        QStringLiteral("^(\\d+|[\\p{L}\\p{M}]+)[ .,/-]+(\\d+|[\\p{L}\\p{M}]+)[ .,/-]+"
                       "(\\d+|[\\p{L}\\p{M}]+)\\.?$"));
    // A name between the numbers parts them by itself.
    static const QRegularExpression nameWithin(
        QStringLiteral("^(\\d+)[ .,/-]*([\\p{L}\\p{M}]+)[ .,/-]*(\\d+)\\.?$"));
    const QString plain = withLatinDigits(line);
    if (const auto match = numbers.match(plain); match.hasMatch())
        return readNumbers({match.captured(1), match.captured(3), match.captured(4)},
                           match.captured(2), locale);
    if (const auto match = nameWithin.match(plain); match.hasMatch())
        return readWithName(match.capturedTexts().mid(1), locale);
    if (const auto match = withName.match(plain); match.hasMatch())
        return readWithName(match.capturedTexts().mid(1), locale);
    return noDate(locale);
}

} // namespace

ReadDate readDate(const QString& text, const QLocale& locale, const QDate& earliest) {
    const ReadDate result = readAnyDate(text.simplified(), locale);
    if (!result.problem.isEmpty() || !earliest.isValid() || result.value.date() >= earliest)
        return result;
    return refused(Texts::tr("Dates before %1 cannot be entered.").arg(shown(earliest, locale)));
}

ReadDate readDateTime(const QString& text, const QLocale& locale, const QDate& earliest) {
    const QString line = text.simplified();
    const QString timeText = line.section(QLatin1Char(' '), -1);
    const bool hasTime = timeText.contains(QLatin1Char(':'));
    const QString dateText = hasTime ? line.section(QLatin1Char(' '), 0, -2) : line;
    const ReadDate date = readDate(dateText, locale, earliest);
    const QTime time = timeOf(timeText);
    if (!date.problem.isEmpty())
        return date;
    if (!hasTime)
        return refused(Texts::tr("Write the time as well, like 14:30."));
    return time.isValid() ? understood(date.value.date(), time)
                          : refused(Texts::tr("This is no time. Write it like 14:30."));
}

} // namespace vlr
