#pragma once

#include "Data/Data.h"
#include "vlrGuiExport.h"

#include <QtGui/QPixmap>
#include <QtWidgets/QDialog>

class QLabel;

/// Takes a picture of a widget, shows it at half its size and, on "Save", attaches it to a data
/// item and writes it as a PNG file (see QtScreenShotData::saveImage()). Where the file cannot be
/// written, the user is told at "UERROR" after the dialog closed; the record stays attached.
///
///     QtScreenShotDialog dialog(patient, nullptr);
///     dialog.grab(window);       // runs the dialog
class VLR_GUI_EXPORT QtScreenShotDialog : public QDialog {
    Q_OBJECT

public:
    /// Without a data item "Save" only closes the dialog, and the dialog says so.
    QtScreenShotDialog(Data* item, QWidget* parent);
    ~QtScreenShotDialog() override;

    void grab(QWidget* widget); ///< Takes the picture and runs the dialog. Null is ignored.

protected:
    void accept() override;

private:
    void createInterface();
    void refreshAllGLWidgets(QObject* object);

    DataPointer<Data> m_data;
    QPixmap m_image;
    QLabel* m_preview = nullptr;
};
