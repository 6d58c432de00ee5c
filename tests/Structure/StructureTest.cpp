// Holds the sources against the rooms that ARCHITECTURE.md shows.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;
using Graph = std::map<std::string, Names>; // whom each one includes

constexpr int mostFiles = 60; // of a room
constexpr int mostLines = 500;

std::vector<std::string> linesOf(const fs::path& file) {
    std::ifstream stream(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::string roomOf(const std::string& name) {
    return fs::path(name).parent_path().string();
}

// The header and the source of one name are one thing.
std::string unitOf(const std::string& name) {
    return fs::path(name).replace_extension().string();
}

/// What is in `source`, by "Library/Room/File.h", whatever folder below `root` it is in.
std::map<std::string, fs::path> sourcesOf(const fs::path& root) {
    std::map<std::string, fs::path> files;
    const std::regex place("(?:libraries/(\\w+)/src|examples/(\\w+))/(.*\\.(?:h|cpp|cpp\\.in))");
    for (const char* top : {"libraries", "examples"})
        for (const auto& entry : fs::recursive_directory_iterator(root / top)) {
            const std::string path = fs::relative(entry.path(), root).generic_string();
            std::smatch match;
            if (std::regex_match(path, match, place))
                files[match.str(1) + match.str(2) + "/" + match.str(3)] = entry.path();
        }
    return files;
}

/// The rows "| `room` | `room`, `room` |" of a text.
Graph tableIn(const fs::path& document) {
    Graph table;
    const std::regex name("`([A-Z][\\w/]*)`");
    bool isInTable = false;
    for (const std::string& line : linesOf(document)) {
        isInTable =
            line.rfind("| room | may include |", 0) == 0 || (isInTable && line.rfind("|", 0) == 0);
        std::string room;
        for (std::sregex_iterator i(line.begin(), line.end(), name), end; isInTable && i != end;
             ++i)
            if (room.empty())
                table[room = (*i)[1].str()];
            else
                table[room].insert((*i)[1].str());
    }
    return table;
}

// Found as the compiler finds it: below the own library's folder, or else another one's.
std::string resolve(const std::string& includer, const std::string& path,
                    const std::map<std::string, fs::path>& files) {
    const std::string library = includer.substr(0, includer.find('/'));
    for (const std::string& folder :
         {roomOf(includer), library, std::string("Gui"), std::string("Navigation"),
          std::string("Core"), std::string("Numerics"), std::string("Base")})
        if (files.count(folder + "/" + path))
            return folder + "/" + path;
    return {};
}

bool mayInclude(const Graph& table, const std::string& room, const std::string& other) {
    const auto row = table.find(room);
    const std::string library = other.substr(0, other.find('/'));
    return room == other || other == room.substr(0, room.find('/')) ||
           (row != table.end() && (row->second.count(other) || row->second.count(library)));
}

void walk(const Graph& graph, const std::string& unit, std::vector<std::string>& way, Names& done,
          std::vector<std::string>& complaints) {
    const auto again = std::find(way.begin(), way.end(), unit);
    if (again != way.end()) {
        std::string text = "circle:";
        for (auto i = again; i != way.end(); ++i)
            text += " " + *i;
        complaints.push_back(text);
    }
    if (!done.insert(unit).second)
        return;
    way.push_back(unit);
    if (const auto node = graph.find(unit); node != graph.end())
        for (const std::string& next : node->second)
            walk(graph, next, way, done, complaints);
    way.pop_back();
}

std::vector<std::string> complaintsAbout(const fs::path& root) {
    const Graph table = tableIn(root / "ARCHITECTURE.md");
    const auto files = sourcesOf(root);
    const std::regex include("\\s*#\\s*include\\s*[\"<]([^\">]+)[\">].*");
    std::vector<std::string> complaints;
    std::map<std::string, int> counts;
    Graph graph;
    for (const auto& [name, path] : files) {
        const std::string room = roomOf(name);
        const std::vector<std::string> lines = linesOf(path);
        if (++counts[room] == mostFiles + 1)
            complaints.push_back("more than 60 files: " + room);
        if (lines.size() > mostLines)
            complaints.push_back("more than 500 lines: " + name);
        for (const std::string& line : lines) {
            std::smatch match;
            if (line.find("include") == std::string::npos ||
                !std::regex_match(line, match, include))
                continue;
            const std::string other = resolve(name, match.str(1), files);
            if (!other.empty() && !mayInclude(table, room, roomOf(other)))
                complaints.push_back("arrow: " + name + " -> " + other);
            if (!other.empty() && unitOf(other) != unitOf(name))
                graph[unitOf(name)].insert(unitOf(other));
        }
    }
    Names done;
    std::vector<std::string> way;
    for (const auto& node : graph)
        walk(graph, node.first, way, done, complaints);
    return complaints;
}

class PlantedTree : public testing::Test {
protected:
    PlantedTree() {
        add("ARCHITECTURE.md",
            "| room | may include |\n|---|---|\n| `Gui/High` | `Gui/Low`, `Core` |\n"
            "\n| `Gui/Low` | `Gui/High` |\n");
        add("examples/Own/main.cpp", "");
        add("libraries/Core/src/Deep/Depth.h", "");
        add("libraries/Gui/src/High/Top.h", "#include \"Low/Base.h\"\n#include <Deep/Depth.h>\n");
        add("libraries/Gui/src/Low/Base.h", "#include <Qt>\n#include \"Low/Unknown.h\"\n");
    }
    ~PlantedTree() override { fs::remove_all(m_root); }

    void add(const std::string& path, const std::string& text) {
        fs::create_directories((m_root / path).parent_path());
        std::ofstream(m_root / path) << text;
    }
    std::vector<std::string> complaints() { return complaintsAbout(m_root); }

private:
    static fs::path makeFolder() {
        std::string name = testing::TempDir() + "structure-XXXXXX";
        return mkdtemp(name.data()) ? name : throw std::runtime_error("no temporary folder");
    }

    const fs::path m_root = makeFolder();
};

using testing::ElementsAre;
using testing::IsEmpty;

TEST(StructureTest, theSourcesAreAsTheTableSays) {
    EXPECT_GT(tableIn(fs::path(VLR_SOURCE_TREE) / "ARCHITECTURE.md").size(), 20U);
    EXPECT_GT(sourcesOf(VLR_SOURCE_TREE).size(), 400U);
    EXPECT_THAT(complaintsAbout(VLR_SOURCE_TREE), IsEmpty());
}

TEST_F(PlantedTree, isAsTheTableSays) {
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(PlantedTree, tellsArrowsAndCirclesThroughSources) {
    add("libraries/Gui/src/Low/Base.cpp", "#include \"Low/Base.h\"\n# include \"High/Top.h\" //\n");
    add("libraries/Core/src/Deep/Depth.cpp", "#include \"Low/Base.h\"\n");
    EXPECT_THAT(complaints(), ElementsAre("arrow: Core/Deep/Depth.cpp -> Gui/Low/Base.h",
                                          "arrow: Gui/Low/Base.cpp -> Gui/High/Top.h",
                                          "circle: Core/Deep/Depth Gui/Low/Base Gui/High/Top",
                                          "circle: Gui/Low/Base Gui/High/Top"));
}

TEST_F(PlantedTree, tellsWhatIsTooLarge) {
    for (int i = 0; i < mostFiles; ++i)
        add("examples/Own/Room/File" + std::to_string(i) + ".cpp", "");
    std::string lines(mostLines, '\n');
    add("examples/Own/main.cpp", lines);
    EXPECT_THAT(complaints(), IsEmpty());
    add("examples/Own/main.cpp", lines + "\n");
    add("examples/Own/Room/OneMore.h", "");
    EXPECT_THAT(complaints(),
                ElementsAre("more than 60 files: Own/Room", "more than 500 lines: Own/main.cpp"));
}

} // namespace
