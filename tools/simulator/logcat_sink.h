#pragma once

#include <cstdio>

namespace talvex::simulator {

// Routes every liblog and libbase line of the process to `out` in logcat's threadtime format
// ("MM-DD HH:MM:SS.mmm  PID  TID P TAG: text"), the form the dump tools read. DEBUG included.
void logToLogcatFormat(FILE* out);

}  // namespace talvex::simulator
