#pragma once

#include "Error/CaError.h"
#include "IO/MetaInformation.h"

#include <QtCore/QByteArray>
#include <QtCore/QPair>
#include <QtCore/QSet>
#include <QtCore/QString>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vlr {

/// A patient in the form in which a store keeps it.
struct StoredPatient {
    QString uid; ///< Chosen by the caller; never changes.
    QString patientId;
    QString name;
    int sex = 0;
    QString birthDate; ///< ISO 8601 or empty.
    QByteArray document;
    int revision = 0; ///< As it was loaded; 0 for a new patient. Raised by store().
    /// Key of the item and name of every binary part that belongs to the patient.
    QSet<QPair<QString, QString>> parts;
};

/// The interface of a patient repository; DataIOManager is its user. A second kind of
/// repository is one more class here and one more scheme in open().
class VLR_CORE_EXPORT PatientStore {
public:
    /// Opens the repository at the URL, making an empty one where it is a file that does not
    /// exist. Null, with the reason in `error`, where that is impossible.
    static std::unique_ptr<PatientStore> open(const QString& url, CaError& error);

    /// Opens what is there to read it, as a check does, and changes nothing: no table is made, no
    /// lock file, nothing that lies beside a file is made, written to or brought into it, also
    /// while a program uses it. Null with the reason in `error`; its id is nothingYetError where
    /// nothing was stored so far.
    static std::unique_ptr<PatientStore> look(const QString& url, CaError& error);

    /// What whyUnprotected() of the repository at the URL would say, without opening it.
    static std::string whyUnprotected(const QString& url);

    /// The id of the error that metaInformation() gives for a patient that is not there.
    static const char* const unknownPatientError;
    /// Those of store() for an id that another patient has, and for a patient that was stored or
    /// removed by somebody else since.
    static constexpr const char* idTakenError = "DataIOManager::idTakenError";
    static constexpr const char* changedElsewhereError = "DataIOManager::changedElsewhereError";
    /// That of the error that look() gives for a repository that is to be made.
    static const char* const nothingYetError;

    PatientStore() = default;
    PatientStore(const PatientStore&) = delete;
    PatientStore& operator=(const PatientStore&) = delete;
    virtual ~PatientStore();

    /// Why the repository could be opened for reading only; empty where it can be written to.
    virtual std::string whyReadOnly() const = 0;
    /// Why others on the network may read or change what is stored and loaded, since the URL asks
    /// for less than a server that proves who it is; empty where all is well.
    virtual std::string whyUnprotected() const = 0;
    /// Whether what was opened is no longer what the URL names, or no longer answers.
    virtual bool isTakenAway() const = 0;

    virtual CaError list(std::vector<MetaInformation>& patients) = 0;
    /// The ids of all patients in no order; after a failure those that were read before it.
    virtual CaError patientIds(std::vector<QString>& ids) = 0;
    virtual CaError metaInformation(const QString& uid, MetaInformation& information) = 0;
    /// A document of more than `limit` bytes is refused.
    virtual CaError load(const QString& uid, qint64 limit, StoredPatient& patient) = 0;
    /// Stores the patient and whatever `storeParts` writes with writePart(), all or nothing.
    /// `storeParts` may still change the document and the set of parts. Parts of the patient that
    /// are not in the set are removed; one of the set that is not there is an error. When the
    /// document is the stored one, byte by byte, and no part was written, nothing is stored, and
    /// the revision stays.
    virtual CaError store(StoredPatient& patient, const std::function<CaError()>& storeParts) = 0;
    /// An unknown patient is an error.
    virtual CaError remove(const QString& uid) = 0;
    /// Both name the part in their errors, also where there is not enough memory for it.
    virtual CaError readPart(const QString& uid, const QString& itemKey, const QString& name,
                             qint64 limit, QByteArray& bytes) = 0;
    virtual CaError writePart(const QString& uid, const QString& itemKey, const QString& name,
                              const QByteArray& bytes) = 0;
};

} // namespace vlr
