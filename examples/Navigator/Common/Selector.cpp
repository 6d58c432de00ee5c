#include "Common/Selector.h"

#include "AppBase/Selectors/QtModuleButtonSelector.h"
#include "AppBase/Selectors/QtModuleRadioButtonSelector.h"
#include "AppBase/Selectors/QtModuleStepper.h"
#include "AppBase/Selectors/QtModuleTabSelector.h"
#include "Log/vlrLog.h"
#include "Settings/SettingKey.h"

namespace {

struct Kind {
    const char* name;
    QtModuleSelector* (*make)();
};

const Kind kinds[] = {
    {"tabs",
     []() -> QtModuleSelector* {
         return new QtModuleTabSelector(QtModuleSelector::Top, true, true, true, true);
     }},
    {"buttons",
     []() -> QtModuleSelector* {
         return new QtModuleButtonSelector(QtModuleSelector::Top, true, true, true, true);
     }},
    {"radio",
     []() -> QtModuleSelector* { return new QtModuleRadioButtonSelector(QtModuleSelector::Top); }},
    {"stepper", []() -> QtModuleSelector* { return new QtModuleStepper(QtModuleSelector::Top); }},
    {"none", []() -> QtModuleSelector* { return nullptr; }},
};

const vlr::SettingKey<QString>
    selector("Velora/Application/Navigator/ModuleSelector", QString::fromLatin1(kinds[0].name),
             QT_TRANSLATE_NOOP("KnownSettings", "Navigator only: how modules are chosen."),
             vlr::choiceType(selectorKinds()),
             QT_TRANSLATE_NOOP("KnownSettings", "The default is used."));

} // namespace

QStringList selectorKinds() {
    QStringList names;
    for (const Kind& kind : kinds)
        names << QString::fromLatin1(kind.name);
    return names;
}

QString selectorKey() {
    return selector.key();
}

QString configuredSelector() {
    const QString kind = selector.get();
    if (selectorKinds().contains(kind))
        return kind;
    VLR_LOG(Warning) << "The setting " << selectorKey() << " names the selector \"" << kind
                     << "\", which does not exist.";
    return selectorKinds().first();
}

QtModuleSelector* makeSelector(const QString& kind) {
    for (const Kind& each : kinds)
        if (kind == QLatin1String(each.name))
            return each.make();
    return nullptr;
}
