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
    EXPECT_EQ(2, run.exitCode);
    EXPECT_THAT(
        run.stderrText,
        HasSubstr("talvex_simulator: --layers wants a whole number from 1 to 16, not '99'\n"));
    EXPECT_THAT(run.lines, Not(Contains(HasSubstr("TalvexSimulator"))));
}

TEST(Simulator, HelpNamesEveryScenario) {
    const std::string help = runSimulator("--help").stdoutText;
    for (const char* name :
         {"healthy", "release-stall", "callback-lost", "sync", "oversize", "churn"}) {
        EXPECT_THAT(help, HasSubstr(name));
    }
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

}  // namespace
}  // namespace talvex::test
