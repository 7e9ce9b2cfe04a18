#pragma once

#include <cstdio>

namespace talvex::simulator {

// Routes every liblog and libbase line of the process to `out` in logcat's threadtime format
// ("MM-DD HH:MM:SS.mmm  PID  TID P TAG: text"), the form the dump tools read. DEBUG included.
// Each line also goes to `copy` when it is not null. Call it while no other thread logs.
void logToLogcatFormat(FILE* out, FILE* copy = nullptr);

// Lines logged after this (during unload) print the program name as their tag: liblog's default
// tag, which they carry, may already be destroyed by then.
void stopReadingTags();

}  // namespace talvex::simulator
