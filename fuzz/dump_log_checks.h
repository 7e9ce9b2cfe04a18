// Checks of the dump text as it reaches the log, for the hook-interface fuzzer: every dump
// opened is closed, in order, and none is nested in another.
#pragma once

#include <string>
#include <vector>

#include "support/log_capture.h"

namespace talvex::fuzz {

// Returns what is wrong with the core dumps among `lines` (each opened and closed, never
// nested: they run on the caller's thread only), or an empty string.
std::string checkCoreDumps(const std::vector<test::LogLine>& lines);

// Returns what is wrong with the BLAST dumps of the queue named `queueName` among `lines` (each
// whole, in order: start line, queue state, record, callbacks; `expected` of them), or an empty
// string.
std::string checkBlastDumps(const std::vector<test::LogLine>& lines, const std::string& queueName,
                            int expected);

}  // namespace talvex::fuzz
