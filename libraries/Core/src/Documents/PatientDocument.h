#pragma once

#include "Data/Patient.h"
#include "Documents/TreeXml.h"

namespace vlr {

/// What the document of a patient may hold.
extern const TreeLimits patientLimits;

/// Gives a new Patient. It has no place in the repository yet.
CaError readPatient(const QByteArray& document, DataPointer<Patient>& patient);
/// Writes the patient without its binary parts; what could not be read again is refused.
CaError writePatient(const Patient& patient, QByteArray& document);
/// The same, with the tree that was written.
CaError writePatient(const Patient& patient, DataTreeNode& root, QByteArray& document);

} // namespace vlr
