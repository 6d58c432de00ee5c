#pragma once

#include "DataUtils/DataFactory.h"
#include "DataUtils/QtDataConfigurationWidget.h"

/// Registers widgets of one class with the DataFactory; see VLR_REGISTER_DATA_WIDGET.
template <class Widget>
class DataWidgetRegistration : public DataFactory::Registration {
public:
    QtDataConfigurationWidget* configurationWidget(Data* data, QString argument,
                                                   QWidget* parent) override {
        return new Widget(data, argument, parent, Qt::WindowFlags());
    }
};

/// Makes a class of editing widgets known, in one line after the class:
///
///     class VLR_GUI_EXPORT QtProbeWidget : public QtDataConfigurationWidget { ... };
///     VLR_REGISTER_DATA_WIDGET(QtProbeWidget, VLR_GUI_EXPORT)
///
/// It declares the class QtProbeWidgetDataFactoryRegistration, whose construction registers the
/// widget, and `int createQtProbeWidgetFactory()`, which makes one such registration at its first
/// call and always returns 1. Which data the widget edits is said by linkDataToWidget(). The
/// registration lives as long as the process, also when another one took its name.
#define VLR_REGISTER_DATA_WIDGET(Widget, EXPORT)                                                   \
    class EXPORT Widget##DataFactoryRegistration : public DataWidgetRegistration<Widget> {         \
    public:                                                                                        \
        Widget##DataFactoryRegistration() { registerWidget(this); }                                \
        std::string name() const override { return #Widget; }                                      \
    };                                                                                             \
    [[gnu::used]] EXPORT inline int create##Widget##Factory() {                                    \
        [[gnu::used]] static const auto* const registration = new Widget##DataFactoryRegistration; \
        Q_UNUSED(registration)                                                                     \
        return 1;                                                                                  \
    }
