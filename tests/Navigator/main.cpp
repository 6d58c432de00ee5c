#include "Support/MessageBoxes.h"
#include "Support/TestEnvironment.h"

#include <QtCore/QByteArray>

using namespace vlrTest;

Q_COREAPP_STARTUP_FUNCTION(failAtUnansweredBoxes)

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    return runTests(argc, argv);
}
