#pragma once

#include "Error/CaError.h"
#include "Math/Vector3d.h"

#include <QtCore/QHash>
#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <limits>
#include <vector>

// Code of this project reads what it has declared; see SettingKey.h.
#ifdef VLR_SETTINGS_ARE_DECLARED
#define VLR_BY_NAME [[deprecated("Declare a vlr::SettingKey and read that.")]]
#else
#define VLR_BY_NAME
#endif

namespace vlr {

/// A change to a stored value; an invalid QVariant stands for a key that is absent.
struct SettingsChange {
    QString key;
    QVariant expected; ///< what Settings::value() gave when the change was decided on
    QVariant value;    ///< what shall be stored: a text or a QSize
};

/// The settings database: typed values under slash-separated keys, for example
/// "Velora/Application/WindowShowMode".
///
///     const bool isShown = Settings::get(flagKey, false);
///     const int width = Settings::get(widthKey, 4, 1, 64); // with a range
///     const CaError error = Settings::set(widthKey, 8);
///
/// A setting that is read by a vlr::SettingKey also stands in the settings editor; what is read by
/// name alone is known to nobody else.
///
/// It lives in "settings.ini" under the application's configuration folder
/// (QStandardPaths::AppConfigLocation), in QSettings' INI format. The file is read when the
/// first value is asked for; get() after that is a lookup in memory without lock or file
/// access, to be called at the point of use. set() and remove() write through to disk: under a
/// lock file they read the file again, apply the one change and write it durably, so that what
/// another process stored meanwhile stays. GUI thread only.
///
/// A slash before a key makes no difference: "/a/b" is "a/b". apply() wants keys without it.
///
/// A value that is absent gives the default. So does a value that cannot be understood as the
/// asked-for type ("nan", "inf" and text for numbers included) or lies outside the range, with
/// one "WARNING" log line per key. A damaged settings file is kept aside and logged, and every
/// value is its default; found while the program runs, it is replaced by the values as they were
/// read before. A file that cannot be read at present is logged and left alone.
class VLR_CORE_EXPORT Settings {
public:
    VLR_BY_NAME static bool get(const QString& key,
                                bool defaultValue); ///< true/false, 1/0, yes/no, on/off
    VLR_BY_NAME static int get(const QString& key, int defaultValue,
                               int minimum = std::numeric_limits<int>::min(),
                               int maximum = std::numeric_limits<int>::max());
    VLR_BY_NAME static double get(const QString& key, double defaultValue,
                                  double minimum = std::numeric_limits<double>::lowest(),
                                  double maximum = std::numeric_limits<double>::max());
    VLR_BY_NAME static QString get(const QString& key, const QString& defaultValue);
    VLR_BY_NAME static QString get(const QString& key, const char* defaultValue); ///< UTF-8
    VLR_BY_NAME static QSize
    get(const QString& key,
        const QSize& defaultValue); ///< "@Size(w h)", "w h", "w x h", "w × h"
    VLR_BY_NAME static Vector3d get(const QString& key, const Vector3d& defaultValue);

    static CaError set(const QString& key, bool value);
    static CaError set(const QString& key, int value);
    static CaError set(const QString& key, double value); ///< nan and inf are refused.
    static CaError set(const QString& key, const QString& value);
    static CaError set(const QString& key, const char* value); ///< UTF-8
    static CaError set(const QString& key, const QSize& value);
    static CaError set(const QString& key, const Vector3d& value);

    static QStringList keys(); ///< All stored keys, sorted.
    static bool contains(const QString& key);
    static CaError remove(const QString& key); ///< Removing an absent key is no error.

    static QVariant value(const QString& key); ///< As it is stored; invalid when absent.

    /// Stores all of the changes in one write, or none of them. Where keys hold neither what was
    /// expected nor what shall be stored, another process was faster: `conflicts` names them and
    /// value() gives what they hold, and that is no error. Without changes it only brings the
    /// values in memory up to date.
    static CaError apply(const std::vector<SettingsChange>& changes, QStringList& conflicts);

    /// Brings the values in memory up to date with the file and gives all of them. Nothing is
    /// written or waited for: a damaged file stays as it is, the error says so, and the values are
    /// those that were in memory.
    static CaError look(QHash<QString, QVariant>& values);

    static QString filePath(); ///< The file in use.
    static void reload();      ///< Reads the file again, for example after the location changed.

private:
    static CaError write(const QString& key, const QVariant& value);
};

} // namespace vlr

#undef VLR_BY_NAME
