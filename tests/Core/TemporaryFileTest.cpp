#include "Settings/vlrSettings.h"
#include "Support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>
#include <utility>

namespace {

bool isSweptAtOnce = false; // what mkdtemp() makes next

} // namespace

// In the place of the system's, for the libraries as well.
extern "C" char* mkdtemp(char* pattern) noexcept {
    using Function = char* (*)(char*);
    static const auto system = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "mkdtemp"));
    char* const path = system(pattern);
    if (path && std::exchange(isSweptAtOnce, false))
        rmdir(path);
    return path;
}

// By another process, which cannot tell that the folder is in use before that is locked.
TEST(TemporaryFile, AFolderThatIsSweptAtOnceIsMadeAnew) {
    isSweptAtOnce = true;
    EXPECT_EQ(vlr::Settings::set(QStringLiteral("Velora/Swept"), 1), CaError::nullError);
    EXPECT_FALSE(isSweptAtOnce);
}
