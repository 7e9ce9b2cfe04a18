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

// Each story the simulator plays, read back from its log: what the library's dumps show of it,
// and the findings the analyzer draws from the same file. Expected values come from the
// simulator's own lines in the same log and from the truth it writes beside it, never from
// guesses about a run. Stories play in simulated time: a run of a seed is the same on a loaded
// machine, so the findings are exact.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "explain.h"
#include "scorer.h"
#include "support/simulator_run.h"
#include "truth.h"

namespace talvex::explain {
namespace {

using ::talvex::simulator::KindScore;
using ::talvex::simulator::Truth;
using ::talvex::test::SimulatorRun;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

std::string surfaceOf(const SimulatorRun& run, const std::string& id) {
    return run.last("TalvexSimulator: layer " + id + R"( \((.*)\) draws through )")[1];
}

const Finding* findingFor(const Analysis& a, const std::string& kind, const std::string& layer) {
    for (const Finding& f : a.findings) {
        if (f.kind == kind && f.layer == layer) return &f;
    }
    return nullptr;
}

// The frame lines of layer `id` in the frame record dumps from line `from` on, each with whether
// it is listed as synced.
std::vector<std::pair<std::string, bool>> frameLines(const SimulatorRun& run, const std::string& id,
                                                     int from = 0) {
    std::vector<std::pair<std::string, bool>> frames;
    bool inLayer = false, inSynced = false;
    for (int i = std::max(from, 0); i < static_cast<int>(run.lines.size()); ++i) {
        const std::string& line = run.lines[i];
        if (line.find(") LayerId:") != std::string::npos) {
            inLayer = line.find(") LayerId:" + id + " ") != std::string::npos;
            inSynced = false;
        } else if (line.find("---Dump All Frame Record END---") != std::string::npos) {
            inLayer = false;
        } else if (line.find("  Synced Frame Event Record:") != std::string::npos) {
            inSynced = true;
        } else if (line.find("  Normal Frame Event Record:") != std::string::npos) {
            inSynced = false;
        } else if (inLayer && line.find("   FrameNumber:") != std::string::npos) {
            frames.emplace_back(line, inSynced);
        }
    }
    return frames;
}

uint64_t frameNumberOf(const std::string& line) {
    return std::stoull(line.substr(line.find("FrameNumber:") + 12));
}

void expectReleaseStall(const SimulatorRun& run, const Analysis& a) {
    const std::string id = run.last(R"(TalvexSimulator: layer (\d+) is stalled)")[1];
    ASSERT_FALSE(id.empty()) << "the run never stalled";
    const uint64_t firstHeld = std::stoull(
        run.last("stops latching layer " + id + R"('s buffers.*\(frame (\d+) and on\))")[1]);
    const std::string queue = run.last("layer " + id + R"( \(.*\) draws through (\S+) at)")[1];
    const std::string surface = surfaceOf(run, id);

    // The core dump libgui's patch writes once the producer has waited a second for a slot: no
    // slot free, three buffers with the compositor (its one, plus two) and the rest queued.
    const int coreStart = run.find("---dumpBbqStateDirectly:", run.find("stops latching layer"));
    ASSERT_GE(coreStart, 0);
    EXPECT_THAT(run.lines[coreStart],
                HasSubstr("E TalvexBufferQueueHelper: [" + queue + "(BLAST Consumer)"));
    const int coreEnd = run.find("dumpBbqStateDirectly end---", coreStart);
    ASSERT_GT(coreEnd, coreStart);
    std::multiset<std::string> states;
    for (int i = coreStart; i < coreEnd; ++i) {
        std::smatch state;
        if (std::regex_search(run.lines[i], state, std::regex(R"(state=(\w+))"))) {
            states.insert(state[1]);
        }
    }
    EXPECT_EQ(3u, states.count("ACQUIRED"));
    EXPECT_THAT(states, Each(AnyOf("ACQUIRED", "QUEUED")));
    EXPECT_GE(run.find("D TalvexBufferQueueHelper: [" + queue + "](f:", coreEnd), 0);

    // Frames the compositor holds never got their buffer back; older ones did.
    bool sawReleasedBeforeStall = false;
    for (const auto& [line, synced] : frameLines(run, id)) {
        const bool released = line.find("releaseBufferCallback(") != std::string::npos;
        if (frameNumberOf(line) >= firstHeld) {
            EXPECT_FALSE(released) << line;
        }
        if (frameNumberOf(line) + 1 < firstHeld) sawReleasedBeforeStall |= released;
    }
    EXPECT_TRUE(sawReleasedBeforeStall);

    // The compositor is asked about that layer, and the run ends there.
    const int request = run.find(
        "I SurfaceFlinger: stand-in: code 1025 (one-way), command 3: "
        "asked about layer#" +
            id + " (" + surface + ")",
        coreEnd);
    EXPECT_GT(request, coreEnd);
    EXPECT_GT(run.find("is stalled", request), request);

    // The transactions it never latched never complete.
    EXPECT_NE(nullptr, findingFor(a, "old-callbacks", surface));
    const std::string label = "layer " + id + " \"" + surface + "\"";
    const Finding* it = findingFor(a, "stuck-frames", label);
    ASSERT_NE(nullptr, it) << "no stuck-frames finding for " << label;
    // The frame on screen stays after its completion, the ones applied behind it after their
    // apply, the newest one queued behind those after it became available.
    ASSERT_GE(it->frames.size(), 3u);
    EXPECT_EQ(firstHeld, it->frames.front());
    for (size_t i = 0; i < it->frames.size(); ++i) {
        EXPECT_EQ(firstHeld + i, it->frames[i]);
        const char* step = i == 0                       ? "transactionCallback"
                           : i + 1 == it->frames.size() ? "onFrameAvailable"
                                                        : "apply";
        EXPECT_THAT(it->summary, HasSubstr("frame " + std::to_string(it->frames[i]) +
                                           " stuck after " + step + " for "));
    }
    // The stalled queue ran dry, named once however often it was dumped.
    const Finding* starved = nullptr;
    for (const Finding& f : a.findings) {
        if (f.kind == "producer-starved") starved = &f;
    }
    ASSERT_NE(nullptr, starved);
    EXPECT_THAT(starved->layer, StartsWith(queue + "(BLAST Consumer)"));
}

void expectCallbackLost(const SimulatorRun& run, const Analysis& a) {
    const std::string id = run.last(R"(never deliver the completion of layer (\d+)'s)")[1];
    ASSERT_FALSE(id.empty());
    // The two dumps asked for. Only the callbacks of the lost completion outlive a frame, and
    // they grow older: the queue's own and the empty one that setBuffer registers with every
    // buffer.
    const auto first = test::pendingCallbacks(run, run.find("TalvexSimulator: first dump"));
    const auto second = test::pendingCallbacks(run, run.find("TalvexSimulator: second dump"));
    std::vector<std::string> inBoth;
    for (const auto& [callback, pending] : second) {
        if (first.count(callback) != 0) inBoth.push_back(callback);
    }
    ASSERT_EQ(2u, inBoth.size());

    const Finding* it = findingFor(a, "old-callbacks", surfaceOf(run, id));
    ASSERT_NE(nullptr, it) << "no old-callbacks finding for layer " << id;
    for (const std::string& lost : inBoth) {
        EXPECT_GT(second.at(lost).ageUs, first.at(lost).ageUs + 100000) << lost;
        EXPECT_THAT(it->summary, HasSubstr("callback " + lost + " (complete) pending for "));
        EXPECT_THAT(it->evidence, Contains(static_cast<uint64_t>(second.at(lost).line + 1)));
    }
}

void expectSync(const SimulatorRun& run, const Analysis& a) {
    const std::string id = run.last(R"(a sync of layer (\d+)'s next frame)")[1];
    ASSERT_FALSE(id.empty());
    // The synced frames of that layer in the last frame record, as the log lists them.
    int lastRecord = -1;
    for (int at = 0; (at = run.find(") LayerId:" + id + " ", at)) >= 0; ++at) lastRecord = at;
    std::vector<uint64_t> listed;
    for (const auto& [line, synced] : frameLines(run, id, lastRecord)) {
        if (!synced) continue;
        EXPECT_THAT(line, HasSubstr(" syncNextTransaction("));
        EXPECT_THAT(line, HasSubstr(" StartStatus: sync:1 "));
        listed.push_back(frameNumberOf(line));
    }
    ASSERT_FALSE(listed.empty()) << "the log lists no synced frame for layer " << id;

    ASSERT_FALSE(a.blastDumps.empty());
    ASSERT_TRUE(a.blastDumps.back().record.has_value());
    for (const FrameRecordLayer& layer : a.blastDumps.back().record->layers) {
        std::vector<uint64_t> synced;
        for (const FrameRecordFrame& frame : layer.frames) {
            if (frame.synced) synced.push_back(frame.number);
        }
        const bool syncing = std::to_string(layer.id) == id;
        EXPECT_EQ(syncing ? listed : std::vector<uint64_t>{}, synced) << "layer " << layer.id;
    }
}

void expectHealthy(const SimulatorRun& run, const Analysis& a) {
    // Every buffer comes back: nothing is stuck or waits on the compositor, and every layer's
    // frames go from step to step up to their release. Only an on-commit callback makes a commit
    // step, and a queue's own transactions carry none: apply leads to the completion.
    for (const Finding& f : a.findings) {
        EXPECT_THAT(f.kind, Not(AnyOf("stuck-frames", "old-callbacks", "unreleased-buffers")))
            << f.summary;
    }
    EXPECT_EQ(std::stoul(run.last(R"(, (\d+) layers,)")[1]), a.latencies.size());
    for (const LayerLatency& layer : a.latencies) {
        std::vector<std::string> steps;
        for (const StepLatency& s : layer.steps) steps.push_back(s.from + ">" + s.to);
        EXPECT_THAT(steps, ElementsAre("available>acquire", "acquire>apply", "apply>complete",
                                       "complete>release"))
            << layer.layer;
    }
}

void expectOversize(const SimulatorRun& run, const Analysis& a) {
    const std::string id = run.last(R"(layer (\d+) asks for 4096x2160)")[1];
    ASSERT_FALSE(id.empty());
    // Two oversize requests, the same: two capped lines.
    const std::string line =
        "D TalvexBufferQueueHelper: Not Support over 4k, change width:4096->4000 "
        "height:2160->2160";
    const int first = run.find(line);
    const int second = run.find(line, first + 1);
    ASSERT_GE(first, 0);
    ASSERT_GT(second, first);
    EXPECT_EQ(-1, run.find("Not Support over 4k", second + 1));
    ASSERT_EQ(2u, a.limiters.size());
    for (size_t i = 0; i < 2; ++i) {
        const LimiterLine& l = a.limiters[i];
        EXPECT_EQ(static_cast<uint64_t>((i == 0 ? first : second) + 1), l.origin.firstLine);
        EXPECT_EQ((std::vector<int>{4096, 4000, 2160, 2160}),
                  (std::vector<int>{l.width, l.cappedWidth, l.height, l.cappedHeight}));
    }
    // The consumer's default size is the capped one.
    const std::string queue = run.last("layer " + id + R"( \(.*\) draws through (\S+) at)")[1];
    const auto core = std::find_if(a.coreDumps.rbegin(), a.coreDumps.rend(), [&](const auto& d) {
        return d.name.rfind(queue + "(BLAST Consumer)", 0) == 0;
    });
    ASSERT_NE(core, a.coreDumps.rend());
    EXPECT_EQ(4000, core->defaultWidth);
    EXPECT_EQ(2160, core->defaultHeight);
}

void expectChurn(const SimulatorRun& run, const Analysis& a) {
    ASSERT_GT(run.find("layer 3 destroyed"), 0) << "too short a run to churn";
    std::set<int> living;
    for (const std::string& line : run.lines) {
        std::smatch m;
        if (std::regex_search(line, m, std::regex(R"(Simulator: layer (\d+) \(.*\) draws)"))) {
            living.insert(std::stoi(m[1]));
        } else if (std::regex_search(line, m, std::regex(R"(Simulator: layer (\d+) destroyed)"))) {
            living.erase(std::stoi(m[1]));
        }
    }
    // A gone layer leaves nothing behind: no frames in the record, no callback in the listener.
    const std::string id = run.last(R"(dump requested for layer (\d+))")[1];
    const std::string queue = run.last("layer " + id + R"( \(.*\) draws through (\S+) at)")[1];
    const auto asked = std::find_if(a.blastDumps.rbegin(), a.blastDumps.rend(),
                                    [&](const BlastDump& d) { return d.queueName == queue; });
    ASSERT_NE(asked, a.blastDumps.rend()) << "no dump of " << queue;
    const BlastDump& dump = *asked;
    ASSERT_TRUE(dump.record.has_value() && dump.listener.has_value());
    std::set<int> recorded;
    for (const FrameRecordLayer& layer : dump.record->layers) recorded.insert(layer.id);
    EXPECT_EQ(living, recorded);
    std::set<std::string> names;
    for (int id : living) names.insert(surfaceOf(run, std::to_string(id)));
    // Nor a release callback: at most one per slot of each living queue (four) waits.
    EXPECT_LE(dump.listener->releases.size(), 4 * living.size());
    for (const PendingCallback& cb : dump.listener->callbacks) {
        for (const LayerRef& surface : cb.surfaces) EXPECT_THAT(names, Contains(surface.name));
    }
    for (const Finding& f : a.findings) EXPECT_NE("old-callbacks", f.kind) << f.summary;
}

struct StoryCase {
    const char* scenario;
    void (*expect)(const SimulatorRun&, const Analysis&);
    std::multiset<std::string> kinds;  // the findings' kinds, exactly
};

void PrintTo(const StoryCase& c, std::ostream* out) {
    *out << c.scenario;
}

class SimulatorStory : public testing::TestWithParam<StoryCase> {};

TEST_P(SimulatorStory, DumpsAndFindingsShowWhatItPlayed) {
    const std::string truthPath = test::tempPath("simulator_truth_");
    const SimulatorRun run = test::runSimulator(std::string("--seconds=1 --seed=3 --scenario=") +
                                                GetParam().scenario + " --truth " + truthPath);
    const std::string truthText = test::readFile(truthPath);
    unlink(truthPath.c_str());
    test::expectCleanRun(run, GetParam().scenario);
    ASSERT_TRUE(run.helperAnswered()) << "the library answered with the helper's fallback";
    // Line numbers count the screen's lines; the file must be where they start.
    ASSERT_EQ(0u, run.stdoutText.find(run.outText));
    const Analysis analysis = explainText(run.outText);
    GetParam().expect(run, analysis);

    std::multiset<std::string> kinds;
    for (const Finding& f : analysis.findings) kinds.insert(f.kind);
    EXPECT_EQ(GetParam().kinds, kinds);
    // Every frame, callback, starved queue, dump and capped size the story made, and nothing
    // else.
    Truth truth;
    std::string error;
    ASSERT_TRUE(Truth::fromJson(truthText, &truth, &error)) << error;
    ASSERT_FALSE(truth.dumps.empty());
    for (const KindScore& kind : simulator::scoreStory(truth, analysis, Thresholds{}).kinds) {
        EXPECT_THAT(kind.missed, testing::IsEmpty()) << kind.kind;
        EXPECT_THAT(kind.invented, testing::IsEmpty()) << kind.kind;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Stories, SimulatorStory,
    testing::Values(StoryCase{"healthy", expectHealthy, {}},
                    StoryCase{"release-stall",
                              expectReleaseStall,
                              {"producer-starved", "stuck-frames", "old-callbacks"}},
                    StoryCase{"callback-lost", expectCallbackLost, {"old-callbacks"}},
                    StoryCase{"sync", expectSync, {}}, StoryCase{"oversize", expectOversize, {}},
                    StoryCase{"churn", expectChurn, {}}),
    [](const testing::TestParamInfo<StoryCase>& info) {
        std::string name = info.param.scenario;
        std::replace(name.begin(), name.end(), '-', '_');
        return name;
    });

}  // namespace
}  // namespace talvex::explain
