#pragma once

#include <cstdio>

namespace talvex::simulator {

// Plays libgui around libgui_talvex_utils.so as the command line asks (see --help) and writes
// every log line of the process to `out` (and to --out's file) in logcat's threadtime format.
// Returns the exit code: 0 on success, 2 on a usage error (message on stderr), 1 if the run
// could not be set up. Runs once per process: the library's singletons live with it.
int runSimulator(int argc, const char* const* argv, FILE* out);

}  // namespace talvex::simulator
