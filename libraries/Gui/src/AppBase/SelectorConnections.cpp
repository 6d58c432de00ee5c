#include "AppBase/SelectorConnections.h"

#include "AppBase/QtModuleList.h"
#include "AppBase/QtModuleSelector.h"

namespace vlr {

void connectSelector(QtModuleSelector* selector, QtModuleList* list) {
    using List = QtModuleList;
    using Selector = QtModuleSelector;
    using Named = QOverload<QString>;
    using Indexed = QOverload<int>;
    disconnectSelector(selector, list);
    const auto follow = [&](auto signal, auto slot) {
        QObject::connect(list, signal, selector, slot);
    };
    follow(&List::registered, &Selector::addModule);
    follow(QOverload<QString, int>::of(&List::activated), &Selector::moduleActivated);
    follow(&List::deactivated, &Selector::moduleDeactivated);
    follow(&List::enabled, &Selector::moduleEnabled);
    follow(&List::disabled, &Selector::moduleDisabled);

    const auto ask = [&](auto signal, auto slot) {
        QObject::connect(selector, signal, list, slot);
    };
    ask(Named::of(&Selector::activateModule), Named::of(&List::activate));
    ask(Indexed::of(&Selector::activateModule), Indexed::of(&List::activate));
    ask(&Selector::deactivateAllModules, &List::deactivateAll);
    ask(&Selector::previousModule, &List::previous);
    ask(&Selector::nextModule, &List::next);
    ask(Named::of(&Selector::enableModule), Named::of(&List::enableModule));
    ask(Indexed::of(&Selector::enableModule), Indexed::of(&List::enableModule));
    ask(Named::of(&Selector::disableModule), Named::of(&List::disableModule));
    ask(Indexed::of(&Selector::disableModule), Indexed::of(&List::disableModule));
}

void disconnectSelector(QtModuleSelector* selector, QtModuleList* list) {
    list->disconnect(selector);
    selector->disconnect(list);
}

} // namespace vlr
