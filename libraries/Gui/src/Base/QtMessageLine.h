#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QWidget>

class QLabel;

/// A message with its icon, in the place that it concerns. It takes no space while it is empty.
///
///     auto* message = new QtMessageLine(this);      // below the field
///     message->showError(tr("Enter the name of the patient."));
///     message->clear();
class VLR_GUI_EXPORT QtMessageLine : public QWidget {
    Q_OBJECT

public:
    explicit QtMessageLine(QWidget* parent = nullptr);

    QString text() const { return m_text; } ///< Empty while nothing is shown.
    /// The icon is one of vlr::icon(); an empty text hides the line.
    void showMessage(const QString& iconName, const QString& text);
    void showError(const QString& text) { showMessage(QStringLiteral("Error"), text); }
    void clear();

private:
    QLabel* m_icon;
    QLabel* m_label;
    QString m_text;
};

namespace vlr {

/// The text with places to break file names and other long words at.
VLR_GUI_EXPORT QString breakable(const QString& text);

} // namespace vlr
