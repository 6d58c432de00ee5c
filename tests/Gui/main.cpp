#include "Gui/PatientFormProcess.h"
#include "Support/TestEnvironment.h"

#include <QtCore/QByteArray>

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (argc > 1 && QByteArray(argv[1]) == "--patient-form")
        return vlrTest::runPatientForm(argc, argv);
    return vlrTest::runTests(argc, argv);
}
