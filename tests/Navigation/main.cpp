#include "Support/TestEnvironment.h"

int main(int argc, char** argv) {
    return vlrTest::runTests(argc, argv);
}
