#include "Support/TestEnvironment.h"

#include <QtGui/QGuiApplication>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    return vlrTest::runTests(argc, argv);
}
