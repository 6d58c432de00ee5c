#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QDialog>

#include <memory>

class QAction;
class QBoxLayout;
class QLabel;
class QLineEdit;

namespace vlr {

class SettingsChangeList;
class SettingsDetails;
class SettingsModel;
class SettingsSource;
class SettingsView;

/// Edits the settings database:
///
///     vlr::SettingsEditorDialog dialog(mainWindow);
///     dialog.exec();
///
/// Changes are collected, shown, and stored all at once by OK or Apply; Cancel, Escape and the
/// close button leave the settings file untouched. A setting that another process changed
/// meanwhile is stored only where the user chooses so. What cannot be stored stays in the dialog.
/// A settings file that turns out to be damaged is told of, and replaced by OK and Apply alone.
///
/// An application has its own settings listed with type, default and meaning by
/// addKnownSetting(), see KnownSettings.h.
class VLR_GUI_EXPORT SettingsEditorDialog : public QDialog {
    Q_OBJECT

public:
    explicit SettingsEditorDialog(QWidget* parent = nullptr);
    /// Edits what the source holds, which has to outlive the dialog.
    explicit SettingsEditorDialog(SettingsSource& source, QWidget* parent = nullptr);
    ~SettingsEditorDialog() override;

    void accept() override; ///< Stores first, and stays open where that fails.

private:
    using Command = void (SettingsEditorDialog::*)();

    SettingsEditorDialog(std::unique_ptr<SettingsSource> own, QWidget* parent);
    void build();
    QLayout* createSearch();
    QLayout* createCommands();
    QAction* createCommand(const QString& text, Command command, QBoxLayout* row = nullptr);
    QLayout* createMessage();
    QWidget* createButtons();

    void showFound(int count);
    void showMenu(const QPoint& place);
    void editSetting();
    void addSetting();
    void renameSetting();
    void removeSetting();
    void revertSetting();
    bool store();
    void applyChanges();

    void updateAll();
    void updateSelected();
    void tell(const QString& text, bool isError);

    std::unique_ptr<SettingsSource> m_ownSource;
    std::unique_ptr<SettingsModel> m_model;
    SettingsView* m_view;
    SettingsDetails* m_details;
    SettingsChangeList* m_changes;
    QLineEdit* m_search;
    QLabel* m_matches;
    QLabel* m_messageIcon;
    QLabel* m_message;
    QAction* m_edit;
    QAction* m_rename;
    QAction* m_remove;
    QAction* m_revert;
    QAction* m_reset;
};

} // namespace vlr
