// A declared setting is read by its name in turn.
#undef VLR_SETTINGS_ARE_DECLARED

#include "Settings/SettingKey.h"

#include "Settings/vlrSettings.h"

#include <QtCore/QLocale>

#include <algorithm>
#include <limits>

namespace vlr {

namespace {

using Kind = SettingsType::Kind;

// Declarations of the libraries are made before main(), in no order.
std::vector<const SettingDeclaration*>& declarations() {
    static auto* const instance = new std::vector<const SettingDeclaration*>;
    return *instance;
}

} // namespace

SettingDeclaration::SettingDeclaration(const char* key, SettingsType type, SettingsType::Kind kind,
                                       const char* meaning, const char* otherwise)
    : m_key(QString::fromUtf8(key)), m_type(std::move(type)), m_meaning(meaning),
      m_otherwise(otherwise) {
    if (kind != Kind::Text || m_type.kind != Kind::Choice)
        m_type.kind = kind;
    if (kind == Kind::Integer) {
        m_type.minimum = std::max<double>(m_type.minimum, std::numeric_limits<int>::min());
        m_type.maximum = std::min<double>(m_type.maximum, std::numeric_limits<int>::max());
    }
    declarations().push_back(this);
}

SettingDeclaration::~SettingDeclaration() {
    auto& all = declarations();
    all.erase(std::remove(all.begin(), all.end(), this), all.end());
}

bool SettingDeclaration::read(bool otherwise) const {
    return Settings::get(m_key, otherwise);
}

int SettingDeclaration::read(int otherwise) const {
    return Settings::get(m_key, otherwise, static_cast<int>(m_type.minimum),
                         static_cast<int>(m_type.maximum));
}

double SettingDeclaration::read(double otherwise) const {
    return Settings::get(m_key, otherwise, m_type.minimum, m_type.maximum);
}

QString SettingDeclaration::read(const QString& otherwise) const {
    return Settings::get(m_key, otherwise);
}

QSize SettingDeclaration::read(const QSize& otherwise) const {
    return Settings::get(m_key, otherwise);
}

Vector3d SettingDeclaration::read(const Vector3d& otherwise) const {
    return Settings::get(m_key, otherwise);
}

QString SettingDeclaration::textOf(bool value) {
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString SettingDeclaration::textOf(int value) {
    return QString::number(value);
}

QString SettingDeclaration::textOf(double value) {
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

QString SettingDeclaration::textOf(const QString& value) {
    return value;
}

QString SettingDeclaration::textOf(const QSize& value) {
    return QStringLiteral("%1 x %2").arg(value.width()).arg(value.height());
}

QString SettingDeclaration::textOf(const Vector3d& value) {
    return QString::fromStdString(toText(value));
}

std::vector<const SettingDeclaration*> declaredSettings() {
    std::vector<const SettingDeclaration*> all = declarations();
    std::sort(all.begin(), all.end(),
              [](const auto* one, const auto* other) { return one->key() < other->key(); });
    return all;
}

} // namespace vlr
