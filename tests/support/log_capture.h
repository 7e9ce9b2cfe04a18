#pragma once

#include <android/log.h>

#include <mutex>
#include <string>
#include <vector>

namespace talvex::test {

// One line as liblog hands it to a logger: libbase's LOG() lines arrive here too.
struct LogLine {
    int priority;
    std::string tag;
    std::string text;
};

// Captures every liblog and libbase line of the process while it lives (one at a time).
// DEBUG and VERBOSE lines are let through, which Debian's liblog drops by default.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Returns a copy of the lines captured so far, in arrival order.
    std::vector<LogLine> lines() const;
    // Returns the texts of the captured lines, in arrival order.
    std::vector<std::string> texts() const;
    // Returns the lines whose text contains `needle`.
    std::vector<LogLine> linesContaining(const std::string& needle) const;
    // Returns how many captured lines contain `needle`.
    size_t count(const std::string& needle) const;
    void clear();

private:
    static void sink(const struct __android_logger_data* data, const char* message);

    mutable std::mutex mMutex;
    std::vector<LogLine> mLines;
};

// Sends every later line to stderr, one per line, as "<priority> <text>", and keeps doing so
// through the process's exit: for own-process cases that check what is logged at unload.
void logToStderrThroughExit();

}  // namespace talvex::test
