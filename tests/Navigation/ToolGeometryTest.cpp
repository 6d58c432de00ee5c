#include "Tracking/ToolGeometry.h"

#include "Support/TestEnvironment.h"

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
    const QByteArray marker = "<marker x='1' y='2' z='3'/>";
    const std::tuple<const char*, QByteArray, const char*> cases[] = {
        {"empty", "", "document"},
        {"another root", "<probe/>", "unexpected element \"probe\""},
        {"cut off", tool(threeMarkers).chopped(20), "line 2"},
        {"too large", tool(threeMarkers) + QByteArray(70000, ' '), "65536"},
        {"not UTF-8", tool(threeMarkers, "version='1' name='\xff'"), "UTF-8"},
        {"version", tool(threeMarkers, "version='2' name='A'"), "version \"2\""},
        {"no name", tool(threeMarkers, "version='1' name='  '"), "name"},
        {"line break in name", tool(threeMarkers, "version='1' name='A&#10;B'"), "name"},
        {"long name", tool(threeMarkers, "version='1' name='" + QByteArray(65, 'a') + "'"), "name"},
        {"unknown attribute", tool("<marker x='0' y='0' z='0' w='0'/>"), "unknown attributes"},
        {"missing coordinate", tool("<marker x='0' y='0'/>"), "no attribute \"z\""},
        {"nan", tool("<marker x='nan' y='0' z='0'/>"), "\"nan\""},
        {"metres off", tool("<marker x='0' y='0' z='1000.5'/>"), "\"1000.5\""},
        {"two markers", tool(marker + "<marker x='0' y='2' z='3'/>"), "not 2"},
        {"too many", tool(marker.repeated(33)), "more than 32"},
        {"a line", tool(marker + "<marker x='2' y='4' z='6'/><marker x='3' y='6' z='9'/>"), "line"},
    };
    const QString path = testFolder() + QStringLiteral("/bad tool.xml");
    vlr::ToolGeometry geometry{"untouched", {}};
    for (const auto& [what, bytes, cause] : cases) {
        writeFile(path, bytes);
        const CaError error = vlr::readToolGeometry(path, geometry);
        EXPECT_THAT(error.text(), AllOf(HasSubstr("bad tool.xml"), HasSubstr(cause))) << what;
        EXPECT_EQ(geometry.name, "untouched") << what;
    }
    EXPECT_THAT(vlr::readToolGeometry(QStringLiteral("/nowhere/a.xml"), geometry).text(),
                HasSubstr("/nowhere/a.xml"));
}
