#pragma once

#include <cstdio>

namespace talvex::simulator {

// Drives libgui_talvex_utils exactly as libgui does, through the hook getters only, and writes
// the log it produces to `out` in logcat format. Returns the process exit code: 0 on success,
// 2 on a usage error (message on stderr).
int runSimulator(int argc, char** argv, FILE* out);

}  // namespace talvex::simulator
