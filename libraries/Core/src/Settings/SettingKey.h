#pragma once

#include "Math/Vector3d.h"
#include "Settings/SettingsType.h"

#include <QtCore/QSize>
#include <QtCore/QString>

#include <utility>
#include <vector>

namespace vlr {

/// What is declared of a setting, whatever its type: what its editor shows, the table in the manual
/// says and tests try. It is known from its construction until its destruction.
class VLR_CORE_EXPORT SettingDeclaration {
public:
    virtual ~SettingDeclaration();
    SettingDeclaration(const SettingDeclaration&) = delete;
    SettingDeclaration& operator=(const SettingDeclaration&) = delete;

    const QString& key() const { return m_key; } ///< "Velora/Application/MaxPatientID"
    const SettingsType& type() const { return m_type; }
    /// What it is for, in English, and what the program does where a stored text is none of the
    /// type. The second is empty for what vlr::Settings itself takes for the default: numbers,
    /// sizes and truth values. Both are translated in the context "KnownSettings".
    const char* meaning() const { return m_meaning; }
    const char* otherwise() const { return m_otherwise; }
    virtual QString defaultText() const = 0; ///< as one types it: "false", "4", "1024 x 1024"

protected:
    /// What the type of the values says goes before the kind of `type`.
    SettingDeclaration(const char* key, SettingsType type, SettingsType::Kind kind,
                       const char* meaning, const char* otherwise);

    [[nodiscard]] bool read(bool otherwise) const;
    [[nodiscard]] int read(int otherwise) const;
    [[nodiscard]] double read(double otherwise) const;
    [[nodiscard]] QString read(const QString& otherwise) const;
    [[nodiscard]] QSize read(const QSize& otherwise) const;
    [[nodiscard]] Vector3d read(const Vector3d& otherwise) const;

    static QString textOf(bool value);
    static QString textOf(int value);
    static QString textOf(double value);
    static QString textOf(const QString& value);
    static QString textOf(const QSize& value);
    static QString textOf(const Vector3d& value);

    static constexpr SettingsType::Kind kindOf(bool) { return SettingsType::Kind::Bool; }
    static constexpr SettingsType::Kind kindOf(int) { return SettingsType::Kind::Integer; }
    static constexpr SettingsType::Kind kindOf(double) { return SettingsType::Kind::Number; }
    static SettingsType::Kind kindOf(const QString&) { return SettingsType::Kind::Text; }
    static SettingsType::Kind kindOf(const QSize&) { return SettingsType::Kind::Size; }
    static SettingsType::Kind kindOf(const Vector3d&) { return SettingsType::Kind::Vector; }

private:
    QString m_key;
    SettingsType m_type;
    const char* m_meaning;
    const char* m_otherwise;
};

/// All that exist, by key: those of the libraries from the start of the program on.
VLR_CORE_EXPORT std::vector<const SettingDeclaration*> declaredSettings();

/// A setting: declared once, at namespace scope beside the code that reads it.
///
///     const vlr::SettingKey<int> splitterWidth(
///         "Velora/Application/QtQuadView/SplitterWidth", 4,
///         QT_TRANSLATE_NOOP("KnownSettings", "Width of the lines between the views, in pixels."),
///         vlr::integerType(1, 64));
///
///     setMidLineWidth(splitterWidth.get());
///     CaError error = vlr::Settings::set(splitterWidth.key(), 8);
///
/// T is bool, int, double, QString, QSize or Vector3d. The bounds of a number are those of its
/// type; of a vector they are for the editor alone. A text may be a choiceType() or an
/// acceptedType(), which is for the editor too: the reader gets what is stored, and `otherwise`
/// says what comes of it. All texts are literals in UTF-8. A key is declared once in a program.
template <class T>
class SettingKey final : public SettingDeclaration {
public:
    SettingKey(const char* key, const T& value, const char* meaning, SettingsType type = {},
               const char* otherwise = "")
        : SettingDeclaration(key, std::move(type), kindOf(T()), meaning, otherwise),
          m_default(value) {}
    /// With a default that is only known at run time, such as a folder of the user's.
    SettingKey(const char* key, T (*makeDefault)(), const char* meaning, SettingsType type = {},
               const char* otherwise = "")
        : SettingDeclaration(key, std::move(type), kindOf(T()), meaning, otherwise), m_default(),
          m_makeDefault(makeDefault) {}

    T get() const { return read(defaultValue()); } ///< See Settings::get(). GUI thread only.
    T defaultValue() const { return m_makeDefault ? m_makeDefault() : m_default; }
    QString defaultText() const override { return textOf(defaultValue()); }

private:
    T m_default;
    T (*m_makeDefault)() = nullptr;
};

} // namespace vlr
