#include "AppBase/Settings/SettingsValue.h"

#include "Math/Vector3d.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>
#include <QtCore/QPoint>
#include <QtCore/QRect>
#include <QtCore/QRegularExpression>
#include <QtCore/QSize>

#include <algorithm>
#include <cmath>
#include <optional>

namespace vlr {

namespace {

using Kind = SettingsType::Kind;

struct Words {
    Q_DECLARE_TR_FUNCTIONS(SettingsValue)
};

QString number(double value) {
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

// What vlr::Settings gives as a text, though some of it is none: values with commas, and bytes.
bool isReadAsText(const QVariant& stored) {
    return stored.type() == QVariant::String || stored.type() == QVariant::StringList ||
           stored.type() == QVariant::ByteArray;
}

QString withRange(const QString& what, const SettingsType& type) {
    const bool hasMinimum = type.minimum > std::numeric_limits<int>::min();
    const bool hasMaximum = type.maximum < std::numeric_limits<int>::max();
    if (hasMinimum && hasMaximum)
        return Words::tr("%1 from %2 to %3").arg(what, number(type.minimum), number(type.maximum));
    if (hasMinimum)
        return Words::tr("%1, at least %2").arg(what, number(type.minimum));
    return hasMaximum ? Words::tr("%1, at most %2").arg(what, number(type.maximum)) : what;
}

bool isInRange(const SettingsType& type, double value) {
    return value >= type.minimum && value <= type.maximum;
}

// The readers below take what vlr::Settings takes: what the editor accepts must not turn out to
// be the default for the one who asks.

QVariant toBool(const QString& text) {
    static const QStringList yes{QStringLiteral("true"), QStringLiteral("1"), QStringLiteral("yes"),
                                 QStringLiteral("on")};
    static const QStringList no{QStringLiteral("false"), QStringLiteral("0"), QStringLiteral("no"),
                                QStringLiteral("off")};
    if (yes.contains(text.toLower()))
        return QStringLiteral("true");
    return no.contains(text.toLower()) ? QVariant(QStringLiteral("false")) : QVariant();
}

QVariant toInteger(const SettingsType& type, const QString& text) {
    bool isNumber = false;
    const int value = text.toInt(&isNumber);
    return isNumber && isInRange(type, value) ? QVariant(QString::number(value)) : QVariant();
}

QVariant toNumber(const SettingsType& type, const QString& text) {
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    return isNumber && std::isfinite(value) && isInRange(type, value) ? QVariant(number(value))
                                                                      : QVariant();
}

QVariant toSize(const QString& text) {
    static const QRegularExpression pattern(
        QStringLiteral("\\A(\\d+)(?:\\s+|\\s*[x\u00d7]\\s*)(\\d+)\\z"));
    const auto match = pattern.match(text);
    bool hasWidth = false;
    bool hasHeight = false;
    const QSize size(match.captured(1).toInt(&hasWidth), match.captured(2).toInt(&hasHeight));
    return hasWidth && hasHeight ? QVariant(size) : QVariant();
}

QVariant toVector(const SettingsType& type, const QString& text) {
    const std::optional<Vector3d> vector = vector3dFromText(text.toStdString());
    if (!vector || !isInRange(type, vector->minCoeff()) || !isInRange(type, vector->maxCoeff()))
        return {};
    return QString::fromStdString(toText(*vector));
}

QVariant toChoice(const SettingsType& type, const QString& text) {
    const QString word = type.ignoresCase ? text.toLower() : text;
    return type.choices.contains(word) ? QVariant(word) : QVariant();
}

QVariant convert(const SettingsType& type, const QString& text) {
    const QString trimmed = text.trimmed();
    switch (type.kind) {
    case Kind::Bool:
        return toBool(trimmed);
    case Kind::Integer:
        return toInteger(type, trimmed);
    case Kind::Number:
        return toNumber(type, trimmed);
    case Kind::Size:
        return toSize(trimmed);
    case Kind::Vector:
        return toVector(type, trimmed);
    case Kind::Choice:
        return toChoice(type, text);
    case Kind::Text:
        return !type.accepts || type.accepts(text) ? QVariant(text) : QVariant();
    case Kind::Other:
        break;
    }
    return {};
}

} // namespace

SettingsType typeOf(const QVariant& stored) {
    static const QRegularExpression digits(
        QStringLiteral("\\A-?(0|[1-9]\\d*)(\\.\\d+)?([eE][+-]?\\d+)?\\z"));
    const auto kind = [](Kind k) {
        SettingsType type;
        type.kind = k;
        return type;
    };
    if (stored.type() == QVariant::Size)
        return kind(Kind::Size);
    if (stored.type() != QVariant::String)
        return kind(isReadAsText(stored) || !stored.isValid() ? Kind::Text : Kind::Other);
    const QString text = stored.toString();
    if (text == QLatin1String("true") || text == QLatin1String("false"))
        return kind(Kind::Bool);
    const auto match = digits.match(text);
    if (!match.hasMatch())
        return kind(Kind::Text);
    if (match.capturedLength(2) == 0 && match.capturedLength(3) == 0) // Digits must not get lost.
        return toInteger(integerType(), text).isValid() ? integerType() : kind(Kind::Text);
    return kind(toNumber({}, text).isValid() ? Kind::Number : Kind::Text);
}

ParsedSetting parseSetting(const SettingsType& type, const QString& text) {
    const QVariant value = convert(type, text);
    if (value.isValid())
        return {value, {}};
    if (text.trimmed().isEmpty())
        return {{}, Words::tr("A value is missing. Expected: %1.").arg(describe(type))};
    return {{}, Words::tr("\"%1\" does not fit. Expected: %2.").arg(text, describe(type))};
}

bool fits(const SettingsType& type, const QVariant& stored) {
    const bool isSize = type.kind == Kind::Size && stored.type() == QVariant::Size;
    return (isSize || isReadAsText(stored)) && convert(type, rawSettingText(stored)).isValid();
}

bool isReadAsDefault(const SettingsType& type, const QVariant& stored) {
    switch (type.kind) {
    case Kind::Bool:
    case Kind::Integer:
    case Kind::Number:
    case Kind::Size:
        return !fits(type, stored);
    case Kind::Vector:
        return !isReadAsText(stored) ||
               !vector3dFromText(rawSettingText(stored).trimmed().toStdString());
    case Kind::Text:
    case Kind::Choice:
    case Kind::Other:
        break;
    }
    return !isReadAsText(stored);
}

QString rawSettingText(const QVariant& stored) {
    switch (static_cast<QMetaType::Type>(stored.type())) {
    case QMetaType::QStringList: // QSettings makes one of a text with commas without quotes.
        return stored.toStringList().join(QStringLiteral(", "));
    case QMetaType::QSize:
        return QStringLiteral("%1 x %2").arg(stored.toSize().width()).arg(stored.toSize().height());
    case QMetaType::QPoint:
        return QStringLiteral("%1 %2").arg(stored.toPoint().x()).arg(stored.toPoint().y());
    case QMetaType::QRect: {
        const QRect rect = stored.toRect();
        return QStringLiteral("%1 %2 %3 x %4")
            .arg(rect.x())
            .arg(rect.y())
            .arg(rect.width())
            .arg(rect.height());
    }
    default:
        return stored.toString();
    }
}

QString withoutPassword(QString text) {
    static const QRegularExpression inFront(QStringLiteral("^(\\w+:/*[^:@]*:).*@"));
    static const QRegularExpression parameter(QStringLiteral("([?&]password=)[^&]*"));
    return text.replace(inFront, QStringLiteral("\\1***@"))
        .replace(parameter, QStringLiteral("\\1***"));
}

QString settingText(const SettingsType& type, const QVariant& stored) {
    const QString raw = rawSettingText(stored);
    if (type.kind == Kind::Text || type.kind == Kind::Other)
        return raw;
    const QVariant value = convert(type, raw);
    return value.isValid() ? rawSettingText(value) : raw;
}

QString describe(const SettingsType& type) {
    switch (type.kind) {
    case Kind::Bool:
        return Words::tr("true or false");
    case Kind::Integer:
        return withRange(Words::tr("a whole number"), type);
    case Kind::Number:
        return withRange(Words::tr("a number"), type);
    case Kind::Size:
        return Words::tr("a size such as 640 x 480");
    case Kind::Vector:
        return type.maximum < std::numeric_limits<double>::max()
                   ? withRange(Words::tr("red, green and blue, each"), type)
                   : Words::tr("three numbers such as 1 0.5 0");
    case Kind::Choice:
        return Words::tr("one of %1").arg(type.choices.join(QStringLiteral(", ")));
    case Kind::Text:
        return type.expected.isEmpty() ? Words::tr("any text") : type.expected;
    case Kind::Other:
        break;
    }
    return Words::tr("nothing that can be typed");
}

QString initialText(const SettingsType& type) {
    switch (type.kind) {
    case Kind::Bool:
        return QStringLiteral("false");
    case Kind::Integer:
    case Kind::Number:
        return number(std::max(0.0, type.minimum));
    case Kind::Size:
        return QStringLiteral("0 x 0");
    case Kind::Vector:
        return QStringLiteral("0 0 0");
    case Kind::Choice:
        return type.choices.value(0);
    case Kind::Text:
    case Kind::Other:
        break;
    }
    return {};
}

} // namespace vlr
