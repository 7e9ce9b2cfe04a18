// The simulator run as the program `make run` starts: each scenario for about a second, its log
// read back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/simulator_run.h"

namespace talvex::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

// The stories with no case of their own below still play cleanly and say what they did.
struct ScenarioCase {
    const char* scenario;
    std::vector<std::string> ownLines;  // substrings of the simulator's lines, in order
};

void PrintTo(const ScenarioCase& c, std::ostream* out) {
    *out << c.scenario;
}

class SimulatorScenario : public testing::TestWithParam<ScenarioCase> {};

TEST_P(SimulatorScenario, PlaysToItsEndAndSaysWhatHappened) {
    const ScenarioCase& c = GetParam();
    const SimulatorRun run =
        runSimulator(std::string("--seconds=1 --seed=7 --scenario=") + c.scenario);
    expectCleanRun(run, c.scenario);
    EXPECT_THAT(run.lines, Contains(HasSubstr("TalvexFrameRecord create, this:0x")));
    EXPECT_THAT(run.lines, Contains(HasSubstr("enable:1")));
    int at = 0;
    for (const auto& wanted : c.ownLines) {
        at = run.find(wanted, at);
        ASSERT_GE(at, 0) << "missing, or out of order: " << wanted;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, SimulatorScenario,
    testing::Values(ScenarioCase{"healthy",
                                 {"I TalvexSimulator: scenario healthy (seed 7, 2 layers",
                                  "dump requested"}},
                    ScenarioCase{"churn", {"draws through", "destroyed", "draws through"}}),
    [](const testing::TestParamInfo<ScenarioCase>& info) { return info.param.scenario; });

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

TEST(SimulatorOversize, RequestAbove4000IsCapped) {
    const SimulatorRun run = runSimulator("--seconds=1 --scenario=oversize");
    expectCleanRun(run, "oversize");
    ASSERT_TRUE(run.helperAnswered()) << "the library answered with the helper's fallback";
    EXPECT_EQ(1, std::count(run.lines.begin(), run.lines.end(),
                            "D TalvexBufferQueueHelper: Not Support over 4k, change "
                            "width:4096->4000 height:2160->2160"));
    EXPECT_THAT(run.lines, Contains(HasSubstr("  default-size=[4000x2160] ")));
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
