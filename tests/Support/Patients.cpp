#include "Support/Patients.h"

#include "IO/DataIOManager.h"

#include <gtest/gtest.h>

namespace vlrTest {

DataPointer<Patient> makePatient(const std::string& id, const std::string& name) {
    DataPointer<Patient> patient(new Patient);
    patient->setPatientId(QString::fromStdString(id));
    patient->setName(QString::fromStdString(name));
    return patient;
}

DataPointer<Patient> storePatient(const std::string& id, const std::string& name) {
    const DataPointer<Patient> patient = makePatient(id, name);
    EXPECT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    return patient;
}

DataPointer<Patient> loadPatient(const Patient& stored) {
    DataPointer<Patient> patient;
    EXPECT_EQ(DataIOManager::loadPatient(stored.storage().uri, patient), CaError::nullError);
    return patient;
}

} // namespace vlrTest
