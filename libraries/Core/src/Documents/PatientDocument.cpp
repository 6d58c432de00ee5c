#include "Documents/PatientDocument.h"

#include "Data/ChildItem.h"
#include "Data/DataItem.h"
#include "Data/DataTreeNode.h"
#include "Data/ProcessData.h"
#include "Data/Study.h"

namespace vlr {

const TreeLimits patientLimits{qint64(64) << 20, 64, 1000000, 4096};

CaError readPatient(const QByteArray& document, DataPointer<Patient>& patient) {
    createPatientFactory();
    createStudyFactory();
    createDataItemFactory();
    createProcessDataFactory();
    createChildItemFactory();
    DataTreeNode root;
    CaError error = readTree(document, root, patientLimits);
    const DataPointer<Patient> read(new Patient);
    if (error == CaError::nullError)
        error = read->load(root);
    if (error == CaError::nullError)
        patient = read;
    return error;
}

CaError writePatient(const Patient& patient, QByteArray& document) {
    DataTreeNode root;
    return writePatient(patient, root, document);
}

CaError writePatient(const Patient& patient, DataTreeNode& root, QByteArray& document) {
    const CaError error = patient.save(root);
    return error == CaError::nullError ? writeTree(root, document, patientLimits) : error;
}

} // namespace vlr
