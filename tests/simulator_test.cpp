// The simulator run as the program `make run` starts: each scenario for about a second, its log
// read back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

// One run of the program: its exit status, its log lines without time, pid and tid
// ("I TalvexSimulator: text") and its stderr.
struct SimulatorRun {
    int exitCode = -1;
    std::vector<std::string> lines;
    std::vector<std::string> otherLines;  // stdout lines not in logcat's format
    std::string stdoutText;
    std::string stderrText;

    bool helperAnswered() const {
        for (const auto& line : lines) {
            if (line.find("createTalvexBufferQueueHelperFactory success") != std::string::npos) {
                return true;
            }
        }
        return false;
    }
    // Returns the index of the first line at or after `from` that contains `text`, or -1 (also
    // for a negative `from`).
    int find(const std::string& text, int from = 0) const {
        if (from < 0) return -1;
        for (int i = from; i < static_cast<int>(lines.size()); ++i) {
            if (lines[i].find(text) != std::string::npos) return i;
        }
        return -1;
    }
    // Returns the first match of `pattern` (a whole-line regex) in a line, with its groups.
    std::smatch match(const std::string& pattern) const {
        const std::regex re(pattern);
        std::smatch found;
        for (const auto& line : lines) {
            if (std::regex_match(line, found, re)) return found;
        }
        return found;
    }
};

std::string readFile(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// A fresh file name: tests of this binary run in parallel.
std::string tempPath(const char* name) {
    std::string path = testing::TempDir() + name + "XXXXXX";
    const int fd = mkstemp(path.data());
    if (fd >= 0) close(fd);
    return path;
}

SimulatorRun runSimulator(const std::string& args) {
    const std::string errPath = tempPath("simulator_stderr_");
    const std::string command = std::string(TALVEX_SIMULATOR_PATH) + " " + args + " 2>" + errPath;
    SimulatorRun run;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return run;
    char buffer[1 << 16];
    while (fgets(buffer, sizeof(buffer), pipe) != nullptr) run.stdoutText += buffer;
    const int status = pclose(pipe);
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    run.stderrText = readFile(errPath);
    unlink(errPath.c_str());
    static const std::regex kLine(R"(^\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} +\d+ +\d+ ([VDIWEF] .*)$)");
    std::istringstream lines(run.stdoutText);
    for (std::string line; std::getline(lines, line);) {
        std::smatch parts;
        if (std::regex_match(line, parts, kLine)) {
            run.lines.push_back(parts[1]);
        } else {
            run.otherLines.push_back(line);
        }
    }
    return run;
}

// A run that must have ended well: exit 0, nothing from a sanitizer, the closing line.
void expectCleanRun(const SimulatorRun& run, const std::string& scenario) {
    EXPECT_EQ(0, run.exitCode) << run.stderrText;
    EXPECT_THAT(run.stderrText, Not(HasSubstr("Sanitizer")));
    EXPECT_THAT(run.otherLines, testing::IsEmpty());
    EXPECT_THAT(run.lines, Contains("I TalvexSimulator: scenario " + scenario + " over"));
}

// The layer a scenario picked, from the simulator's own lines: its id, surface and queue names.
struct PickedLayer {
    std::string id;
    std::string surface;
    std::string queue;
};

PickedLayer layerFrom(const SimulatorRun& run, const std::string& pickedPattern) {
    PickedLayer layer;
    layer.id = run.match(pickedPattern)[1];
    const std::smatch made = run.match("I TalvexSimulator: layer " + layer.id +
                                       R"( \((.*)\) draws through (.*) at \d+ fps)");
    layer.surface = made[1];
    layer.queue = made[2];
    return layer;
}

// The frame lines of layer `id` in the frame record dumps, in log order.
std::vector<std::string> frameLines(const SimulatorRun& run, const std::string& id) {
    std::vector<std::string> frames;
    bool inLayer = false;
    for (const auto& line : run.lines) {
        if (line.find(") LayerId:") != std::string::npos) {
            inLayer = line.find(") LayerId:" + id + " ") != std::string::npos;
        } else if (line.find("---Dump All Frame Record END---") != std::string::npos) {
            inLayer = false;
        } else if (inLayer && line.find("   FrameNumber:") != std::string::npos) {
            frames.push_back(line);
        }
    }
    return frames;
}

uint64_t frameNumberOf(const std::string& frameLine) {
    std::smatch number;
    std::regex_search(frameLine, number, std::regex("FrameNumber:(\\d+) "));
    return std::stoull(number[1]);
}

// Every scenario plays to its end within its time, cleanly (also under the sanitizer builds,
// which build this program with them), and says what it did.
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
        EXPECT_GE(at, 0) << "missing, or out of order: " << wanted;
        if (at < 0) break;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, SimulatorScenario,
    testing::Values(
        ScenarioCase{"healthy",
                     {"I TalvexSimulator: scenario healthy (seed 7, 2 layers", "dump requested"}},
        ScenarioCase{"release-stall",
                     {"stops releasing layer", "W TalvexSimulator: VRI[", "dequeueBuffer timed out",
                      "is stalled"}},
        ScenarioCase{"callback-lost", {"will never deliver", "first dump", "second dump"}},
        ScenarioCase{"sync", {"a sync of layer", "a sync of layer", "a sync of layer"}},
        ScenarioCase{"oversize", {"asks for 4096x2160 buffers"}},
        ScenarioCase{"churn", {"draws through", "destroyed", "draws through"}}),
    [](const testing::TestParamInfo<ScenarioCase>& info) {
        std::string name = info.param.scenario;
        for (char& ch : name) {
            if (ch == '-') ch = '_';
        }
        return name;
    });

TEST(Simulator, OutFileHoldsTheSameLogAsTheScreen) {
    const std::string outPath = tempPath("simulator_out_");
    const SimulatorRun run = runSimulator("--seconds=0.5 --scenario=healthy --out " + outPath);
    expectCleanRun(run, "healthy");
    const std::string file = readFile(outPath);
    EXPECT_THAT(file, HasSubstr("I TalvexSimulator: scenario healthy over\n"));
    // The screen goes on with the unload's lines; the file ends with the run.
    EXPECT_EQ(0u, run.stdoutText.find(file));
    unlink(outPath.c_str());
}

TEST(Simulator, BadOptionIsRefusedBeforeAnythingRuns) {
    const SimulatorRun run = runSimulator("--layers=99");
    EXPECT_EQ(2, run.exitCode);
    EXPECT_THAT(
        run.stderrText,
        HasSubstr("talvex_simulator: --layers wants a whole number from 1 to 16, not '99'\n"));
    EXPECT_THAT(run.lines, Not(Contains(HasSubstr("TalvexSimulator"))));
}

TEST(Simulator, HelpNamesEveryScenario) {
    const SimulatorRun run = runSimulator("--help");
    EXPECT_EQ(0, run.exitCode);
    for (const char* name :
         {"healthy", "release-stall", "callback-lost", "sync", "oversize", "churn"}) {
        EXPECT_THAT(run.stdoutText, HasSubstr(name));
    }
}

// ---- What the library's dumps show of each story ----

TEST(SimulatorReleaseStall, DumpShowsTheStalledLayerHoldingEveryBuffer) {
    const SimulatorRun run = runSimulator("--seconds=1 --seed=3");
    expectCleanRun(run, "release-stall");
    ASSERT_TRUE(run.helperAnswered()) << "the library answered with the helper's fallback";
    const PickedLayer stalled =
        layerFrom(run, R"(I TalvexSimulator: the compositor stops releasing layer (\d+)'s .*)");
    const uint64_t firstHeld =
        std::stoull(run.match(R"(.*stops releasing layer \d+'s buffers \(frame (\d+) and on\))")[1]);
    const int timeout = run.find("dequeueBuffer timed out");
    ASSERT_GE(timeout, 0);

    // The core dump after the timeout: no slot free, every buffer with the compositor or queued
    // behind it.
    const std::string core = "E TalvexBufferQueueHelper: [" + stalled.queue + "(BLAST Consumer)";
    const int coreStart = run.find("---dumpBbqStateDirectly:", timeout);
    ASSERT_GE(coreStart, 0);
    EXPECT_THAT(run.lines[coreStart], HasSubstr(core));
    const int coreEnd = run.find("dumpBbqStateDirectly end---", coreStart);
    ASSERT_GT(coreEnd, coreStart);
    std::multiset<std::string> states;
    for (int i = coreStart; i < coreEnd; ++i) {
        std::smatch state;
        if (std::regex_search(run.lines[i], state, std::regex(R"(state=(\w+))"))) {
            states.insert(state[1]);
        }
    }
    EXPECT_EQ(0u, states.count("FREE"));
    EXPECT_LE(1u, states.count("ACQUIRED"));
    for (const auto& state : states) {
        EXPECT_THAT(state, testing::AnyOf("ACQUIRED", "QUEUED", "DEQUEUED"));
    }

    // The BLAST dump names the queue; frames the compositor holds never got their buffer back.
    EXPECT_GE(run.find("D TalvexBufferQueueHelper: [" + stalled.queue + "](f:", coreEnd), 0);
    const std::vector<std::string> frames = frameLines(run, stalled.id);
    ASSERT_FALSE(frames.empty());
    bool sawReleasedBeforeStall = false;
    for (const auto& frame : frames) {
        const bool released = frame.find("releaseBufferCallback(") != std::string::npos;
        if (frameNumberOf(frame) >= firstHeld) {
            EXPECT_FALSE(released) << frame;
        }
        if (frameNumberOf(frame) + 1 < firstHeld) sawReleasedBeforeStall |= released;
    }
    EXPECT_TRUE(sawReleasedBeforeStall);

    // The compositor is asked about that layer, and the run ends there.
    const int request = run.find(
        "I SurfaceFlinger: stand-in: code 1025 (one-way), command 3: "
        "asked about layer#" +
            stalled.id + " (" + stalled.surface + ")",
        coreEnd);
    EXPECT_GT(request, coreEnd);
    EXPECT_GT(run.find("is stalled", request), request);
}

// The age printed for each pending callback id in the first listener dump after line `from`.
std::map<std::string, long> callbackAges(const SimulatorRun& run, int from) {
    std::map<std::string, long> ages;
    const std::regex pending(R"(.*CallbackId: \((\d+),complete,\d+/-(\d+)ms(\d+)us\d+\).*)");
    const int start = run.find("---Dump Current Process All Callback START", from);
    const int end = run.find("---Dump Current Process All Callback Over", start);
    for (int i = start; start >= 0 && i < end; ++i) {
        std::smatch found;
        if (std::regex_match(run.lines[i], found, pending)) {
            ages[found[1]] = std::stol(found[2]) * 1000 + std::stol(found[3]);
        }
    }
    return ages;
}

TEST(SimulatorCallbackLost, LostCallbackGrowsOlderBetweenDumps) {
    const SimulatorRun run = runSimulator("--seconds=1 --scenario=callback-lost");
    expectCleanRun(run, "callback-lost");
    ASSERT_TRUE(run.helperAnswered()) << "the library answered with the helper's fallback";
    // The dumps asked for; a slow run may add others when frames pile up.
    const std::map<std::string, long> dumps[] = {
        callbackAges(run, run.find("I TalvexSimulator: first dump")),
        callbackAges(run, run.find("I TalvexSimulator: second dump"))};
    std::vector<std::string> inBoth;
    for (const auto& [id, age] : dumps[0]) {
        if (dumps[1].count(id) != 0) inBoth.push_back(id);
    }
    ASSERT_EQ(1u, inBoth.size()) << "only the lost callback outlives a frame";
    EXPECT_GT(dumps[1].at(inBoth[0]), dumps[0].at(inBoth[0]) + 100000);  // us: >100 ms older
}

TEST(SimulatorSync, SyncedFramesAreRecordedAsSynced) {
    const SimulatorRun run = runSimulator("--seconds=1 --scenario=sync --layers=1");
    expectCleanRun(run, "sync");
    ASSERT_TRUE(run.helperAnswered()) << "the library answered with the helper's fallback";
    const int synced = run.find(")  Synced Frame Event Record:");
    ASSERT_GE(synced, 0);
    ASSERT_LT(synced + 1, static_cast<int>(run.lines.size()));
    EXPECT_THAT(run.lines[synced + 1], HasSubstr("   FrameNumber:"));
    EXPECT_THAT(run.lines[synced + 1], HasSubstr(" syncNextTransaction("));
    EXPECT_THAT(run.lines[synced + 1], HasSubstr(" StartStatus: sync:1 "));
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
    EXPECT_THAT(run.lines, Contains(HasSubstr("enable:0")));
    EXPECT_THAT(run.lines, Contains("I TalvexSimulator: recording is off on a user build: the "
                                    "frame record keeps nothing"));
    EXPECT_THAT(run.lines, Not(Contains(HasSubstr("Frame Record"))));
    EXPECT_THAT(run.lines, Not(Contains(HasSubstr("  FrameNumber:"))));
    ASSERT_TRUE(run.helperAnswered()) << "the library answered with the helper's fallback";
    EXPECT_THAT(run.lines, Contains(HasSubstr("---Dump BlastBufferQueue State START---")));
}

}  // namespace
