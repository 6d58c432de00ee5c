// What is read by its name is defined here.
#undef VLR_SETTINGS_ARE_DECLARED

#include "Settings/vlrSettings.h"

#include "Log/vlrLog.h"
#include "Settings/SettingsFile.h"
#include "Settings/SettingsWatch.h"

#include <QtCore/QLocale>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>

#include <algorithm>
#include <cmath>
#include <optional>

namespace vlr {

namespace {

using Values = SettingsValues;

// A value, and what it is as a number or truth value. That is found out once, since get() is called
// far more often than the settings change.
struct Setting {
    QVariant value;
    std::optional<bool> truth;
    std::optional<int> integer;
    std::optional<double> number; // finite
};

struct Table {
    bool isLoaded = false;
    QString path;
    QHash<QString, Setting> settings;
    Values complainedOf; // What the last warning for a key was about.
};

void (*watcherOfKeys)(const QString&) = nullptr;

Table& table() {
    static auto* const instance = new Table;
    return *instance;
}

// QSettings makes a list of a text with commas that is not in quotes.
std::optional<QString> toString(const QVariant& value) {
    if (value.type() == QVariant::String) // nearly always: without the way through QVariant
        return *static_cast<const QString*>(value.constData());
    if (value.type() == QVariant::StringList)
        return value.toStringList().join(QStringLiteral(", "));
    if (value.type() == QVariant::ByteArray)
        return value.toString();
    return std::nullopt;
}

QString toTrimmed(const QVariant& value) {
    return toString(value).value_or(QString()).trimmed();
}

std::optional<bool> toBool(const QString& text) {
    static const QStringList trueWords{QStringLiteral("true"), QStringLiteral("1"),
                                       QStringLiteral("yes"), QStringLiteral("on")};
    static const QStringList falseWords{QStringLiteral("false"), QStringLiteral("0"),
                                        QStringLiteral("no"), QStringLiteral("off")};
    const QString word = text.toLower();
    if (trueWords.contains(word))
        return true;
    return falseWords.contains(word) ? std::optional<bool>(false) : std::nullopt;
}

std::optional<int> toInteger(const QString& text) {
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber ? std::optional<int>(number) : std::nullopt;
}

std::optional<double> toFinite(const QString& text) {
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    return isNumber && std::isfinite(number) ? std::optional<double>(number) : std::nullopt;
}

QHash<QString, Setting> understood(const Values& values) {
    QHash<QString, Setting> settings;
    settings.reserve(values.size());
    for (auto value = values.cbegin(); value != values.cend(); ++value) {
        const QString text = toTrimmed(value.value());
        settings.insert(value.key(),
                        {value.value(), toBool(text), toInteger(text), toFinite(text)});
    }
    return settings;
}

Values asStored(const QHash<QString, Setting>& settings) {
    Values values;
    values.reserve(settings.size());
    for (auto setting = settings.cbegin(); setting != settings.cend(); ++setting)
        values.insert(setting.key(), setting.value().value);
    return values;
}

// The one that was read stays in use when the location changes.
QString pathInUse() {
    return table().isLoaded ? table().path
                            : QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
                                  QStringLiteral("/settings.ini");
}

Table& loaded() {
    Table& current = table();
    if (current.isLoaded)
        return current;
    current.path = pathInUse();
    current.isLoaded = true;
    Values values;
    const CaError error = readSettings(current.path, values);
    if (!values.isEmpty()) // Who listens to a warning about the file may have stored something.
        current.settings = understood(values);
    if (!error.isNull())
        VLR_LOG(Warning) << error;
    return current;
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

// "/a/b" is another way to write "a/b".
QString plainKey(const QString& key) {
    return key.startsWith(QLatin1Char('/')) ? key.mid(1) : key;
}

// The value converted, or the default where the key is absent or the conversion gives nothing.
// `expected` gives the words for what would have been right.
template <class T, class Convert, class Expected>
T valueOr(const QString& anyKey, const T& defaultValue, Convert convert, Expected expected) {
    if (watcherOfKeys)
        watcherOfKeys(plainKey(anyKey));
    const QHash<QString, Setting>& settings = loaded().settings;
    const auto found = anyKey.startsWith(QLatin1Char('/')) ? settings.constFind(plainKey(anyKey))
                                                           : settings.constFind(anyKey);
    if (found == settings.constEnd())
        return defaultValue;
    if (std::optional<T> value = convert(found.value()))
        return *std::move(value);
    complain(found.key(), found.value().value, expected());
    return defaultValue;
}

std::optional<QSize> toSize(const QVariant& value) {
    static const QRegularExpression pattern(
        QStringLiteral("\\A(\\d+)(?:\\s+|\\s*[x\u00d7]\\s*)(\\d+)\\z"));
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

CaError badKey(const QString& key) {
    return settingsError("badKey", QStringLiteral("\"%1\" is not a key of a setting.").arg(key));
}

// An invalid value removes the key. Answers whether that makes a difference.
bool put(const QString& key, const QVariant& value, Values& values) {
    if (values.contains(key) == value.isValid() && values.value(key) == value)
        return false;
    if (value.isValid())
        values.insert(key, value);
    else
        values.remove(key);
    return true;
}

// Where another process stored the same value there is nothing to quarrel about.
bool isForestalled(const SettingsChange& change, const Values& values) {
    const QVariant stored = values.value(change.key);
    return stored != change.expected && stored != change.value;
}

template <class T>
std::optional<T> within(const std::optional<T>& number, T minimum, T maximum) {
    return number && *number >= minimum && *number <= maximum ? number : std::nullopt;
}

template <class T>
QString rangeText(const char* kind, T minimum, T maximum) {
    return QStringLiteral("%1 from %2 to %3").arg(QLatin1String(kind)).arg(minimum).arg(maximum);
}

CaError changeStored(const SettingsEdit& edit) {
    Table& current = loaded();
    Values values = asStored(current.settings);
    const CaError error = changeSettings(current.path, edit, values);
    if (error.isNull())
        current.settings = understood(values);
    return error;
}

} // namespace

bool Settings::get(const QString& key, bool defaultValue) {
    return valueOr(
        key, defaultValue, [](const Setting& setting) { return setting.truth; },
        [] { return QStringLiteral("true or false"); });
}

int Settings::get(const QString& key, int defaultValue, int minimum, int maximum) {
    return valueOr(
        key, defaultValue,
        [=](const Setting& setting) { return within(setting.integer, minimum, maximum); },
        [=] { return rangeText("a whole number", minimum, maximum); });
}

double Settings::get(const QString& key, double defaultValue, double minimum, double maximum) {
    return valueOr(
        key, defaultValue,
        [=](const Setting& setting) { return within(setting.number, minimum, maximum); },
        [=] { return rangeText("a number", minimum, maximum); });
}

QString Settings::get(const QString& key, const QString& defaultValue) {
    return valueOr(
        key, defaultValue, [](const Setting& setting) { return toString(setting.value); },
        [] { return QStringLiteral("a text"); });
}

QString Settings::get(const QString& key, const char* defaultValue) {
    return get(key, QString::fromUtf8(defaultValue));
}

QSize Settings::get(const QString& key, const QSize& defaultValue) {
    return valueOr(
        key, defaultValue, [](const Setting& setting) { return toSize(setting.value); },
        [] { return QStringLiteral("a size"); });
}

Vector3d Settings::get(const QString& key, const Vector3d& defaultValue) {
    const auto convert = [](const Setting& setting) {
        return vector3dFromText(toTrimmed(setting.value).toStdString());
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
    QStringList keys = loaded().settings.keys();
    std::sort(keys.begin(), keys.end());
    return keys;
}

bool Settings::contains(const QString& key) {
    return loaded().settings.contains(plainKey(key));
}

QVariant Settings::value(const QString& key) {
    return loaded().settings.value(plainKey(key)).value;
}

CaError Settings::remove(const QString& key) {
    return write(key, QVariant());
}

void watchSettings(void (*watcher)(const QString& key)) {
    watcherOfKeys = watcher;
}

QString Settings::filePath() {
    return pathInUse();
}

void Settings::reload() {
    table() = Table();
}

// A file that is damaged when one first looks does not count as read: whoever asks for a value
// first sees to the damage.
CaError Settings::look(QHash<QString, QVariant>& values) {
    Table& current = table();
    const QString path = pathInUse();
    Values found;
    const CaError error = lookIntoSettings(path, found);
    if (error.isNull()) {
        current.path = path;
        current.isLoaded = true;
        current.settings = understood(found);
    }
    values = asStored(current.settings);
    return error;
}

CaError Settings::write(const QString& anyKey, const QVariant& value) {
    const QString key = plainKey(anyKey);
    if (!isSettingsKey(key))
        return badKey(key);
    return changeStored([&](Values& values) { return put(key, value, values); });
}

CaError Settings::apply(const std::vector<SettingsChange>& changes, QStringList& conflicts) {
    conflicts.clear();
    for (const SettingsChange& change : changes)
        if (!isSettingsKey(change.key))
            return badKey(change.key);
    const auto edit = [&](Values& values) {
        for (const SettingsChange& change : changes)
            if (isForestalled(change, values))
                conflicts << change.key;
        bool isDifferent = false;
        for (const SettingsChange& change : changes)
            if (conflicts.isEmpty() && put(change.key, change.value, values))
                isDifferent = true;
        return isDifferent;
    };
    return changeStored(edit);
}

} // namespace vlr
