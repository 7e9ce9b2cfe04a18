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

// The simulator run as the program `make run` starts: its options refused or explained, and a user
// build's run read back. (What each story plays is checked with the analyzer's tests.)
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/simulator_run.h"

namespace talvex::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(Simulator, BadOptionIsRefusedBeforeAnythingRuns) {
    const SimulatorRun run = runSimulator("--layers=99");
    EXPECT_EQ(3, run.exitCode);
    EXPECT_THAT(
        run.stderrText,
        HasSubstr("talvex_simulator: --layers wants a whole number from 1 to 64, not '99'\n"));
    EXPECT_THAT(run.lines, Not(Contains(HasSubstr("TalvexSimulator"))));
}

TEST(SimulatorUserBuild, DumpsQueuesButNoFrameRecord) {
    const SimulatorRun run = runSimulator("--seconds=0.5 --scenario=healthy --build-type=user");
    expectCleanRun(run, "healthy");
    ASSERT_TRUE(run.helperAnswered()) << "the library answered with the helper's fallback";
    EXPECT_THAT(run.lines, Contains(HasSubstr("enable:0")));
    EXPECT_THAT(run.lines, Contains("I TalvexSimulator: recording is off on a user build: the "
                                    "frame record keeps nothing"));
    EXPECT_THAT(run.lines, Not(Contains(HasSubstr("Frame Record"))));
    EXPECT_THAT(run.lines, Not(Contains(HasSubstr("  FrameNumber:"))));
    EXPECT_THAT(run.lines, Contains(HasSubstr("---Dump BlastBufferQueue State START---")));
}

// The log with every address as "ADDR": heap addresses are the only thing that may differ
// between two runs of a seed.
std::string withoutAddresses(const std::string& log) {
    static const std::regex kAddress(R"((^|[^0-9a-zA-Z])(0x[0-9a-f]+|\(nil\)))");
    return std::regex_replace(log, kAddress, "$1ADDR");
}

TEST(SimulatorSimulatedTime, ASeedWritesTheSameLogEveryRun) {
    const std::string args = "--seconds=1 --scenario=release-stall --seed=";
    const SimulatorRun first = runSimulator(args + "7");
    const SimulatorRun again = runSimulator(args + "7");
    const SimulatorRun other = runSimulator(args + "8");
    for (const SimulatorRun* run : {&first, &again, &other}) expectCleanRun(*run, "release-stall");
    ASSERT_THAT(first.outText, HasSubstr("---dumpBbqStateDirectly:"));
    EXPECT_EQ(withoutAddresses(first.outText), withoutAddresses(again.outText));
    EXPECT_NE(withoutAddresses(first.outText), withoutAddresses(other.outText));
}

// On wall-clock threads, as before simulated time: the race detector's run of the stall.
TEST(SimulatorRealTime, StallIsDumpedFromTheProducersWait) {
    const SimulatorRun run = runSimulator("--seconds=2 --scenario=release-stall --realtime");
    expectCleanRun(run, "release-stall");
    const int stall = run.find("is stalled");
    ASSERT_GE(stall, 0);
    EXPECT_GE(run.find("---dumpBbqStateDirectly:"), 0);
    EXPECT_GE(run.find("---Dump BlastBufferQueue State START---"), 0);
}

TEST(SimulatorCampaign, NoRoomForTheStoriesFailsTheCampaign) {
    const SimulatorRun run = runSimulator("--campaign=2 --seed=1", "TMPDIR=/nonexistent");
    EXPECT_EQ(2, run.exitCode);
    EXPECT_THAT(run.stderrText,
                HasSubstr("cannot make a folder for the stories in /nonexistent/talvex-campaign-"));
}

}  // namespace
}  // namespace talvex::test
