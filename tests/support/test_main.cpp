// The main of every host test binary: gtest's, with a liblog logger that never reads a line's
// tag installed first. Debian's liblog keeps its default tag in a static string that is destroyed
// before the library's unload lines (the hook module's exit line); its own stderr logger would read it.
#include <gtest/gtest.h>

#include "support/log_capture.h"

int main(int argc, char** argv) {
    talvex::test::logToStderrThroughExit();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
