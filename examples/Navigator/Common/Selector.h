#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

class QtModuleSelector;

/// The kinds of module selector the user may choose from.
QStringList selectorKinds();

/// The setting "Velora/Application/Navigator/ModuleSelector".
QString selectorKey();

/// The kind in the setting, the first of the kinds by default and for one that does not exist.
QString configuredSelector();

/// A new selector of the kind; null for "none".
QtModuleSelector* makeSelector(const QString& kind);
