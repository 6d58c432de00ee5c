#pragma once

namespace vlrTest {

/// What a program is started with. It has to be there as long as the application object.
struct CommandLine {
    int count = 1;
    char name[9] = "vlrTests";
    char* words[2] = {name, nullptr};
};

} // namespace vlrTest
