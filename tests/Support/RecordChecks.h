#pragma once

#include "Data/Data.h"
#include "Data/DataTreeNode.h"

#include <functional>
#include <vector>

namespace vlrTest {

/// The item as it is stored; a test failure where it cannot be.
DataTreeNode saved(const Data& item);

/// Fails unless every class in Data::getFactory() stores and reads each of its attributes: another
/// value comes back from the stored text, one that is missing or malformed leaves the member as it
/// is, and what was loaded is stored as the same text again. The text alone says what other values
/// there are, so that a new record needs no line here.
void checkRegisteredRecords();

/// One accessor of a record for its sub-record.
struct SubRecordAccess {
    std::function<DataPointer<Data>()> makeOwner;
    std::function<DataPointer<Data>(Data&)> access;
};

/// Fails unless each accessor makes its sub-record once, and puts one in the place of a child of
/// another class.
void checkSubRecords(const std::vector<SubRecordAccess>& accesses);

} // namespace vlrTest
