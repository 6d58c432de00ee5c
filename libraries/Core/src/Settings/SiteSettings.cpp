// The settings that are read by those who stand below this room.

#include "Settings/SettingKey.h"
#include "Settings/vlrSettings.h"
#include "Site/SiteChoices.h"

#include <QtCore/QFileInfo>

namespace vlr {

namespace {

const SettingKey<QString> patientRepository(
    "Velora/Application/PatientRepository", QString(),
    QT_TRANSLATE_NOOP("KnownSettings", "Where patients are kept: sqlite:/path/file or "
                                       "postgresql://user@host/database. Empty: the local file."));

const SettingKey<QString> patientDataGroup(
    "Velora/Application/PatientDataGroup", QString(),
    QT_TRANSLATE_NOOP("KnownSettings",
                      "Group of the system that may read and write files with data of patients. "
                      "Empty: the user alone."));

const SettingKey<int> maxPatientId(
    "Velora/Application/MaxPatientID", 1000000,
    QT_TRANSLATE_NOOP("KnownSettings", "The ids of new patients lie below this number."),
    integerType(0));

class SiteSettings : public SiteChoices {
public:
    SiteSettings() { provide(*this); }

    int patientIdLimit() const override { return maxPatientId.get(); }
    QString patientRepository() const override { return vlr::patientRepository.get(); }
    QString patientDataGroup() const override { return vlr::patientDataGroup.get(); }
    QString patientDataGroupKey() const override { return vlr::patientDataGroup.key(); }
    QString folder() const override { return QFileInfo(Settings::filePath()).path(); }
};

const SiteSettings siteSettings;

} // namespace

} // namespace vlr
