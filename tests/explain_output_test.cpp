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

// The files talvex-explain writes and its command line: the trace against the Trace Event
// format's rules, the JSON's version, exit codes, gzip and bugreport zip input, progress.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zip.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cli.h"
#include "explain.h"
#include "explain_sample_log.h"
#include "report.h"

namespace talvex::explain {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
namespace fs = std::filesystem;

// Checks `trace` against the Trace Event format; returns the first broken rule, "" if none.
std::string traceViolation(const json& trace) {
    if (!trace.contains("traceEvents") || !trace["traceEvents"].is_array()) return "no traceEvents";
    std::map<std::pair<int, int>, std::vector<std::pair<double, double>>> slices;
    std::map<std::pair<int, int>, int> openB;
    std::map<std::string, int> async;
    for (const json& e : trace["traceEvents"]) {
        if (!e.contains("ph") || !e.contains("pid") || !e["pid"].is_number_integer()) {
            return "event without ph or integer pid: " + e.dump();
        }
        const std::string ph = e["ph"];
        if (ph == "M") {
            const std::string name = e.value("name", "");
            if (name != "process_name" && name != "thread_name") return "metadata " + name;
            if (!e.contains("args") || !e["args"].contains("name") || !e["args"]["name"].is_string())
                return "metadata without args.name";
            continue;
        }
        if (!e.contains("ts") || !e["ts"].is_number() || !e.contains("name") || !e.contains("tid")) {
            return "event without ts, name or tid: " + e.dump();
        }
        const auto thread = std::make_pair(e["pid"].get<int>(), e["tid"].get<int>());
        const double ts = e["ts"];
        if (ph == "X") {
            if (!e.contains("dur") || !e["dur"].is_number() || e["dur"].get<double>() < 0)
                return "X without a non-negative dur";
            slices[thread].emplace_back(ts, ts + e["dur"].get<double>());
        } else if (ph == "B") {
            ++openB[thread];
        } else if (ph == "E") {
            if (--openB[thread] < 0) return "E without B";
        } else if (ph == "i" || ph == "I") {
            const std::string s = e.value("s", "t");
            if (s != "t" && s != "p" && s != "g") return "instant scope " + s;
        } else if (ph == "b" || ph == "e") {
            if (!e.contains("id") || !e.contains("cat")) return "async event without id or cat";
            const std::string key = e["cat"].dump() + e["id"].dump() + e["name"].dump();
            async[key] += ph == "b" ? 1 : -1;
            if (async[key] < 0) return "async end before begin";
        } else {
            return "unexpected phase " + ph;
        }
    }
    for (const auto& [thread, open] : openB) {
        if (open) return "B without E";
    }
    for (const auto& [key, open] : async) {
        if (open) return "async begin without end: " + key;
    }
    for (auto& [thread, list] : slices) {  // complete events on one thread must nest
        std::sort(list.begin(), list.end());
        for (size_t i = 1; i < list.size(); ++i) {
            if (list[i].first < list[i - 1].second && list[i].second > list[i - 1].second)
                return "overlapping X slices on one thread";
        }
    }
    return "";
}

TEST(Trace, FollowsTheTraceEventFormatAndMarksTheStuckFrame) {
    const Analysis a = explainText(test::renderSample("threadtime"));
    std::stringstream text;
    writeTrace(a, text);
    const json trace = json::parse(text.str());
    EXPECT_EQ(traceViolation(trace), "");

    std::vector<std::string> names;
    const json *stuck = nullptr, *wait = nullptr;
    for (const json& e : trace["traceEvents"]) {
        if (e["ph"] == "M") names.push_back(e["args"]["name"]);
        if (e["ph"] == "X" && e["name"] == "frame 5") stuck = &e;
        if (e["ph"] == "X" && e["name"] == "frame 5 waiting after transactionCallback") wait = &e;
    }
    // Frame 5 waits up to the dump, past frame 6's start: frame 6 takes a second track.
    EXPECT_THAT(names, ::testing::ElementsAre("app_process (pid 1234)", "layer 7 \"com.app/Main\"",
                                              "layer 7 \"com.app/Main\" (2)"));
    ASSERT_NE(stuck, nullptr);
    EXPECT_EQ((*stuck)["cat"], "frame,stuck");
    EXPECT_EQ((*stuck)["ts"].get<double>(), 8'400'000.0);  // µs of the monotonic clock
    EXPECT_EQ((*stuck)["dur"].get<double>(), 100'000.0);
    EXPECT_EQ((*stuck)["args"]["stuck_after"], "transactionCallback");
    ASSERT_NE(wait, nullptr);
    EXPECT_EQ((*wait)["tid"], (*stuck)["tid"]);
    EXPECT_EQ((*wait)["ts"].get<double>(), 8'500'000.0);
    EXPECT_EQ((*wait)["dur"].get<double>(), 1'500'000.0);  // until the dump at 10 s
}

TEST(Json, CarriesItsVersionTheDumpsAndTheFindings) {
    std::stringstream text;
    writeJson(explainText(test::renderSample("threadtime")), text);
    const json j = json::parse(text.str());
    EXPECT_EQ(j["version"], kJsonSchemaVersion);
    EXPECT_EQ(j["findings"].size(), 4u);
    EXPECT_EQ(j["findings"][1]["kind"], "stuck-frames");
    EXPECT_EQ(j["blast_dumps"][0]["frame_record"]["layers"][0]["frames"][2]["events"][4]["step"],
              "transactionCallback");
    EXPECT_EQ(j["core_dumps"][0]["slots"].size(), 3u);
}

class Cli : public ::testing::Test {
protected:
    void SetUp() override {
        mDir = fs::temp_directory_path() /
               ("explain_cli_" + std::to_string(getpid()) + "_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(mDir);
    }
    void TearDown() override { fs::remove_all(mDir); }

    std::string file(const std::string& name, const std::string& content) {
        const std::string path = (mDir / name).string();
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
    int run(std::vector<std::string> args, bool terminal = false) {
        args.insert(args.begin(), "talvex-explain");
        std::vector<const char*> argv;
        for (const std::string& a : args) argv.push_back(a.c_str());
        mOut.str("");
        mErr.str("");
        return runExplain(static_cast<int>(argv.size()), argv.data(), mOut, mErr, terminal);
    }

    fs::path mDir;
    std::stringstream mOut, mErr;
};

TEST_F(Cli, ExitCodesSayFindingsNoneUnreadableOrUsage) {
    const std::string stalled = file("stalled.txt", test::renderSample("threadtime"));
    const std::string quiet = file("quiet.txt", "01-02 03:04:05.678  1  2 I foo: bar\n");
    struct Case {
        std::vector<std::string> args;
        int exit;
        std::string err;
    };
    for (const Case& c : {Case{{stalled}, kExitReport, ""}, Case{{quiet}, kExitNothingToReport, ""},
                          Case{{(mDir / "missing.txt").string()},
                               kExitFailed,
                               "missing.txt: cannot open it: No such file or directory"},
                          Case{{mDir.string()}, kExitFailed, "it is a directory"},
                          Case{{}, kExitUsage, "input is required"},
                          Case{{stalled, "--stuck-ms", "-3"}, kExitUsage, "--stuck-ms"},
                          Case{{stalled, "--callback-ms", "nan"}, kExitUsage, "--callback-ms wants"},
                          Case{{stalled, "--json", (mDir / "no/such/dir.json").string()},
                               kExitFailed,
                               "cannot write the JSON"}}) {
        EXPECT_EQ(run(c.args), c.exit) << mErr.str();
        EXPECT_THAT(mErr.str(), HasSubstr(c.err));
    }
}

TEST_F(Cli, ReportsTheStallAndNamesTheFilesItWrote) {
    const std::string input = file("log.txt", test::renderSample("threadtime"));
    const std::string html = (mDir / "r.html").string(), trace = (mDir / "t.json").string();
    EXPECT_EQ(run({input, "--html", html, "--trace", trace}), kExitReport);
    EXPECT_THAT(mOut.str(), HasSubstr("frame 5 stuck after transactionCallback for 1500.0 ms"));
    EXPECT_THAT(mOut.str(), HasSubstr("Trace: " + trace + "\nHTML report: " + html + "\n"));
    EXPECT_TRUE(fs::file_size(html) > 0 && fs::file_size(trace) > 0);
}

TEST_F(Cli, ReadsGzipAndTheMainTextOfABugreportZip) {
    const std::string text = test::renderSample("threadtime");
    const std::string gz = (mDir / "log.txt.gz").string();
    gzFile g = gzopen(gz.c_str(), "wb");
    gzwrite(g, text.data(), static_cast<unsigned>(text.size()));
    gzclose(g);

    const std::string zipPath = (mDir / "bugreport.zip").string();
    int error = 0;
    zip_t* z = zip_open(zipPath.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    ASSERT_NE(z, nullptr);
    const std::string name = "bugreport-x-2026-01-02-03-04-05.txt";
    const std::string other(text.size() * 2, 'x');  // a larger .txt that is not the report
    // libzip reads the buffers at zip_close: they must outlive the loop.
    const std::vector<std::pair<std::string, std::string>> entries = {
        {"main_entry.txt", name}, {name, text}, {"FS/data/big.txt", other}};
    for (const auto& [entry, content] : entries) {
        zip_source_t* src = zip_source_buffer(z, content.data(), content.size(), 0);
        ASSERT_GE(zip_file_add(z, entry.c_str(), src, 0), 0);
    }
    ASSERT_EQ(zip_close(z), 0);

    for (const std::string& input : {gz, zipPath}) {
        EXPECT_EQ(run({input}), kExitReport) << input << mErr.str();
        EXPECT_THAT(mOut.str(), HasSubstr("4 findings")) << input;
    }
    const std::string truncated = file("cut.gz", "");
    g = gzopen(truncated.c_str(), "wb");
    gzwrite(g, text.data(), static_cast<unsigned>(text.size()));
    gzclose(g);
    fs::resize_file(truncated, fs::file_size(truncated) / 2);
    run({truncated});
    EXPECT_THAT(mErr.str(), HasSubstr("the gzip data ends early"));
}

TEST_F(Cli, ProgressOnlyWhenStderrIsATerminal) {
    const std::string input = file("log.txt", test::renderSample("threadtime"));
    run({input}, /*terminal=*/false);
    EXPECT_EQ(mErr.str(), "");
    run({input}, /*terminal=*/true);
    EXPECT_THAT(mErr.str(), HasSubstr("\rtalvex-explain: read 0 MB of 0 MB (100%)"));
}

}  // namespace
}  // namespace talvex::explain
