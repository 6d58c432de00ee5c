#include "RegisterRecords.h"

#include "Support/RecordChecks.h"

#include <gtest/gtest.h>

TEST(NavigatorRecords, KeepEveryAttribute) {
    registerRecords();
    EXPECT_GE(Data::getFactory().size(), 2U);
    vlrTest::checkRegisteredRecords();
}
