#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

class QtModuleSelector;

/// The kinds of module selector the user may choose from.
QStringList selectorKinds();

/// The kind in the setting "Velora/Application/Navigator/ModuleSelector", "tabs" by default and
/// for a kind that does not exist.
QString configuredSelector();

/// A new selector of the kind; null for "none".
QtModuleSelector* makeSelector(const QString& kind);
