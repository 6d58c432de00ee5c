#include "Common/Question.h"

#include "Base/QtMsgBox.h"

#include <QtCore/QPointer>

bool confirm(QWidget* parent, const QString& title, const QString& text) {
    // Not on the stack: the window may go while the box is open, and takes it along.
    const QPointer<QMessageBox> box = new QMessageBox(QMessageBox::Warning, title, QString(),
                                                      QMessageBox::Yes | QMessageBox::No, parent);
    QtMsgBox::setMessage(*box, text);
    box->setDefaultButton(QMessageBox::No);
    box->setEscapeButton(QMessageBox::No);
    const bool isConfirmed = box->exec() == QMessageBox::Yes && box;
    delete box.data();
    return isConfirmed;
}
