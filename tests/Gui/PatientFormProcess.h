#pragma once

namespace vlrTest {

/// What a second workstation does: shows the form of a new patient, says "ready", and accepts it
/// when a line comes in. Where the id is taken it says "offered" with the next one, takes that and
/// accepts again. Ends with "stored" and the id.
int runPatientForm(int argc, char** argv);

} // namespace vlrTest
