/*
 * Copyright (C) 2026 The libgui_talvex_utils Authors
 *
 * Licensed under the Apache License, Version 2.0 (the "License");
 * you may not use this file except in compliance with the License.
 * You may obtain a copy of the License at
 *
 *      http://www.apache.org/licenses/LICENSE-2.0
 *
 * Unless required by applicable law or agreed to in writing, software
 * distributed under the License is distributed on an "AS IS" BASIS,
 * WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
 * See the License for the specific language governing permissions and
 * limitations under the License.
 */

#pragma once

// The simulator program started as `make run` starts it, its screen and its `--out` file read
// back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace talvex::test {

struct SimulatorRun {
    int exitCode = -1;
    std::string stdoutText;
    std::string stderrText;
    std::string outText;                  // what `--out` wrote
    std::vector<std::string> lines;       // log lines without time, pid and tid: "I Tag: text"
    std::vector<std::string> otherLines;  // stdout lines not in logcat's format

    bool helperAnswered() const {
        return find("createTalvexBufferQueueHelperFactory success") >= 0;
    }
    // The index of the first line at or after `from` holding `text`; -1 if none or `from` < 0.
    int find(const std::string& text, int from = 0) const {
        for (int i = from; from >= 0 && i < static_cast<int>(lines.size()); ++i) {
            if (lines[i].find(text) != std::string::npos) return i;
        }
        return -1;
    }
    // The groups of the last line in which `pattern` is found; all "" when no line has it.
    std::vector<std::string> last(const std::string& pattern) const {
        const std::regex re(pattern);
        std::vector<std::string> found(re.mark_count() + 1);
        std::smatch candidate;
        for (const auto& line : lines) {
            if (std::regex_search(line, candidate, re)) {
                for (size_t i = 0; i < found.size(); ++i) found[i] = candidate[i];
            }
        }
        return found;
    }
};

inline std::string readFile(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// A fresh file name: the cases of one binary run in parallel.
inline std::string tempPath(const char* name) {
    std::string path = testing::TempDir() + name + "XXXXXX";
    const int fd = mkstemp(path.data());
    if (fd >= 0) close(fd);
    return path;
}

// `environment`: "NAME=value ..." for the simulator's environment.
inline SimulatorRun runSimulator(const std::string& args, const std::string& environment = "") {
    const std::string errPath = tempPath("simulator_stderr_");
    const std::string outPath = tempPath("simulator_out_");
    const std::string command = (environment.empty() ? "" : "env " + environment + " ") +
                                std::string(TALVEX_SIMULATOR_PATH) + " " + args + " --out " +
                                outPath + " 2>" + errPath;
    SimulatorRun run;
    if (FILE* pipe = popen(command.c_str(), "r"); pipe != nullptr) {
        char buffer[1 << 16];
        while (fgets(buffer, sizeof(buffer), pipe) != nullptr) run.stdoutText += buffer;
        const int status = pclose(pipe);
        run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    run.stderrText = readFile(errPath);
    run.outText = readFile(outPath);
    unlink(errPath.c_str());
    unlink(outPath.c_str());
    static const std::regex kLine(R"(^\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} +\d+ +\d+ ([VDIWEF] .*)$)");
    std::istringstream lines(run.stdoutText);
    for (std::string line; std::getline(lines, line);) {
        std::smatch parts;
        if (std::regex_match(line, parts, kLine)) {
            run.lines.push_back(parts[1]);
        } else {
            run.otherLines.push_back(line);
        }
    }
    return run;
}

// A run that ended well: exit 0, nothing from a sanitizer, only log lines, the closing line.
inline void expectCleanRun(const SimulatorRun& run, const std::string& scenario) {
    EXPECT_EQ(0, run.exitCode) << run.stderrText;
    EXPECT_THAT(run.stderrText, testing::Not(testing::HasSubstr("Sanitizer")));
    EXPECT_THAT(run.otherLines, testing::IsEmpty());
    EXPECT_THAT(run.lines, testing::Contains("I TalvexSimulator: scenario " + scenario + " over"));
}

// A callback the first listener dump at or after line `from` lists as pending: its age in
// microseconds and the index of its line.
struct PendingCallback {
    long ageUs;
    int line;
};
inline std::map<std::string, PendingCallback> pendingCallbacks(const SimulatorRun& run, int from) {
    std::map<std::string, PendingCallback> pending;
    const std::regex re(R"(CallbackId: \((\d+),complete,\d+/-(\d+)ms(\d+)us\d+\))");
    const int start = run.find("---Dump Current Process All Callback START", from);
    const int end = run.find("---Dump Current Process All Callback Over", start);
    for (int i = start; start >= 0 && i < end; ++i) {
        std::smatch found;
        if (std::regex_search(run.lines[i], found, re)) {
            pending[found[1]] = {std::stol(found[2]) * 1000 + std::stol(found[3]), i};
        }
    }
    return pending;
}

}  // namespace talvex::test
