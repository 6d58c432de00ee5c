#include "ClassId/StringMixer.h"
#include "Stream/QtStream.h"

#include <gtest/gtest.h>
#include <sstream>

using _vlr::StringMixer;

TEST(StringMixer, ComparesByText) {
    const StringMixer patient("Patient");
    EXPECT_EQ(patient, StringMixer(QStringLiteral("Patient")));
    EXPECT_EQ(std::string("Patient"), patient);
    EXPECT_NE(patient, StringMixer("patient"));
    EXPECT_NE(patient, StringMixer());
    EXPECT_LT(StringMixer("Data"), patient);
    EXPECT_EQ(StringMixer(static_cast<const char*>(nullptr)), StringMixer());
    EXPECT_EQ(StringMixer().hash(), StringMixer("").hash());
}

TEST(QtStream, WritesUtf8AndIsoDates) {
    std::ostringstream stream;
    stream << QString::fromUtf8("Ångström") << '|' << QDate(2024, 2, 29) << '|' << QDate();
    EXPECT_EQ(stream.str(), "Ångström|2024-02-29|");
}
