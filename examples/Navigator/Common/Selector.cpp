#include "Common/Selector.h"

#include "AppBase/Selectors/QtModuleButtonSelector.h"
#include "AppBase/Selectors/QtModuleRadioButtonSelector.h"
#include "AppBase/Selectors/QtModuleStepper.h"
#include "AppBase/Selectors/QtModuleTabSelector.h"
#include "Log/vlrLog.h"
#include "Settings/vlrSettings.h"

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

} // namespace

QStringList selectorKinds() {
    QStringList names;
    for (const Kind& kind : kinds)
        names << QString::fromLatin1(kind.name);
    return names;
}

QString selectorKey() {
    return QStringLiteral("Velora/Application/Navigator/ModuleSelector");
}

QString configuredSelector() {
    const QString kind = vlr::Settings::get(selectorKey(), selectorKinds().first());
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
