#pragma once

#include "Data/Patient.h"

#include <string>

namespace vlrTest {

/// A new patient. The texts are UTF-8.
DataPointer<Patient> makePatient(const std::string& id, const std::string& name = {});

/// The same, stored as another workstation would; a test failure where that is impossible.
DataPointer<Patient> storePatient(const std::string& id, const std::string& name = "Somebody");

/// The patient as the repository has it now; a test failure where it cannot be read.
DataPointer<Patient> loadPatient(const Patient& stored);

} // namespace vlrTest
