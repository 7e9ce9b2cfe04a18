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
#include <ostream>
#include <string>
#include <vector>

#include "options.h"

namespace talvex::simulator {
namespace {

ParseResult parse(std::vector<const char*> args, Options* options, std::string* error) {
    args.insert(args.begin(), "talvex_simulator");
    return parseOptions(static_cast<int>(args.size()), args.data(), options, error);
}

struct BadArguments {
    std::vector<const char*> args;
    const char* error;
};

// The arguments as typed, for the case's name in test listings.
void PrintTo(const BadArguments& c, std::ostream* out) {
    for (size_t i = 0; i < c.args.size(); ++i) *out << (i ? " " : "") << c.args[i];
}

// The case's arguments as a test name: "--layers", "17" reads "layers_17".
std::string caseName(const testing::TestParamInfo<BadArguments>& info) {
    std::string name;
    for (std::string arg : info.param.args) {
        if (arg == "--") arg = "end_of_options";
        if (arg.back() == '=') arg += "empty";
        for (const char ch : arg) {
            const bool keep = std::isalnum(static_cast<unsigned char>(ch)) != 0;
            if (keep || (!name.empty() && name.back() != '_')) name += keep ? ch : '_';
        }
        if (!name.empty() && name.back() != '_') name += '_';
    }
    while (!name.empty() && name.back() == '_') name.pop_back();
    return name;
}

class SimulatorOptionsRefuse : public testing::TestWithParam<BadArguments> {};

TEST_P(SimulatorOptionsRefuse, WithAReasonThatNamesTheFault) {
    Options options;
    std::string error;
    EXPECT_EQ(ParseResult::kError, parse(GetParam().args, &options, &error));
    EXPECT_EQ(GetParam().error, error);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SimulatorOptionsRefuse,
    testing::Values(
        BadArguments{{"--bogus"}, "unknown option '--bogus' (try --help)"},
        BadArguments{{"--bogus=1"}, "unknown option '--bogus' (try --help)"},
        BadArguments{{"stall"}, "unexpected argument 'stall' (options start with --; try --help)"},
        BadArguments{{"--"}, "unexpected argument '--' (options start with --; try --help)"},
        BadArguments{{"--scenario"}, "option '--scenario' needs a value (try --help)"},
        BadArguments{{"--scenario=stall"}, "unknown scenario 'stall' (try --help)"},
        BadArguments{{"--layers=0"}, "--layers wants a whole number from 1 to 16, not '0'"},
        BadArguments{{"--layers", "17"}, "--layers wants a whole number from 1 to 16, not '17'"},
        BadArguments{{"--layers=2x"}, "--layers wants a whole number from 1 to 16, not '2x'"},
        BadArguments{{"--fps="}, "--fps wants a whole number from 1 to 240, not ''"},
        BadArguments{{"--fps=241"}, "--fps wants a whole number from 1 to 240, not '241'"},
        BadArguments{{"--seconds=0.1"}, "--seconds wants a number from 0.2 to 600, not '0.1'"},
        BadArguments{{"--seconds=nan"}, "--seconds wants a number from 0.2 to 600, not 'nan'"},
        BadArguments{{"--seed=-1"}, "--seed wants a non-negative whole number, not '-1'"},
        BadArguments{{"--seed=99999999999999999999"},
                     "--seed wants a non-negative whole number, not '99999999999999999999'"},
        BadArguments{{"--build-type=eng"}, "--build-type is userdebug or user, not 'eng'"},
        BadArguments{{"--out="}, "--out wants a file name"},
        // The first fault is the one reported.
        BadArguments{{"--layers=3", "--fps=0", "--bogus"},
                     "--fps wants a whole number from 1 to 240, not '0'"}),
    caseName);

TEST(SimulatorOptions, TakesBothSpellingsAndKeepsDefaultsForTheRest) {
    Options options;
    std::string error;
    ASSERT_EQ(ParseResult::kRun, parse({"--scenario", "sync", "--layers=4", "--seconds", "1.5",
                                        "--seed=18446744073709551615", "--out=/tmp/log"},
                                       &options, &error))
        << error;
    EXPECT_EQ("sync", options.scenario);
    EXPECT_EQ(4, options.layers);
    EXPECT_EQ(1.5, options.seconds);
    EXPECT_EQ(18446744073709551615ULL, options.seed);
    EXPECT_EQ("/tmp/log", options.outPath);
    EXPECT_EQ(60, options.fps);
    EXPECT_EQ("userdebug", options.buildType);
}

TEST(SimulatorOptions, HelpWinsOverWhatFollows) {
    Options options;
    std::string error;
    EXPECT_EQ(ParseResult::kHelp, parse({"--layers=2", "--help", "--bogus"}, &options, &error));
}

}  // namespace
}  // namespace talvex::simulator
