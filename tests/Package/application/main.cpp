#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"

#include <QtCore/QTimer>
#include <QtGui/QIcon>

#include <iostream>

int main(int argc, char** argv) {
    AppBase application(argc, argv);
    const QString title = QStringLiteral("Ten Lines");
    application.setApplicationIdentification(title, QIcon(), title);
    QTimer::singleShot(0, &application, [&application] {
        if (application.getMainWindow()->isVisible())
            std::cout << "The window is shown: "
                      << application.getMainWindow()->windowTitle().toStdString() << std::endl;
        application.exitApplication();
    });
    return application.run();
}
