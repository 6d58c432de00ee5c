#include "Gui/PatientFormProcess.h"

#include "Data/Patient.h"
#include "DataUtils/DataFactory.h"
#include "DataUtils/QtDataConfigurationDialog.h"
#include "DataUtils/QtPatientConfigurationWidget.h"
#include "IO/DataIOManager.h"
#include "Support/MessageBoxes.h"

#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>

#include <iostream>
#include <string>

namespace vlrTest {

namespace {

void drive(QDialog& dialog) {
    const auto* id = dialog.findChild<QLineEdit*>(QStringLiteral("patientId"));
    auto* ok = dialog.findChild<QPushButton*>(QStringLiteral("ok"));
    auto* useFreeId = dialog.findChild<QPushButton*>(QStringLiteral("useFreeId"));
    std::cout << "ready " << id->text().toStdString() << std::endl;
    std::string line;
    std::getline(std::cin, line);
    ok->click();
    if (dialog.isVisible()) {
        useFreeId->click();
        std::cout << "offered " << id->text().toStdString() << std::endl;
        ok->click();
    }
    dialog.hide();
}

} // namespace

int runPatientForm(int argc, char** argv) {
    const QApplication application(argc, argv);
    createQtPatientConfigurationWidgetFactory();
    linkDataToWidget(Patient::className, "QtPatientConfigurationWidget", "", 1, "");
    const DataPointer<Patient> patient(new Patient);
    DataFactory::DialogOptions options;
    options.store = [&] { return DataIOManager::storePatient(patient); };
    inNextDialog<QtDataConfigurationDialog>([](QDialog& dialog) { drive(dialog); });
    if (DataFactory::displayConfigurationDialog(patient.get(), nullptr, options) !=
        CaError::nullError)
        return 1;
    std::cout << "stored " << patient->patientId().toStdString() << std::endl;
    DataIOManager::closeRepository();
    return 0;
}

} // namespace vlrTest
