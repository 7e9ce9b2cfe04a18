#pragma once

#include <cstdint>
#include <string>

namespace talvex::simulator {

// What one run plays, from the command line.
struct Options {
    std::string scenario = "release-stall";
    int layers = 2;
    int fps = 60;
    double seconds = 3.0;
    uint64_t seed = 1;
    std::string buildType = "userdebug";
    std::string outPath;  // empty: stdout only
};

enum class ParseResult { kRun, kHelp, kError };

// Reads `--name=value` or `--name value` arguments into `options`. Returns kHelp for --help,
// kError with a one-line reason in `error` for anything unknown, missing or out of range.
ParseResult parseOptions(int argc, const char* const* argv, Options* options, std::string* error);

// The --help text.
const char* usageText();

}  // namespace talvex::simulator
