// The simulator behind `make run`: drives the library through the hook getters as libgui does.
#include "simulator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <string>
#include <vector>

#include "logcat_sink.h"
#include "support/own_process.h"

namespace talvex::simulator {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

// One logcat line without its time, pid and tid: "I SurfaceFlinger: text".
std::vector<std::string> runAndRead(std::vector<std::string> args) {
    args.insert(args.begin(), "talvex_simulator");
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    FILE* out = tmpfile();
    EXPECT_EQ(0, runSimulator(static_cast<int>(argv.size()), argv.data(), out));
    rewind(out);
    static const std::regex kLine(R"(^\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} +\d+ +\d+ ([VDIWEF] .*)$)");
    std::vector<std::string> lines;
    char buffer[8192];
    while (fgets(buffer, sizeof(buffer), out) != nullptr) {
        std::string line(buffer);
        if (!line.empty() && line.back() == '\n') line.pop_back();
        std::smatch match;
        EXPECT_TRUE(std::regex_match(line, match, kLine)) << line;
        lines.push_back(match[1]);
    }
    // Unload still logs (the hook module's exit line): not into a closed file.
    logToLogcatFormat(stderr);
    fclose(out);
    return lines;
}

bool containsInOrder(const std::vector<std::string>& lines, const std::vector<std::string>& wanted) {
    size_t next = 0;
    for (const std::string& line : lines) {
        if (next < wanted.size() && line.find(wanted[next]) != std::string::npos) ++next;
    }
    return next == wanted.size();
}

TEST(Simulator, UserdebugRunExplainsTheStalledFrame) {
    EXPECT_IN_OWN_PROCESS({
        const auto lines = runAndRead({});
        EXPECT_TRUE(containsInOrder(
            lines,
            {"I simulator_test: Talvex-Graphics: TalvexTestExample sayHello",
             "I simulator_test: Talvex-Graphics: TalvexFrameRecord create, this:0x",
             "I TalvexSimulator: scenario: layer 7 renders 12 frames; the compositor commits "
             "frame 11 but never completes it",
             "D TalvexSimulator: [VRI[MainActivity]#0] ---Dump Process simulator_test All "
             "Frame Record START, Size:1---",
             "D TalvexSimulator: [VRI[MainActivity]#0] LayerId:7 BlastBufferQueue "
             "Name:VRI[MainActivity]#0 SurfaceControl Name:com.example.app/MainActivity#7",
             "D TalvexSimulator: [VRI[MainActivity]#0]   FrameNumber:2 Events: "
             "onFrameAvailable(8/",
             "D TalvexSimulator: [VRI[MainActivity]#0] ---Dump All Frame Record END---",
             "D TalvexSimulator: pending transaction callback 111: -",
             "I SurfaceFlinger: code 1025 (one-way): command 3 for layer#7, token set",
             "D simulator_test: Talvex-Graphics:callSurfaceFlingerByLayer async over: #7"}));
        EXPECT_THAT(lines, Contains(HasSubstr("enable:1")));
        // Frame 1 was evicted by frame 12; frame 11 stops at the commit.
        EXPECT_THAT(lines, Not(Contains(HasSubstr("FrameNumber:1 "))));
        const std::regex stalled(
            R"(.*FrameNumber:11 Events: .* transactionCommittedCallback\(84/\d+/\+\d+ms\d{3}us\d{3}\)  StartStatus: .*)");
        EXPECT_EQ(1, std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
                      return std::regex_match(line, stalled);
                  }));
        EXPECT_EQ(1, std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
                      return line.find("pending transaction callback") != std::string::npos;
                  }));
    });
}

TEST(Simulator, UserBuildKeepsNothingButStillNamesTheLayer) {
    EXPECT_IN_OWN_PROCESS({
        const auto lines = runAndRead({"--build-type=user"});
        EXPECT_THAT(lines, Contains(HasSubstr("enable:0")));
        EXPECT_THAT(lines, Contains(HasSubstr("recording is off on this build")));
        EXPECT_THAT(lines, Not(Contains(HasSubstr("---Dump Process"))));
        EXPECT_THAT(lines, Not(Contains(HasSubstr("pending transaction callback"))));
        EXPECT_THAT(lines, Contains("I SurfaceFlinger: code 1025 (one-way): command 3 for "
                                    "layer#7, token set"));
    });
}

TEST(Simulator, UnknownArgumentIsAUsageError) {
    char name[] = "talvex_simulator";
    char bogus[] = "--bogus";
    char* argv[] = {name, bogus};
    testing::internal::CaptureStderr();
    EXPECT_EQ(2, runSimulator(2, argv, stdout));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("talvex_simulator: unknown argument '--bogus'\nusage: "));
}

}  // namespace
}  // namespace talvex::simulator
