#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QDialog>

#include <functional>

class CaError;
class QtDataConfigurationWidget;
class QtDecoratedDataConfigurationWidget;

/// The modal dialog around an editing widget, as DataFactory::displayConfigurationDialog() shows
/// it. Escape and the window's close button leave the data as it is, as Cancel does; Return
/// accepts.
class VLR_GUI_EXPORT QtDataConfigurationDialog : public QDialog {
    Q_OBJECT

public:
    /// Takes the widget over. `widget` and `name` as in QtDecoratedDataConfigurationWidget.
    QtDataConfigurationDialog(QtDataConfigurationWidget* widget, QString* name, QWidget* parent,
                              Qt::WindowFlags flags);
    ~QtDataConfigurationDialog() override;

    void setStoreFunction(std::function<CaError()> store); ///< See DataFactory::DialogOptions.

private:
    QtDecoratedDataConfigurationWidget* m_decorated;
};
