#include "ClassId/StringMixer.h"
#include "Stream/QtStream.h"

#include <gtest/gtest.h>
#include <sstream>

using _vlr::StringMixer;

TEST(StringMixer, ComparesByText) {
    EXPECT_EQ(StringMixer("Patient"), StringMixer(QStringLiteral("Patient")));
    EXPECT_NE(StringMixer("Patient"), StringMixer("patient"));
    EXPECT_EQ(StringMixer(static_cast<const char*>(nullptr)), StringMixer());
}

TEST(QtStream, WritesUtf8AndIsoDates) {
    std::ostringstream stream;
    stream << QString::fromUtf8("Ångström") << '|' << QDate(2024, 2, 29) << '|' << QDate();
    EXPECT_EQ(stream.str(), "Ångström|2024-02-29|");
}
