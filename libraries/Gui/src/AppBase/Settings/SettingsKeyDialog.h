#pragma once

#include "AppBase/Settings/SettingsEdits.h"

#include <QtWidgets/QDialog>

class QComboBox;
class QLabel;
class QLineEdit;

namespace vlr {

/// Asks for the key of a setting, and for its type where it is a new one. What cannot be a key
/// is refused with the reason below it.
class VLR_GUI_EXPORT SettingsKeyDialog : public QDialog {
    Q_OBJECT

public:
    enum class Purpose { Add, Rename };

    /// Starts with the key as it stands.
    SettingsKeyDialog(const SettingsEdits& edits, Purpose purpose, const QString& key,
                      QWidget* parent = nullptr);

    QString key() const;
    SettingsType type() const;
    void accept() override;

private:
    const SettingsEdits& m_edits;
    const QString m_oldKey;
    QLineEdit* m_key;
    QComboBox* m_type = nullptr; // none where the type is known
    QLabel* m_refusal;
};

} // namespace vlr
