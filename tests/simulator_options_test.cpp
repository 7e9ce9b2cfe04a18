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

// The simulator's command line: what it accepts and how it refuses the rest.
#include <gtest/gtest.h>

#include <cctype>
#include <functional>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "options.h"
#include "scenarios.h"

namespace talvex::simulator {
namespace {

ParseResult parse(std::vector<const char*> args, Options* options, std::string* error) {
    args.insert(args.begin(), "talvex_simulator");
    return parseOptions(static_cast<int>(args.size()), args.data(), options, error);
}

auto fields(const Options& o) {
    return std::tie(o.scenario, o.layers, o.fps, o.seconds, o.seed, o.buildType, o.outPath,
                    o.truthPath, o.realtime, o.campaign, o.jobs, o.stuckMs);
}

// The arguments as a test name: "--layers", "65" reads "layers_65".
std::string nameOf(const std::vector<const char*>& args) {
    std::string name;
    for (const char* arg : args) {
        for (const char ch : std::string(arg) + " ") {
            const bool keep = std::isalnum(static_cast<unsigned char>(ch)) != 0;
            if (keep || (!name.empty() && name.back() != '_')) name += keep ? ch : '_';
        }
    }
    while (!name.empty() && name.back() == '_') name.pop_back();
    return name;
}

struct BadArguments {
    std::vector<const char*> args;
    const char* error;
};

void PrintTo(const BadArguments& c, std::ostream* out) {
    for (const char* arg : c.args) *out << "'" << arg << "' ";
}

class SimulatorOptionsRefuse : public testing::TestWithParam<BadArguments> {};

TEST_P(SimulatorOptionsRefuse, WithAReasonThatNamesTheOptionAndWhatItWants) {
    Options options;
    std::string error;
    EXPECT_EQ(ParseResult::kError, parse(GetParam().args, &options, &error));
    EXPECT_EQ(GetParam().error, error);
}

INSTANTIATE_TEST_SUITE_P(
    Values, SimulatorOptionsRefuse,
    testing::Values(
        BadArguments{{"--scenario=stall"},
                     "--scenario wants one of healthy, release-stall, callback-lost, sync, "
                     "oversize, churn, random, not 'stall'"},
        BadArguments{{"--layers", "65"}, "--layers wants a whole number from 1 to 64, not '65'"},
        BadArguments{{"--layers=2x"}, "--layers wants a whole number from 1 to 64, not '2x'"},
        BadArguments{{"--fps=0x10"}, "--fps wants a whole number from 1 to 240, not '0x10'"},
        BadArguments{{"--seconds=nan"}, "--seconds wants a number from 0.2 to 600, not 'nan'"},
        // strtoull reads it as 2^64 - 1.
        BadArguments{{"--seed", " -1"},
                     "--seed wants a whole number from 0 to 18446744073709551615, not ' -1'"},
        BadArguments{{"--seed=18446744073709551616"},
                     "--seed wants a whole number from 0 to 18446744073709551615, not "
                     "'18446744073709551616'"},
        BadArguments{{"--build-type=eng"}, "--build-type wants userdebug or user, not 'eng'"},
        BadArguments{{"--out", ""}, "--out wants a file name"},
        BadArguments{{"--campaign=1000001"},
                     "--campaign wants a number of stories from 1 to 1000000 (0: off), not "
                     "'1000001'"},
        BadArguments{{"--campaign=1", "-j", "65"},
                     "--jobs wants a whole number from 1 to 64, not '65'"},
        BadArguments{{"--campaign=1", "--stuck-ms=inf"},
                     "--stuck-ms wants milliseconds from 0 to 9.2e12, not 'inf'"},
        // A campaign draws its own stories: the options of one story do not go with it...
        BadArguments{{"--campaign=5", "--scenario=sync"},
                     "--scenario picks one story; --campaign plays random ones: give one or the "
                     "other"},
        BadArguments{{"--truth=t.json", "--campaign=5"},
                     "--truth is one story's ground truth; --campaign scores its own: give one "
                     "or the other"},
        BadArguments{{"--campaign=5", "--realtime"},
                     "--realtime plays one story on wall-clock threads; --campaign plays in "
                     "simulated time: give one or the other"},
        // ...and a campaign's own options mean nothing without one; 0 is none.
        BadArguments{{"--campaign=0", "-j4"},
                     "--jobs wants --campaign N: it sets how many of its stories run at once"},
        BadArguments{{"--stuck-ms=50"},
                     "--stuck-ms wants --campaign N: it is the threshold the campaign scores "
                     "against"}),
    [](const testing::TestParamInfo<BadArguments>& info) { return nameOf(info.param.args); });

struct GoodArguments {
    std::vector<const char*> args;
    std::function<void(Options*)> expect;  // what the arguments change from the defaults
};

void PrintTo(const GoodArguments& c, std::ostream* out) {
    for (const char* arg : c.args) *out << "'" << arg << "' ";
}

class SimulatorOptionsAccept : public testing::TestWithParam<GoodArguments> {};

TEST_P(SimulatorOptionsAccept, ChangingOnlyWhatWasAsked) {
    Options options, expected;
    GetParam().expect(&expected);
    std::string error;
    ASSERT_EQ(ParseResult::kRun, parse(GetParam().args, &options, &error)) << error;
    EXPECT_EQ(fields(expected), fields(options));
}

INSTANTIATE_TEST_SUITE_P(
    Values, SimulatorOptionsAccept,
    testing::Values(GoodArguments{{"--scenario", "sync", "--layers=16", "--seconds", "0.2",
                                   "--seed=18446744073709551615", "--out=log.txt",
                                   "--build-type=user"},
                                  [](Options* o) {
                                      o->scenario = "sync";
                                      o->layers = 16;
                                      o->seconds = 0.2;
                                      o->seed = 18446744073709551615ULL;
                                      o->outPath = "log.txt";
                                      o->buildType = "user";
                                  }},
                    // Decimal, leading zero or not: not octal 8.
                    GoodArguments{{"--fps", "010"}, [](Options* o) { o->fps = 10; }},
                    // The last of a repeated option holds, so a script can append to a command line.
                    GoodArguments{{"--layers=3", "--layers=4"}, [](Options* o) { o->layers = 4; }},
                    GoodArguments{{"--scenario=healthy", "--truth", "truth.json", "--realtime"},
                                  [](Options* o) {
                                      o->scenario = "healthy";
                                      o->truthPath = "truth.json";
                                      o->realtime = true;
                                  }},
                    GoodArguments{{"--campaign", "1000000", "-j64", "--stuck-ms", "0", "--seed=7"},
                                  [](Options* o) {
                                      o->campaign = 1000000;
                                      o->jobs = 64;
                                      o->stuckMs = 0;
                                      o->seed = 7;
                                  }},
                    GoodArguments{{"--campaign=0", "--scenario=churn"},
                                  [](Options* o) { o->scenario = "churn"; }}),
    [](const testing::TestParamInfo<GoodArguments>& info) { return nameOf(info.param.args); });

// Every name --scenario takes is a story the simulator can play, and --help lists it.
class SimulatorOptionsScenario : public testing::TestWithParam<const char*> {};

TEST_P(SimulatorOptionsScenario, IsPlayableAndListed) {
    Options options;
    std::string error;
    ASSERT_EQ(ParseResult::kRun, parse({"--scenario", GetParam()}, &options, &error)) << error;
    EXPECT_NE(nullptr, findScenario(options.scenario));
    EXPECT_NE(std::string::npos, std::string(usageText()).find(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Names, SimulatorOptionsScenario,
                         testing::Values("healthy", "release-stall", "callback-lost", "sync",
                                         "oversize", "churn", "random"),
                         [](const auto& info) { return nameOf({info.param}); });

TEST(SimulatorOptions, HelpWinsOverWhatFollows) {
    Options options;
    std::string error;
    EXPECT_EQ(ParseResult::kHelp, parse({"--layers=2", "--help", "--bogus"}, &options, &error));
}

}  // namespace
}  // namespace talvex::simulator
