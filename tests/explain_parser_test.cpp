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

// The dumps rebuilt from logs in every logcat format and encoding, and bad input survived.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

#include "explain.h"
#include "explain_sample_log.h"
#include "line_reader.h"

namespace talvex::explain {
namespace {

using test::Encoding;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

// Kind, layer and frames of each finding: what must not depend on the log's format.
std::vector<std::string> findingKeys(const Analysis& a) {
    std::vector<std::string> keys;
    for (const Finding& f : a.findings) {
        std::string key = f.kind + " " + f.layer;
        for (uint64_t frame : f.frames) key += " " + std::to_string(frame);
        keys.push_back(key);
    }
    return keys;
}

const std::vector<std::string> kSampleFindings = {
    "producer-starved com.app/Main#0 6 5 7",
    "stuck-frames layer 7 \"com.app/Main\" 5",
    "old-callbacks com.app/Main",
    "unreleased-buffers com.app/Main#0 5",
};

struct FormatCase {
    std::string format;
    Encoding encoding;
    bool hasPid;
};

std::string formatCaseName(const ::testing::TestParamInfo<FormatCase>& info) {
    static const char* kEncodings[] = {"utf8", "crlf", "utf16"};
    std::string name = info.param.format + "_" + kEncodings[static_cast<int>(info.param.encoding)];
    for (char& c : name) {
        if (c == ' ' || c == '=') c = '_';  // the uid and color modifiers
    }
    return name;
}

class EveryFormat : public ::testing::TestWithParam<FormatCase> {};

TEST_P(EveryFormat, FindsTheSameStallWithForeignLinesBetween) {
    const Analysis a = explainText(test::renderSample(GetParam().format, GetParam().encoding));
    EXPECT_EQ(findingKeys(a), kSampleFindings);
    ASSERT_EQ(a.coreDumps.size(), 1u);
    ASSERT_EQ(a.blastDumps.size(), 1u);
    EXPECT_TRUE(a.coreDumps[0].complete);
    EXPECT_TRUE(a.blastDumps[0].complete);
    EXPECT_EQ(a.blastDumps[0].origin.pid, GetParam().hasPid ? test::kSamplePid : -1);
    EXPECT_EQ(a.triggers.size(), 1u);
    EXPECT_EQ(a.limiters.size(), 1u);
    EXPECT_EQ(a.compositorLines.size(), 1u);
    if (GetParam().format == "raw") {
        ASSERT_EQ(a.warnings.size(), 1u);
        EXPECT_THAT(a.warnings[0].text, HasSubstr("no logcat header recognised"));
    } else {
        EXPECT_TRUE(a.warnings.empty()) << a.warnings[0].line << ": " << a.warnings[0].text;
        const std::string expected = GetParam().format == "long"  ? "long"
                                     : GetParam().format == "tag" ? "tag"
                                                                  : "";
        if (!expected.empty()) {
            EXPECT_EQ(a.format, expected);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Logcat, EveryFormat,
    ::testing::Values(
        FormatCase{"threadtime", Encoding::kUtf8, true},
        FormatCase{"threadtime", Encoding::kUtf8Crlf, true},
        FormatCase{"threadtime", Encoding::kUtf16le, true},
        FormatCase{"year", Encoding::kUtf8, true}, FormatCase{"usec", Encoding::kUtf8, true},
        FormatCase{"epoch", Encoding::kUtf8, true}, FormatCase{"monotonic", Encoding::kUtf8, true},
        FormatCase{"zone", Encoding::kUtf8, true}, FormatCase{"uid", Encoding::kUtf8, true},
        FormatCase{"time", Encoding::kUtf8, true}, FormatCase{"time", Encoding::kUtf16le, true},
        FormatCase{"brief", Encoding::kUtf8, true}, FormatCase{"process", Encoding::kUtf8, true},
        FormatCase{"tag", Encoding::kUtf8, false}, FormatCase{"thread", Encoding::kUtf8, true},
        FormatCase{"raw", Encoding::kUtf8Crlf, false}, FormatCase{"long", Encoding::kUtf8, true},
        FormatCase{"long", Encoding::kUtf16le, true},
        FormatCase{"threadtime uid=shell", Encoding::kUtf8, true},
        FormatCase{"zone uid=u0_a123", Encoding::kUtf8, true},
        FormatCase{"time uid", Encoding::kUtf8, true},
        FormatCase{"time uid=shell", Encoding::kUtf8, true},
        FormatCase{"brief uid", Encoding::kUtf8, true},
        FormatCase{"brief uid=shell", Encoding::kUtf8, true},
        FormatCase{"process uid", Encoding::kUtf8, true},
        FormatCase{"process uid=shell", Encoding::kUtf8, true},
        FormatCase{"thread uid", Encoding::kUtf8, true},
        FormatCase{"thread uid=shell", Encoding::kUtf8, true},
        FormatCase{"long uid", Encoding::kUtf8, true},
        FormatCase{"long uid=shell", Encoding::kUtf8, true},
        FormatCase{"threadtime color", Encoding::kUtf8, true},
        FormatCase{"brief uid color", Encoding::kUtf8, true},
        FormatCase{"long uid=root color", Encoding::kUtf16le, true}),
    formatCaseName);

TEST(DumpParser, RebuildsCoreSlotsBlastStateFrameRecordAndListener) {
    const Analysis a = explainText(test::renderSample("threadtime"));
    ASSERT_EQ(a.coreDumps.size(), 1u);
    const CoreDump& core = a.coreDumps[0];
    EXPECT_EQ(core.name, test::kSampleQueue);
    EXPECT_EQ(core.creatorPid, 1234u);
    EXPECT_EQ(core.maxDequeued, 2);
    std::vector<std::string> slots;
    for (const SlotState& s : core.slots) {
        slots.push_back(std::to_string(s.slot) + (s.acquired ? ">" : " ") + s.state + " f" +
                        std::to_string(s.frame) + " " + std::to_string(s.width) + "x" +
                        std::to_string(s.height) + " " + s.buffer);
    }
    EXPECT_THAT(slots, ElementsAre("0>ACQUIRED f6 1080x2340 0x5000", "1 QUEUED f5 1080x2340 0x5100",
                                   "2 DEQUEUED f7 0x0 (nil)"));

    ASSERT_EQ(a.blastDumps.size(), 1u);
    const BlastDump& d = a.blastDumps[0];
    EXPECT_EQ(d.nowTime, 10'000'000'000);
    EXPECT_EQ(d.blast.surfaceControlName, test::kSampleSurface);
    ASSERT_EQ(d.blast.submitted.size(), 2u);
    EXPECT_EQ(d.blast.submitted[0].id, (ReleaseId{false, 76, 5}));
    EXPECT_EQ(d.blast.submitted[0].slot, 1);
    ASSERT_EQ(d.blast.pendingTransactions.size(), 1u);
    EXPECT_EQ(d.blast.pendingTransactions[0].first, 6u);
    EXPECT_THAT(d.blast.syncedFrames, ElementsAre(3u));
    ASSERT_EQ(d.blast.surfacesWithPendingCallback.size(), 1u);
    EXPECT_EQ(d.blast.surfacesWithPendingCallback[0].first, test::kSampleSurface);

    ASSERT_TRUE(d.record.has_value());
    ASSERT_EQ(d.record->layers.size(), 1u);
    const FrameRecordLayer& layer = d.record->layers[0];
    EXPECT_EQ(layer.id, test::kSampleLayerId);
    EXPECT_EQ(layer.layerHandle, "0x0");
    std::vector<std::string> frames;
    for (const FrameRecordFrame& f : layer.frames) {
        frames.push_back(std::to_string(f.number) + (f.synced ? " synced " : " normal ") +
                         std::to_string(f.events.size()) + " last " +
                         frameTypeName(f.events.back().type));
    }
    EXPECT_THAT(frames, ElementsAre("3 synced 6 last releaseBufferCallback",
                                    "4 normal 6 last releaseBufferCallback",
                                    "5 normal 5 last transactionCallback",
                                    "6 normal 2 last acquireNextBuffer"));

    ASSERT_TRUE(d.listener.has_value());
    ASSERT_EQ(d.listener->callbacks.size(), 2u);
    EXPECT_EQ(d.listener->callbacks[0].id, 42);
    EXPECT_TRUE(d.listener->callbacks[0].onComplete);
    EXPECT_EQ(d.listener->callbacks[0].addTime, 8'400'000'000);
    ASSERT_EQ(d.listener->callbacks[0].surfaces.size(), 1u);
    EXPECT_EQ(d.listener->callbacks[0].surfaces[0].name, test::kSampleSurface);
    EXPECT_FALSE(d.listener->callbacks[1].onComplete);
    EXPECT_TRUE(d.listener->callbacks[1].surfaces.empty());
    ASSERT_EQ(d.listener->releases.size(), 1u);
    EXPECT_EQ(d.listener->releases[0].id, (ReleaseId{false, 77, 6}));

    EXPECT_EQ(a.compositorLines[0].layerId, 7);
    EXPECT_TRUE(a.triggers[0].enableCallback);
}

TEST(Findings, NameTheStuckStepItsAgeAndTheEvidenceLines) {
    const Analysis a = explainText(test::renderSample("threadtime"));
    ASSERT_EQ(a.findings.size(), 4u);
    EXPECT_EQ(a.findings[1].summary,
              "layer 7 \"com.app/Main\": 1 frame not released: frame 5 stuck after "
              "transactionCallback for 1500.0 ms");
    EXPECT_THAT(a.findings[1].evidence, ElementsAre(test::sampleLineOf("  FrameNumber:5 ")));
    EXPECT_EQ(a.findings[2].summary,
              "\"com.app/Main\": transaction callbacks never came back: callback 42 (complete) "
              "pending for 1600.0 ms");
    EXPECT_THAT(a.findings[2].evidence, ElementsAre(test::sampleLineOf("CallbackId: (42,")));
    EXPECT_THAT(a.findings[0].summary, HasSubstr("no free slot"));
    EXPECT_THAT(a.findings[3].evidence, ElementsAre(test::sampleLineOf("Id:bufferId:76"),
                                                    test::sampleLineOf("ReleaseCallbackId: [")));
}

TEST(Findings, ThresholdsDecideWhichFramesAndCallbacksCount) {
    struct Case {
        int64_t stuckMs, callbackMs;
        std::vector<uint64_t> stuckFrames;
        size_t oldCallbackLines;
        std::vector<uint64_t> unreleased;  // a release may still be on its way to a young frame
    };
    for (const Case& c :
         {Case{100, 100, {5}, 1, {5}}, Case{10, 10, {5, 6}, 2, {5}}, Case{2000, 2000, {}, 0, {}}}) {
        const Analysis a = explainText(test::renderSample("threadtime"),
                                       Thresholds{c.stuckMs * 1'000'000, c.callbackMs * 1'000'000});
        std::vector<uint64_t> stuck, unreleased;
        size_t callbacks = 0;
        for (const Finding& f : a.findings) {
            if (f.kind == "stuck-frames") stuck = f.frames;
            if (f.kind == "old-callbacks") callbacks += f.evidence.size();
            if (f.kind == "unreleased-buffers") unreleased = f.frames;
        }
        EXPECT_EQ(unreleased, c.unreleased) << "stuck after " << c.stuckMs << " ms";
        EXPECT_EQ(stuck, c.stuckFrames) << "stuck after " << c.stuckMs << " ms";
        EXPECT_EQ(callbacks, c.oldCallbackLines) << "old after " << c.callbackMs << " ms";
    }
}

TEST(Findings, StepLatenciesPerLayer) {
    const Analysis a = explainText(test::renderSample("threadtime"));
    ASSERT_EQ(a.latencies.size(), 1u);
    std::vector<std::string> steps;
    for (const StepLatency& s : a.latencies[0].steps) {
        steps.push_back(s.from + ">" + s.to + " n" + std::to_string(s.samples) + " " +
                        std::to_string(s.median / 1000) + "/" + std::to_string(s.p90 / 1000) + "/" +
                        std::to_string(s.max / 1000));
    }
    // Frames 3, 4, 5 (and 6 for the first step); times in microseconds.
    EXPECT_THAT(
        steps, ElementsAre("available>acquire n4 1000/5000/5000", "acquire>apply n3 1000/1000/1000",
                           "apply>commit n3 7000/9000/9000", "commit>complete n3 16000/90000/90000",
                           "complete>release n2 10000/10000/10000"));
}

// Cuts the sample after the line holding `needle`.
std::string sampleCutAfter(const std::string& needle) {
    const std::string text = test::renderSample("threadtime");
    return text.substr(0, text.find('\n', text.find(needle)) + 1);
}

TEST(DumpParser, TruncatedDumpsKeepWhatWasReadAndSayWhereTheyStart) {
    struct Case {
        std::string cutAfter;
        std::string warning;
        size_t framesKept;
        // No claim rests on what was cut away: no starved producer from a core dump without its
        // free slots, no unreleased buffer without the release list.
        std::vector<std::string> findings;
    };
    const uint64_t blastStart = test::sampleLineOf("Start, nowTime");
    const uint64_t coreStart = test::sampleLineOf("---dumpBbqStateDirectly:");
    for (const Case& c : {Case{"FrameNumber:4 ", "BLAST dump", 2, {kSampleFindings[0]}},
                          Case{"CallbackId: (42,",
                               "BLAST dump",
                               4,
                               {kSampleFindings[0], kSampleFindings[1], kSampleFindings[2]}},
                          Case{"state=QUEUED", "core dump", 0, {}}}) {
        const Analysis a = explainText(sampleCutAfter(c.cutAfter));
        EXPECT_EQ(findingKeys(a), c.findings) << c.cutAfter;
        ASSERT_FALSE(a.warnings.empty()) << c.cutAfter;
        const Warning& w = a.warnings.back();
        EXPECT_EQ(w.line, c.warning == "core dump" ? coreStart : blastStart);
        EXPECT_THAT(w.text, HasSubstr("the " + c.warning +
                                      " of \"com.app/Main#0\" that starts "
                                      "here is cut short (its end line is missing)"));
        if (c.framesKept) {
            ASSERT_EQ(a.blastDumps.size(), 1u);
            EXPECT_FALSE(a.blastDumps[0].complete);
            EXPECT_EQ(a.blastDumps[0].record->layers[0].frames.size(), c.framesKept);
        } else {
            ASSERT_EQ(a.coreDumps.size(), 1u);
            EXPECT_EQ(a.coreDumps[0].slots.size(), 2u);
        }
    }
}

TEST(DumpParser, EditedCopiesOfALogKeepItsFindings) {
    const std::string text = test::renderSample("threadtime");
    // Line ends trimmed, as editors and bug trackers do.
    const std::string trimmed = std::regex_replace(text, std::regex(" +\n"), "\n");
    // A later dump of the same queue cut short must not hide what the whole one showed.
    const size_t from = text.rfind('\n', text.find("Start, nowTime")) + 1;
    const std::string recut = text + sampleCutAfter("FrameNumber:4 ").substr(from);
    for (const std::string& edited : {trimmed, recut}) {
        EXPECT_EQ(findingKeys(explainText(edited)), kSampleFindings);
    }
}

TEST(DumpParser, GarbledLinesAreNamedWithTheirLineAndTheRestIsRead) {
    std::string text = test::renderSample("threadtime");
    const std::string frame = "  FrameNumber:4 Events: ";
    text.replace(text.find(frame), frame.size(), "  FrameNumber:x4 Events: ");
    const Analysis a = explainText(text);
    ASSERT_EQ(a.warnings.size(), 1u);
    EXPECT_EQ(a.warnings[0].line, test::sampleLineOf(frame));
    EXPECT_THAT(
        a.warnings[0].text,
        HasSubstr("unrecognised line in the BLAST dump of \"com.app/Main#0\":   FrameNumber:x4"));
    EXPECT_EQ(findingKeys(a), kSampleFindings);
}

TEST(DumpParser, BadInputNeverCrashesAndIsReported) {
    struct Case {
        std::string name;
        std::string text;
        std::string warning;
    };
    std::string junk;
    for (int i = 0; i < 4096; ++i) junk += static_cast<char>((i * 7919) % 256);
    const std::vector<Case> cases = {
        {"empty", "", "the input is empty"},
        {"binary", junk, "no logcat header recognised"},
        {"helper garbage",
         "01-02 03:04:05.678  1234  1235 D TalvexBufferQueueHelper: what is this\n",
         "unrecognised line of the helper: what is this"},
        {"core line without start", "[q](id:1,api:1,p:2,c:0)  --Slots states--:\n",
         "core dump line of \"q\" without its start line; read from here"},
        {"bad limiter", "Not Support over 4k, change width:x->1 height:1->1\n",
         "unreadable buffer size limiter line"},
        {"unknown layout", "<2219> [q](id:1,api:1,p:2,c:0) ---dumpBbqStateDirectly:\n",
         "a dump line in a log layout not recognised, not read: <2219> "},
        {"no line breaks", std::string(100000, 'x'),
         "a line of 100000 bytes, far longer than any log entry: only its first 65536 are read"},
    };
    for (const Case& c : cases) {
        const Analysis a = explainText(c.text);
        bool found = false;
        for (const Warning& w : a.warnings) found |= w.text.find(c.warning) != std::string::npos;
        EXPECT_TRUE(found) << c.name;
        EXPECT_TRUE(a.findings.empty()) << c.name;
    }
}

TEST(LineReader, ChunkBoundariesAnywhereGiveTheSameLines) {
    for (Encoding encoding : {Encoding::kUtf8Crlf, Encoding::kUtf16le}) {
        const std::string text = test::renderSample("threadtime", encoding);
        const std::string whole = test::renderSample("threadtime");
        for (size_t chunk : {1u, 2u, 3u, 7u, 4096u}) {
            std::string lines;
            LineReader reader([&](std::string_view line, size_t) { (lines += line) += '\n'; });
            for (size_t at = 0; at < text.size(); at += chunk) {
                reader.add(text.data() + at, std::min(chunk, text.size() - at));
            }
            reader.finish();
            EXPECT_EQ(lines, whole) << "chunk " << chunk;
        }
    }
}

}  // namespace
}  // namespace talvex::explain
