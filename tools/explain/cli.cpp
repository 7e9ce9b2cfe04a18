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

#include "cli.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <fstream>
#include <functional>

#include "dump_parser.h"
#include "explain.h"
#include "input_source.h"
#include "report.h"

namespace talvex::explain {
namespace {

struct Options {
    std::string input;
    std::string json, trace, html;
    double stuckMs = 100, callbackMs = 100;
};

// Writes one requested output file; false (with a message) when it cannot be written.
bool writeFile(const std::string& path, const char* what, std::ostream& err,
               const std::function<void(std::ostream&)>& write) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (file) write(file);
    if (file) file.flush();
    if (!file) {
        err << "talvex-explain: cannot write the " << what << " to " << path
            << ": check the directory exists and is writable\n";
        return false;
    }
    return true;
}

// A progress line on a terminal, redrawn at most four times a second.
class ProgressLine {
public:
    ProgressLine(std::ostream& err, bool enabled) : mErr(err), mEnabled(enabled) {}
    void update(uint64_t done, uint64_t total) {
        if (!mEnabled) return;
        const auto now = std::chrono::steady_clock::now();
        if (mShown && now - mLast < std::chrono::milliseconds(250)) return;
        mLast = now;
        mShown = true;
        mErr << "\rtalvex-explain: read " << done / (1 << 20) << " MB";
        if (total) mErr << " of " << total / (1 << 20) << " MB (" << done * 100 / total << "%)";
        mErr << "\033[K" << std::flush;
    }
    void clear() {
        if (mShown) mErr << "\r\033[K" << std::flush;
    }

private:
    std::ostream& mErr;
    bool mEnabled;
    bool mShown = false;
    std::chrono::steady_clock::time_point mLast;
};

}  // namespace

int runExplain(int argc, const char* const* argv, std::ostream& out, std::ostream& err,
               bool errIsTerminal) {
    CLI::App app{
        "Explains the graphics library's dumps in a logcat or bugreport: stalled frames, "
        "held slots, callbacks that never came back.\n"
        "Exit: 0 no findings, 1 findings, 2 input unreadable or an output file not written, 3 bad "
        "command line.",
        "talvex-explain"};
    Options o;
    app.add_option("input", o.input, "logcat text, - for stdin, .gz, or a bugreport .zip")
        ->required();
    app.add_option("--json", o.json, "write the dumps and findings as JSON to FILE");
    app.add_option("--trace", o.trace, "write a Chrome Trace Event JSON (ui.perfetto.dev) to FILE");
    app.add_option("--html", o.html, "write a self-contained HTML report to FILE");
    app.add_option("--stuck-ms", o.stuckMs, "unreleased this long before the dump: stuck")
        ->capture_default_str()
        ->check(CLI::NonNegativeNumber);
    app.add_option("--callback-ms", o.callbackMs, "pending this long: an old callback")
        ->capture_default_str()
        ->check(CLI::NonNegativeNumber);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        out << app.help();
        return kExitNothingToReport;
    } catch (const CLI::ParseError& e) {
        err << "talvex-explain: " << e.what() << "\nRun talvex-explain --help for usage.\n";
        return kExitUsage;
    }
    // Thresholds become int64 nanoseconds: beyond that (or NaN) they would compare wrongly.
    constexpr double kMaxMs = 9.2e12;
    for (const auto& [name, ms] :
         {std::pair{"--stuck-ms", o.stuckMs}, {"--callback-ms", o.callbackMs}}) {
        if (!(ms >= 0 && ms <= kMaxMs)) {
            err << "talvex-explain: " << name << " wants milliseconds from 0 to 9.2e12, not " << ms
                << "\n";
            return kExitUsage;
        }
    }

    DumpParser parser;
    LineReader reader([&](std::string_view line, size_t dropped) { parser.addLine(line, dropped); });
    ProgressLine progress(err, errIsTerminal);
    const ReadResult read = readInput(
        o.input, reader, [&](uint64_t done, uint64_t total) { progress.update(done, total); });
    progress.clear();
    if (!read.error.empty()) {
        err << "talvex-explain: " << o.input << ": " << read.error << "\n";
        return kExitFailed;
    }
    reader.finish();
    Analysis analysis = parser.finish();
    if (!read.warning.empty()) analysis.warnings.push_back({0, read.warning});
    addFindings(analysis, Thresholds{static_cast<int64_t>(o.stuckMs * 1e6),
                                     static_cast<int64_t>(o.callbackMs * 1e6)});

    writeWarnings(analysis, o.input == "-" ? "<stdin>" : o.input, err);
    writeTextReport(analysis, out);
    bool written = true;
    if (!o.json.empty()) {
        written &= writeFile(o.json, "JSON", err, [&](std::ostream& f) { writeJson(analysis, f); });
    }
    if (!o.trace.empty()) {
        written &=
            writeFile(o.trace, "trace", err, [&](std::ostream& f) { writeTrace(analysis, f); });
    }
    if (!o.html.empty()) {
        written &= writeFile(o.html, "HTML report", err,
                             [&](std::ostream& f) { writeHtml(analysis, o.input, f); });
    }
    for (const auto& [path, what] : {std::pair{o.json, "JSON"}, std::pair{o.trace, "Trace"},
                                     std::pair{o.html, "HTML report"}}) {
        if (!path.empty() && written) out << what << ": " << path << "\n";
    }
    if (!written) return kExitFailed;
    return analysis.findings.empty() ? kExitNothingToReport : kExitReport;
}

}  // namespace talvex::explain
