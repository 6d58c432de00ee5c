#pragma once

#include "AppBase/AppBaseConfig.h"
#include "vlrGuiExport.h"

#include <QtWidgets/QDialog>

class Data;
class QPushButton;
class QTabWidget;
class QtDataConfigurationWidget;
class QtModuleList;

/// The configuration dialog: a tab for the application's configuration and two for the options of
/// the current module, each with the widget that the DataFactory has for it. What has no widget
/// has no tab. Nothing is written to a record before "Ok".
///
///     QtConfigDialog dialog(config, moduleList, window);
///     dialog.exec();
class VLR_GUI_EXPORT QtConfigDialog : public QDialog {
    Q_OBJECT

public:
    /// Without a configuration, a list or a current module their tabs are left out.
    QtConfigDialog(DataPointer<AppBaseConfig> config, QtModuleList* moduleList, QWidget* parent);
    ~QtConfigDialog() override;

private slots:
    void accept() override; ///< Writes every tab to its record.
    void reject() override;
    void showAboutDialog();

private:
    void createButtons();
    void addModuleTabs(const QtModuleList& moduleList);
    void addTab(Data* record, const QString& title);
    void connectByName(const QObject* widget) const;
    void focusFirstField();
    void showAllTitles();
    template <class Call>
    bool forEachTab(Call call) const;

    QTabWidget* m_tabs;
    QPushButton* m_about = nullptr;
    QPushButton* m_cancel = nullptr;
    QPushButton* m_ok = nullptr;
};
