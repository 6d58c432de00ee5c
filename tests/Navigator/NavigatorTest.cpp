#include "Navigator/NavigatorTest.h"

#include "IO/DataIOManager.h"

namespace vlrTest {

NavigatorTest::NavigatorTest() {
    restart();
}

void NavigatorTest::restart() {
    application.reset();
    application = std::make_unique<AppBase>(m_argc, m_argv);
}

void NavigatorTest::show(QtAppModule* module) {
    ASSERT_TRUE(application->addModule(module));
    window()->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window(), patience));
}

DataPointer<Patient> storePatient(const char* id, const char* name) {
    DataPointer<Patient> patient(new Patient);
    patient->setPatientId(QString::fromLatin1(id));
    patient->setName(QString::fromLatin1(name));
    EXPECT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    return patient;
}

} // namespace vlrTest
