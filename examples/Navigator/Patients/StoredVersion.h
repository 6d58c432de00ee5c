#pragma once

#include "Data/Patient.h"
#include "Error/CaError.h"

class QWidget;

/// What the user wants where a patient was changed here and stored by somebody else.
enum class Conflict { TakeStored, KeepMine, Leave };
Conflict askAboutConflict(const Patient& patient, QWidget* parent);

/// Stores the patient. Where somebody else stored him since he was loaded, the user is asked:
/// `takesStored` then says that he gives his changes up, and nothing was stored.
CaError storeOrAsk(const DataPointer<Patient>& patient, bool& takesStored);

/// Puts the stored version in the place of the current patient; the study at the same place
/// becomes the current one again.
CaError takeStoredVersion(const DataPointer<Patient>& current);
