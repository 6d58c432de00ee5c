#include "Settings/vlrSettings.h"

#include "IO/DurableFile.h"
#include "Log/vlrLog.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QHash>
#include <QtCore/QLocale>
#include <QtCore/QLockFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <optional>

namespace vlr {

namespace {

constexpr qint64 fileLimit = qint64(4) << 20;
constexpr int lockTimeout = 2000; // milliseconds

using Values = QHash<QString, QVariant>;

struct Table {
    bool isLoaded = false;
    QString path;
    Values values;
    Values complainedOf; // What the last warning for a key was about.
};

Table& table() {
    static auto* const instance = new Table;
    return *instance;
}

CaError settingsError(const char* id, const QString& text) {
    return CaError(std::string("Settings::") + id, text.toStdString());
}

// QSettings would store any other key under another name or not at all.
bool isKey(const QString& key) {
    return !key.isEmpty() && !key.startsWith(QLatin1Char('/')) && !key.endsWith(QLatin1Char('/')) &&
           !key.contains(QLatin1String("//"));
}

// QSettings hands the rest of a value that starts with "@Variant(" or "@DateTime(" to QDataStream,
// which allocates and constructs whatever it is told to. Nothing here writes such values, and
// they are to be found before QSettings sees them: also where quotes and escapes hide them.
bool holdsSerialisedObject(const QByteArray& bytes) {
    static const QRegularExpression escape(
        QStringLiteral("\\\\x([0-9A-Fa-f]+)|\\\\([0-7]+)|\\\\.|\""),
        QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression object(QStringLiteral("[=,]\\s*@(?:Variant|DateTime)\\("));
    const QString text = QString::fromLatin1(bytes);
    QString plain;
    int end = 0;
    auto matches = escape.globalMatch(text);
    while (matches.hasNext()) {
        const auto match = matches.next();
        plain += text.midRef(end, match.capturedStart() - end);
        end = match.capturedEnd();
        const ushort code = match.capturedLength(1) > 0 ? match.captured(1).toUShort(nullptr, 16)
                                                        : match.captured(2).toUShort(nullptr, 8);
        if (code != 0)
            plain += QChar(code);
    }
    plain += text.midRef(end);
    return object.match(plain).hasMatch();
}

// Reads the file, which holds these bytes.
CaError parse(const QString& iniFile, const QByteArray& bytes, Values& values) {
    if (holdsSerialisedObject(bytes))
        return settingsError("damaged", QStringLiteral("it holds a serialised object"));
    QSettings ini(iniFile, QSettings::IniFormat);
    ini.setIniCodec("UTF-8"); // for files written by hand; QSettings itself writes ASCII
    Values read;
    const QStringList keys = ini.allKeys();
    for (const QString& key : keys)
        if (isKey(key))
            read.insert(key, ini.value(key));
    if (ini.status() != QSettings::NoError)
        return settingsError("damaged", QStringLiteral("it is not a settings file"));
    values = read;
    return CaError::nullError;
}

// The same by way of a copy. QSettings remembers files by name, size and time, so that a file
// another process has just replaced might be taken for the known one.
CaError parseCopy(const QString& copy, const QByteArray& bytes, Values& values) {
    QFile file(copy);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        return settingsError(
            "noScratch",
            QStringLiteral("Could not write \"%1\": %2.").arg(copy, file.errorString()));
    return parse(copy, bytes, values);
}

// The values as the bytes of a settings file. QSettings tells nothing of a disk that is full at
// the last moment; reading the bytes again does, and shows what the format cannot keep, too.
CaError format(const QDir& scratch, const Values& values, QByteArray& bytes) {
    const QString path = scratch.filePath(QStringLiteral("written.ini"));
    {
        QSettings ini(path, QSettings::IniFormat);
        for (auto value = values.cbegin(); value != values.cend(); ++value)
            ini.setValue(value.key(), value.value());
    }
    Values check;
    bytes.clear();
    if (!values.isEmpty()) { // QSettings makes no file for nothing.
        CaError error = readWhole(path, fileLimit, bytes);
        if (error.isNull())
            error = parseCopy(scratch.filePath(QStringLiteral("check.ini")), bytes, check);
        if (!error.isNull())
            return error;
    }
    if (check != values)
        return settingsError("notStorable",
                             QStringLiteral("The settings could not be put into a file."));
    return CaError::nullError;
}

CaError setAside(const QString& path, const CaError& reason) {
    QString keptAs;
    const CaError error = keepAside(path, keptAs);
    if (!error.isNull())
        return settingsError("damaged",
                             QStringLiteral("The settings in \"%1\" cannot be used (%2). %3")
                                 .arg(path, QString::fromStdString(reason.text()),
                                      QString::fromStdString(error.text())));
    VLR_LOG(Warning) << "The settings in \"" << path << "\" cannot be used (" << reason.text()
                     << "). The file is kept as \"" << keptAs << "\".";
    return CaError::nullError;
}

Table& loaded() {
    Table& current = table();
    if (current.isLoaded)
        return current;
    current.isLoaded = true;
    current.path = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
                   QStringLiteral("/settings.ini");
    QByteArray bytes;
    CaError error = readWhole(current.path, fileLimit, bytes);
    if (error.id() == fileNotFoundError)
        return current;
    if (error.isNull())
        error = parse(current.path, bytes, current.values);
    if (!error.isNull())
        error = setAside(current.path, error);
    if (!error.isNull())
        VLR_LOG(Warning) << error;
    return current;
}

CaError lock(QLockFile& file, const QString& path) {
    if (file.tryLock(lockTimeout))
        return CaError::nullError;
    const bool isTaken = file.error() == QLockFile::LockFailedError;
    return settingsError("locked",
                         QStringLiteral("Could not lock the settings \"%1\": %2.")
                             .arg(path, isTaken ? QStringLiteral("another process is using them")
                                                : QStringLiteral("the lock file beside them "
                                                                 "cannot be written")));
}

// Applies one change to what the file holds now: an invalid value removes the key. To be called
// with the lock held.
CaError change(const QString& path, const QString& key, const QVariant& value, Values& values) {
    const QTemporaryDir scratchFolder;
    if (!scratchFolder.isValid())
        return settingsError("noScratch", scratchFolder.errorString());
    const QDir scratch(scratchFolder.path());
    QByteArray bytes;
    CaError error = readWhole(path, fileLimit, bytes);
    const bool exists = error.id() != fileNotFoundError;
    if (error.isNull()) {
        error = parseCopy(scratch.filePath(QStringLiteral("before.ini")), bytes, values);
        if (!error.isNull() && error.id() != "Settings::damaged")
            return error;
    }
    if (exists && !error.isNull())
        error = setAside(path, error);
    if (exists && !error.isNull())
        return error;

    if (values.contains(key) == value.isValid() && values.value(key) == value)
        return CaError::nullError;
    if (value.isValid())
        values.insert(key, value);
    else
        values.remove(key);
    error = format(scratch, values, bytes);
    return error.isNull() ? writeDurably(path, bytes) : error;
}

void complain(const QString& key, const QVariant& value, const QString& expected) {
    Values& known = table().complainedOf;
    if (known.contains(key) && known.value(key) == value)
        return;
    known.insert(key, value);
    const QString text = value.type() == QVariant::StringList
                             ? value.toStringList().join(QStringLiteral(", "))
                             : value.toString();
    VLR_LOG(Warning) << "The setting \"" << key << "\" in \"" << table().path << "\" is \""
                     << text.left(100) << "\" and not " << expected
                     << "; the default is used instead.";
}

// The value converted, or the default where the key is absent or the conversion gives nothing.
// `expected` gives the words for what would have been right.
template <class T, class Convert, class Expected>
T valueOr(const QString& key, const T& defaultValue, Convert convert, Expected expected) {
    const Values& values = loaded().values;
    const auto found = values.constFind(key);
    if (found == values.constEnd())
        return defaultValue;
    if (const std::optional<T> value = convert(found.value()))
        return *value;
    complain(key, found.value(), expected());
    return defaultValue;
}

// QSettings makes a list of a text with commas that is not in quotes.
std::optional<QString> toString(const QVariant& value) {
    if (value.type() == QVariant::StringList)
        return value.toStringList().join(QStringLiteral(", "));
    if (value.type() == QVariant::String || value.type() == QVariant::ByteArray)
        return value.toString();
    return std::nullopt;
}

QString toTrimmed(const QVariant& value) {
    return toString(value).value_or(QString()).trimmed();
}

std::optional<bool> toBool(const QVariant& value) {
    static const QStringList trueWords{QStringLiteral("true"), QStringLiteral("1"),
                                       QStringLiteral("yes"), QStringLiteral("on")};
    static const QStringList falseWords{QStringLiteral("false"), QStringLiteral("0"),
                                        QStringLiteral("no"), QStringLiteral("off")};
    const QString word = toTrimmed(value).toLower();
    if (trueWords.contains(word))
        return true;
    return falseWords.contains(word) ? std::optional<bool>(false) : std::nullopt;
}

std::optional<QSize> toSize(const QVariant& value) {
    static const QRegularExpression pattern(QStringLiteral("\\A(\\d+)(?:\\s+|\\s*x\\s*)(\\d+)\\z"));
    QSize size;
    if (value.type() == QVariant::Size) {
        size = value.toSize();
    } else if (const auto match = pattern.match(toTrimmed(value)); match.hasMatch()) {
        bool hasWidth = false;
        bool hasHeight = false;
        size = QSize(match.captured(1).toInt(&hasWidth), match.captured(2).toInt(&hasHeight));
        if (!hasWidth || !hasHeight)
            return std::nullopt;
    }
    return size.isValid() ? std::optional<QSize>(size) : std::nullopt;
}

template <class T>
QString rangeText(const char* kind, T minimum, T maximum) {
    return QStringLiteral("%1 from %2 to %3").arg(QLatin1String(kind)).arg(minimum).arg(maximum);
}

} // namespace

bool Settings::get(const QString& key, bool defaultValue) {
    return valueOr(key, defaultValue, toBool, [] { return QStringLiteral("true or false"); });
}

int Settings::get(const QString& key, int defaultValue, int minimum, int maximum) {
    const auto convert = [=](const QVariant& value) -> std::optional<int> {
        bool isNumber = false;
        const int number = toTrimmed(value).toInt(&isNumber);
        if (!isNumber || number < minimum || number > maximum)
            return std::nullopt;
        return number;
    };
    return valueOr(key, defaultValue, convert,
                   [=] { return rangeText("a whole number", minimum, maximum); });
}

double Settings::get(const QString& key, double defaultValue, double minimum, double maximum) {
    const auto convert = [=](const QVariant& value) -> std::optional<double> {
        bool isNumber = false;
        const double number = toTrimmed(value).toDouble(&isNumber);
        if (!isNumber || !std::isfinite(number) || number < minimum || number > maximum)
            return std::nullopt;
        return number;
    };
    return valueOr(key, defaultValue, convert,
                   [=] { return rangeText("a number", minimum, maximum); });
}

QString Settings::get(const QString& key, const QString& defaultValue) {
    return valueOr(key, defaultValue, toString, [] { return QStringLiteral("a text"); });
}

QString Settings::get(const QString& key, const char* defaultValue) {
    return get(key, QString::fromUtf8(defaultValue));
}

QSize Settings::get(const QString& key, const QSize& defaultValue) {
    return valueOr(key, defaultValue, toSize, [] { return QStringLiteral("a size"); });
}

Vector3d Settings::get(const QString& key, const Vector3d& defaultValue) {
    const auto convert = [](const QVariant& value) {
        return vector3dFromText(toTrimmed(value).toStdString());
    };
    return valueOr(key, defaultValue, convert, [] { return QStringLiteral("three numbers"); });
}

// All but sizes are kept as text, as they come back from the file.
CaError Settings::set(const QString& key, bool value) {
    return write(key, value ? QStringLiteral("true") : QStringLiteral("false"));
}

CaError Settings::set(const QString& key, int value) {
    return write(key, QString::number(value));
}

CaError Settings::set(const QString& key, double value) {
    if (!std::isfinite(value))
        return settingsError("badValue",
                             QStringLiteral("\"%1\" cannot be %2.").arg(key).arg(value));
    return write(key, QString::number(value, 'g', QLocale::FloatingPointShortest));
}

CaError Settings::set(const QString& key, const QString& value) {
    return write(key, value);
}

CaError Settings::set(const QString& key, const char* value) {
    return write(key, QString::fromUtf8(value));
}

CaError Settings::set(const QString& key, const QSize& value) {
    if (!value.isValid())
        return settingsError("badValue",
                             QStringLiteral("\"%1\" cannot be a negative size.").arg(key));
    return write(key, value);
}

CaError Settings::set(const QString& key, const Vector3d& value) {
    if (!value.allFinite())
        return settingsError(
            "badValue", QStringLiteral("\"%1\" cannot be a vector that is not finite.").arg(key));
    return write(key, QString::fromStdString(toText(value)));
}

QStringList Settings::keys() {
    QStringList keys = loaded().values.keys();
    std::sort(keys.begin(), keys.end());
    return keys;
}

bool Settings::contains(const QString& key) {
    return loaded().values.contains(key);
}

CaError Settings::remove(const QString& key) {
    return write(key, QVariant());
}

QString Settings::filePath() {
    return loaded().path;
}

void Settings::reload() {
    table() = Table();
}

CaError Settings::write(const QString& key, const QVariant& value) {
    if (!isKey(key))
        return settingsError("badKey",
                             QStringLiteral("\"%1\" is not a key of a setting.").arg(key));
    Table& current = loaded();
    const QString folder = QFileInfo(current.path).path();
    if (!QDir().mkpath(folder))
        return settingsError("noFolder",
                             QStringLiteral("Could not create the folder \"%1\".").arg(folder));
    QLockFile lockFile(current.path + QStringLiteral(".lock"));
    CaError error = lock(lockFile, current.path);
    Values values;
    if (error.isNull())
        error = change(current.path, key, value, values);
    if (error.isNull())
        current.values = values;
    return error;
}

} // namespace vlr
