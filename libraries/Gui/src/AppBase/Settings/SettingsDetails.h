#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QFrame>

class QLabel;

namespace vlr {

class SettingsEdits;

/// What there is to say about one setting: its key, meaning, default, what it takes and whether
/// it is the default.
class VLR_GUI_EXPORT SettingsDetails : public QFrame {
    Q_OBJECT

public:
    explicit SettingsDetails(QWidget* parent = nullptr);
    void show(const SettingsEdits& edits, const QString& key); ///< An empty key clears it.
    using QFrame::show;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void claimHeight();

    QLabel* m_key;
    QLabel* m_meaning;
    QLabel* m_default;
    QLabel* m_takes;
    QLabel* m_status;
};

} // namespace vlr
