#pragma once

#include "AppBase/Settings/SettingsEdits.h"

#include <QtWidgets/QDialog>

class QTableWidget;

namespace vlr {

/// Shows the changes that another process forestalled, with what each value was, what the others
/// made of it and what the user did, and lets choose between the latter two. Nothing is taken
/// unless it is chosen.
class VLR_GUI_EXPORT SettingsConflictDialog : public QDialog {
    Q_OBJECT

public:
    SettingsConflictDialog(const SettingsEdits& edits, std::vector<SettingsConflict> conflicts,
                           QWidget* parent = nullptr);

    std::vector<SettingsConflict> conflicts() const; ///< With the choices made.

private:
    void addConflict(const SettingsEdits& edits, const SettingsConflict& conflict, int row);

    std::vector<SettingsConflict> m_conflicts;
    QTableWidget* m_table;
};

} // namespace vlr
