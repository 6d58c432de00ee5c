#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QSplashScreen>

/// The picture that is shown while the program starts, and what it says meanwhile; picture, place
/// and colour of the texts are settings. A picture that cannot be read, is no PNG, JPEG, BMP or
/// TIFF file, or needs more than 64 MiB gives a "WARNING" and the built-in one. It stays above all
/// windows, so it steps aside as long as a modal one is open: a question below it could be neither
/// read nor answered.
class VLR_GUI_EXPORT SplashScreen : public QSplashScreen {
public:
    SplashScreen();

    static bool isWanted();    ///< As the setting has it.
    static int milliseconds(); ///< How long it stays; 0: until the main window appears.

    void tell(const QString& text);

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    bool m_isAside = false;
};
