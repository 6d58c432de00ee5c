#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QLabel>

/// A line of plain text that is shortened where it does not fit; the whole of it is then the tool
/// tip. It takes the width it is given and asks for none.
class VLR_GUI_EXPORT QtElidedLabel : public QLabel {
    Q_OBJECT

public:
    explicit QtElidedLabel(Qt::TextElideMode mode, QWidget* parent = nullptr);

    void setFullText(const QString& text);

    /// One line, also while there is no text: what stands below does not move.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void elide();

    Qt::TextElideMode m_mode;
    QString m_fullText;
};
