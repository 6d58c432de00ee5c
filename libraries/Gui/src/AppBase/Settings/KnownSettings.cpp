#include "AppBase/Settings/KnownSettings.h"

#include "Settings/SettingKey.h"

#include <QtCore/QCoreApplication>

#include <algorithm>

namespace vlr {

namespace {

struct Words {
    Q_DECLARE_TR_FUNCTIONS(KnownSettings)
};

KnownSetting translated(const SettingDeclaration& declared) {
    SettingsType type = declared.type();
    if (!type.expected.isEmpty())
        type.expected = Words::tr(type.expected.toUtf8().constData());
    const auto tr = [](const char* text) { return *text ? Words::tr(text) : QString(); };
    return {declared.key(), type, declared.defaultText(), tr(declared.meaning()),
            tr(declared.otherwise())};
}

std::vector<KnownSetting>& added() {
    static std::vector<KnownSetting> settings;
    return settings;
}

void put(const KnownSetting& setting, std::vector<KnownSetting>& settings) {
    const auto former = std::find_if(settings.begin(), settings.end(),
                                     [&](const auto& each) { return each.key == setting.key; });
    if (former == settings.end())
        settings.push_back(setting);
    else
        *former = setting;
}

} // namespace

std::vector<KnownSetting> knownSettings() {
    std::vector<KnownSetting> settings;
    for (const SettingDeclaration* declared : declaredSettings())
        settings.push_back(translated(*declared));
    for (const KnownSetting& setting : added())
        put(setting, settings);
    return settings;
}

void addKnownSetting(const KnownSetting& setting) {
    put(setting, added());
}

} // namespace vlr
