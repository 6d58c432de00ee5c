#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QMessageBox>

/// Message boxes in one call.
///
///     if (QtMsgBox::postAndWait(this, QtMsgBox::MsgQuestion, "Delete",
///                               "Delete the %d selected points?", count) == QMessageBox::Yes)
///         deletePoints();
class VLR_GUI_EXPORT QtMsgBox : public QMessageBox {
    Q_OBJECT

public:
    enum MsgType : int { MsgCritical = 0, MsgWarning = 1, MsgQuestion = 2, MsgInformation = 3 };

    QtMsgBox();
    ~QtMsgBox() override;

    /// Shows a modal box and returns the code of the button pressed: QMessageBox::Ok, or for a
    /// question Yes (Enter) or No (Escape); QMessageBox::NoButton where no box could be shown, as
    /// while the program is on its way out, or `parent` was destroyed meanwhile. A question has the
    /// icon of a warning. An unknown kind is an information.
    ///
    /// Caption, format and the strings put into it are UTF-8; a null caption or format is empty.
    /// The formatted text is cut at 1,023 bytes. It is shown as plain text, see setMessage().
    static int postAndWait(QWidget* parent, MsgType kind, const char* caption, const char* format,
                           ...) Q_ATTRIBUTE_FORMAT_PRINTF(4, 5);

    /// Gives the box a plain text that may be long. Of more than 15 lines or 1,500 characters
    /// the box shows the beginning, and of a very long word both ends, so that it is never larger
    /// than the screen; the whole text is then in its details.
    static void setMessage(QMessageBox& box, const QString& text);

    /// Takes the answer by Enter away from a question that has to be answered on purpose. To be
    /// called when its buttons are there; give them roles other than QMessageBox::AcceptRole.
    static void takeDefaultAway(QMessageBox& box);
};
