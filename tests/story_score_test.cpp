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

// The scorer a campaign holds the analyzer to: clean on a real story's log and truth, and each
// kind of wrong reading caught (a finding missed or made up, a callback or frame misjudged, a dump
// lost, a layer judged on the wrong dump); and the truth file read back as written.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "explain.h"
#include "scorer.h"
#include "support/simulator_run.h"
#include "truth.h"

namespace talvex::simulator {
namespace {

using explain::Analysis;
using explain::Finding;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

struct Story {
    Truth truth;
    Analysis analysis;
};

// The release-stall story: a starved queue, stuck frames and old callbacks to score.
const Story& stalledStory() {
    static const Story* story = [] {
        const std::string truthPath = test::tempPath("score_truth_");
        const test::SimulatorRun run =
            test::runSimulator("--seconds=1 --seed=3 --scenario=release-stall --truth " + truthPath);
        auto* s = new Story;
        std::string error;
        EXPECT_TRUE(Truth::fromJson(test::readFile(truthPath), &s->truth, &error)) << error;
        unlink(truthPath.c_str());
        s->analysis = explain::explainText(run.outText);
        return s;
    }();
    return *story;
}

Finding& findingOf(Analysis& a, const std::string& kind) {
    for (Finding& f : a.findings) {
        if (f.kind == kind) return f;
    }
    ADD_FAILURE() << "the story has no " << kind << " finding";
    a.findings.push_back(Finding{kind, -1, {}, {}, {}, {}, {}});
    return a.findings.back();
}

const KindScore& kindOf(const Score& score, const std::string& kind) {
    for (const KindScore& k : score.kinds) {
        if (k.kind == kind) return k;
    }
    static const KindScore kNone;
    ADD_FAILURE() << "no score for " << kind;
    return kNone;
}

TEST(StoryScore, RealStoryScoresClean) {
    const Story& story = stalledStory();
    const Score score = scoreStory(story.truth, story.analysis, explain::Thresholds{});
    ASSERT_EQ(scoredKinds().size(), score.kinds.size());
    for (const KindScore& k : score.kinds) {
        EXPECT_THAT(k.missed, IsEmpty()) << k.kind;
        EXPECT_THAT(k.invented, IsEmpty()) << k.kind;
    }
    EXPECT_TRUE(score.clean());
    for (const char* kind : {"dump", "producer-starved", "stuck-frames", "old-callbacks"}) {
        EXPECT_GT(kindOf(score, kind).expected, 0u) << kind;
    }
}

// A wrong reading (or a truth that says otherwise) and what the scorer must call missed and
// made up, by kind; every other kind stays clean.
struct Expected {
    std::vector<std::string> missed, invented;
};
using Outcome = std::map<std::string, Expected>;
struct Mutation {
    const char* name;
    std::function<Outcome(Truth&, Analysis&)> mutate;
};

void PrintTo(const Mutation& m, std::ostream* out) {
    *out << m.name;
}

std::string stuckLayer(Analysis& a) {
    int id = 0;
    sscanf(findingOf(a, "stuck-frames").layer.c_str(), "layer %d", &id);
    return "layer " + std::to_string(id);
}

// The log of a later dump the truth notes: its queue's core and BLAST parts once more.
void dumpAgain(Analysis& a) {
    a.coreDumps.push_back(a.coreDumps.back());
    a.blastDumps.push_back(a.blastDumps.back());
}

const Mutation kMutations[] = {
    {"StuckFrameNotFound",
     [](Truth&, Analysis& a) {
         Finding& f = findingOf(a, "stuck-frames");
         const uint64_t frame = f.frames.back();
         f.frames.pop_back();
         return Outcome{
             {"stuck-frames", Expected{{stuckLayer(a) + " frame " + std::to_string(frame)}, {}}}};
     }},
    {"StuckFrameMadeUp",
     [](Truth&, Analysis& a) {
         findingOf(a, "stuck-frames").frames.push_back(1);
         return Outcome{{"stuck-frames", Expected{{}, {stuckLayer(a) + " frame 1"}}}};
     }},
    {"StarvedQueueNotNamed",
     [](Truth&, Analysis& a) {
         const std::string core = findingOf(a, "producer-starved").layer;
         a.findings.erase(
             std::remove_if(a.findings.begin(), a.findings.end(),
                            [](const Finding& f) { return f.kind == "producer-starved"; }),
             a.findings.end());
         return Outcome{{"producer-starved", Expected{{"queue \"" + core + "\""}, {}}}};
     }},
    {"CallbackIdMisread",
     [](Truth&, Analysis& a) {
         Finding& f = findingOf(a, "old-callbacks");
         const std::string id = std::to_string(f.callbacks.front());
         f.callbacks.front() = 999999;
         const std::string surface = "\"" + f.layer + "\" callback ";
         return Outcome{{"old-callbacks", Expected{{surface + id}, {surface + "999999"}}}};
     }},
    {"YoungCallbackCalledOld",
     [](Truth& t, Analysis& a) {
         for (Truth::DumpedLayer& layer : t.dumps.back().layers) {
             if (layer.withheldCallbacks.empty()) continue;
             layer.withheldCallbacks.front().sinceNs = t.dumps.back().atNs - 1000000;
             return Outcome{{"old-callbacks",
                             Expected{{},
                                      {"\"" + findingOf(a, "old-callbacks").layer + "\" callback " +
                                       std::to_string(layer.withheldCallbacks.front().id)}}}};
         }
         ADD_FAILURE() << "no withheld callback in the last dump";
         return Outcome{{"old-callbacks", Expected{}}};
     }},
    {"FreshFrameCalledStuck",
     [](Truth& t, Analysis& a) {
         const uint64_t stuck = findingOf(a, "stuck-frames").frames.front();
         for (Truth::DumpedLayer& layer : t.dumps.back().layers) {
             if ("layer " + std::to_string(layer.layerId) != stuckLayer(a)) continue;
             for (Truth::Frame& frame : layer.unreturnedFrames) {
                 if (frame.frame == stuck) frame.sinceNs = t.dumps.back().atNs - 1;
             }
         }
         return Outcome{
             {"stuck-frames", Expected{{}, {stuckLayer(a) + " frame " + std::to_string(stuck)}}}};
     }},
    {"CoreDumpCutShort",
     [](Truth&, Analysis& a) {
         a.coreDumps.front().complete = false;
         const std::string core = "core \"" + a.coreDumps.front().name + "\"";
         // Its default buffer size goes with it.
         return Outcome{{"dump", Expected{{core}, {}}},
                        {"limiter", Expected{{core + " buffers 1080x2400"}, {}}}};
     }},
    {"CappedSizeNotLogged",
     [](Truth& t, Analysis&) {
         Truth::Fault fault;
         fault.kind = "oversize";
         fault.requested[0] = 4096;
         fault.requested[1] = 2160;
         fault.capped[0] = 4000;
         fault.capped[1] = 2160;
         t.faults.push_back(fault);
         return Outcome{{"limiter", Expected{{"width 4096->4000 height 2160->2160"}, {}}}};
     }},
    {"UnreleasedBuffersMadeUp",
     [](Truth&, Analysis& a) {
         a.findings.push_back(Finding{"unreleased-buffers", 4242, "q", {5}, {}, "", {}});
         return Outcome{{"unreleased-buffers", Expected{{}, {"q frame 5"}}}};
     }},
    // A gone layer whose queue went too leaves the record: it is judged on its last dump.
    {"GoneLayerJudgedOnItsLastRecord",
     [](Truth& t, Analysis& a) {
         Truth::Dump later = t.dumps.back();
         later.atNs += 1000000000;
         for (Truth::DumpedLayer& layer : later.layers) {
             layer.alive = layer.recorded = false;
             layer.unreturnedFrames.clear();
         }
         t.dumps.push_back(later);
         dumpAgain(a);
         return Outcome{{"stuck-frames", Expected{}}};
     }},
    // One whose queue lives on stays in the record, its buffers back: nothing of it is stuck.
    {"GoneLayerStillRecordedReleasedAll",
     [](Truth& t, Analysis& a) {
         Truth::Dump later = t.dumps.back();
         later.atNs += 1000000000;
         for (Truth::DumpedLayer& layer : later.layers) {
             layer.alive = false;
             layer.unreturnedFrames.clear();
         }
         t.dumps.push_back(later);
         dumpAgain(a);
         Expected expected;
         for (const uint64_t frame : findingOf(a, "stuck-frames").frames) {
             expected.invented.push_back(stuckLayer(a) + " frame " + std::to_string(frame));
         }
         return Outcome{{"stuck-frames", expected}};
     }},
};

class StoryScoreMutation : public testing::TestWithParam<Mutation> {};

TEST_P(StoryScoreMutation, IsCaught) {
    Truth truth = stalledStory().truth;
    Analysis analysis = stalledStory().analysis;
    Outcome outcome = GetParam().mutate(truth, analysis);
    const Score score = scoreStory(truth, analysis, explain::Thresholds{});
    bool clean = true;
    for (const KindScore& k : score.kinds) {
        Expected& expected = outcome[k.kind];
        std::sort(expected.missed.begin(), expected.missed.end());
        std::sort(expected.invented.begin(), expected.invented.end());
        EXPECT_THAT(k.missed, ElementsAreArray(expected.missed)) << k.kind;
        EXPECT_THAT(k.invented, ElementsAreArray(expected.invented)) << k.kind;
        clean = clean && expected.missed.empty() && expected.invented.empty();
    }
    EXPECT_EQ(clean, score.clean());
}

INSTANTIATE_TEST_SUITE_P(Readings, StoryScoreMutation, testing::ValuesIn(kMutations),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(StoryTruth, ReadsBackWhatItWrote) {
    const std::string text = stalledStory().truth.json();
    Truth again;
    std::string error;
    ASSERT_TRUE(Truth::fromJson(text, &again, &error)) << error;
    EXPECT_EQ(text, again.json());
}

class StoryTruthRefuses : public testing::TestWithParam<std::pair<const char*, std::string>> {};

TEST_P(StoryTruthRefuses, SaysWhy) {
    Truth truth;
    truth.story = "untouched";
    std::string error;
    EXPECT_FALSE(Truth::fromJson(GetParam().second, &truth, &error));
    EXPECT_FALSE(error.empty());
    EXPECT_EQ("untouched", truth.story);
}

INSTANTIATE_TEST_SUITE_P(
    Garbled, StoryTruthRefuses,
    testing::Values(
        std::make_pair("Empty", std::string()), std::make_pair("NotJson", std::string("{\"seed\":")),
        std::make_pair("NoFields", std::string("{}")),
        std::make_pair("OldVersion", std::string(R"({"version":1,"seed":1,"story":"x","layers":[],)"
                                                 R"("faults":[],"dumps":[]})")),
        std::make_pair("WrongType", std::string(R"({"version":2,"seed":"one","story":"x","layers":[],)"
                                                R"("faults":[],"dumps":[]})")),
        std::make_pair("DumpWithoutLayers",
                       std::string(R"({"version":2,"seed":1,"story":"x","layers":[],"faults":[],)"
                                   R"("dumps":[{"at_ns":1,"layer_id":1,"core":"c",)"
                                   R"("reason":"stall","starved":true}]})"))),
    [](const auto& info) { return std::string(info.param.first); });

}  // namespace
}  // namespace talvex::simulator
