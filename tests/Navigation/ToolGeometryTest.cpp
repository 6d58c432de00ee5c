#include "Tools/ToolGeometry.h"

#include "Support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace vlrTest;

namespace {

const QByteArray threeMarkers = "<marker x='0' y='0' z='0'/><marker x='50' y='0' z='0'/>"
                                "<marker x='0' y='35.5' z='-1e1'/>";

QByteArray tool(const QByteArray& content, const QByteArray& attributes = "version='1' name='A'") {
    return "<?xml version='1.0' encoding='UTF-8'?>\n<tool " + attributes + ">" + content +
           "</tool>\n";
}

} // namespace

TEST(ToolGeometry, IsReadFromItsFile) {
    const QString path = testFolder() + QStringLiteral("/pointer.xml");
    writeFile(path, tool(threeMarkers, "version='1' name=' Zeiger &lt;2&gt; \xc3\xa4'"));
    vlr::ToolGeometry geometry;
    ASSERT_EQ(vlr::readToolGeometry(path, geometry), CaError::nullError);
    EXPECT_EQ(geometry.name, "Zeiger <2> \xc3\xa4");
    const std::vector<Vector3d> expected{{0, 0, 0}, {50, 0, 0}, {0, 35.5, -10}};
    EXPECT_EQ(geometry.markers, expected);
}

TEST(ToolGeometry, DamagedFilesAreRefusedWithTheFileAndTheCause) {
    QByteArray deep;
    for (int i = 0; i < 5000; ++i)
        deep += "<a>";
    QByteArray flood = "<marker x='0' y='0' z='0' ";
    for (int i = 0; i < 3000; ++i)
        flood += "a" + QByteArray::number(i) + "='' ";
    const QByteArray marker = "<marker x='1' y='2' z='3'/>";
    const struct {
        const char* what;
        QByteArray bytes;
        const char* cause;
    } cases[] = {
        {"empty", "", "document"},
        {"text", "markers: 3", "line 1"},
        {"another root", "<probe/>", "unexpected element \"probe\""},
        {"cut off", tool(threeMarkers).chopped(20), "line 2"},
        {"too large", tool(threeMarkers) + QByteArray(70000, ' '), "65536"},
        {"document type", "<!DOCTYPE a [<!ENTITY b 'c'>]>" + tool(threeMarkers), "document type"},
        {"not UTF-8", tool(threeMarkers, "version='1' name='\xff'"), "UTF-8"},
        {"deep", tool(deep), "unexpected element \"a\""},
        {"attributes", tool(flood + "/>" + threeMarkers), "more attributes"},
        {"version", tool(threeMarkers, "version='2' name='A'"), "version \"2\""},
        {"no version", tool(threeMarkers, "name='A'"), "no attribute \"version\""},
        {"no name", tool(threeMarkers, "version='1' name='  '"), "name"},
        {"line break in name", tool(threeMarkers, "version='1' name='A&#10;B'"), "name"},
        {"long name", tool(threeMarkers, "version='1' name='" + QByteArray(65, 'a') + "'"), "name"},
        {"unknown attribute", tool("<marker x='0' y='0' z='0' w='0'/>"), "unknown attributes"},
        {"missing coordinate", tool("<marker x='0' y='0'/>"), "no attribute \"z\""},
        {"nan", tool("<marker x='nan' y='0' z='0'/>"), "\"nan\""},
        {"inf", tool("<marker x='0' y='-inf' z='0'/>"), "\"-inf\""},
        {"metres off", tool("<marker x='0' y='0' z='1000.5'/>"), "\"1000.5\""},
        {"comma", tool("<marker x='1,5' y='0' z='0'/>"), "\"1,5\""},
        {"text inside", tool("hello" + threeMarkers), "unexpected text"},
        {"two markers", tool(marker + "<marker x='0' y='2' z='3'/>"), "not 2"},
        {"too many", tool(marker.repeated(33)), "more than 32"},
        {"a line", tool(marker + "<marker x='2' y='4' z='6'/><marker x='3' y='6' z='9'/>"), "line"},
    };
    for (const auto& c : cases) {
        const QString path = testFolder() + QStringLiteral("/bad tool.xml");
        writeFile(path, c.bytes);
        vlr::ToolGeometry geometry{"untouched", {}};
        const CaError error = vlr::readToolGeometry(path, geometry);
        EXPECT_FALSE(error.isNull()) << c.what;
        EXPECT_NE(error.text().find("bad tool.xml"), std::string::npos) << c.what << error;
        EXPECT_NE(error.text().find(c.cause), std::string::npos) << c.what << ": " << error;
        EXPECT_EQ(geometry.name, "untouched") << c.what;
    }
    vlr::ToolGeometry geometry;
    const CaError error = vlr::readToolGeometry(QStringLiteral("/nowhere/a.xml"), geometry);
    EXPECT_NE(error.text().find("/nowhere/a.xml"), std::string::npos) << error;
}
