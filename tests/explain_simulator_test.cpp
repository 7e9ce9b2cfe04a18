// The analyzer on what the simulator really writes: each story's log, read back, must yield the
// findings a graphics engineer would draw from it by hand. Expected values come from the
// simulator's own lines in the same log, never from guesses about a run.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "explain.h"

namespace talvex::explain {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// The log a scenario writes with `--out`, and the exit status of its run.
struct ScenarioLog {
    int exitCode = -1;
    std::string text;

    // The groups of the last line matching `pattern` (a search, not a whole-line match).
    std::smatch last(const std::string& pattern) const {
        const std::regex re(pattern);
        std::smatch found;
        for (auto it = std::sregex_iterator(text.begin(), text.end(), re);
             it != std::sregex_iterator(); ++it) {
            found = *it;
        }
        return found;
    }
    // The 1-based number of the line holding `offset`.
    uint64_t lineAt(size_t offset) const {
        return 1 + std::count(text.begin(), text.begin() + static_cast<long>(offset), '\n');
    }
};

ScenarioLog runScenario(const std::string& scenario) {
    std::string out = testing::TempDir() + "explain_simulator_XXXXXX";
    const int fd = mkstemp(out.data());
    if (fd >= 0) close(fd);
    const std::string command = std::string(TALVEX_SIMULATOR_PATH) +
                                " --seconds=1 --seed=3 --scenario=" + scenario + " --out " + out +
                                " >/dev/null";
    const int status = std::system(command.c_str());
    ScenarioLog log;
    log.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    std::ifstream in(out);
    std::stringstream text;
    text << in.rdbuf();
    log.text = text.str();
    unlink(out.c_str());
    return log;
}

// The layer's surface name, from the simulator's "layer N (surface) draws through ..." line.
std::string surfaceOf(const ScenarioLog& log, const std::string& id) {
    return log.last("TalvexSimulator: layer " + id + R"( \((.*)\) draws through )")[1];
}

// The finding of `kind` about `layer`, or null.
const Finding* findingFor(const Analysis& a, const std::string& kind, const std::string& layer) {
    for (const Finding& f : a.findings) {
        if (f.kind == kind && f.layer == layer) return &f;
    }
    return nullptr;
}

void expectReleaseStall(const ScenarioLog& log, const Analysis& a) {
    const std::string id = log.last(R"(TalvexSimulator: layer (\d+) is stalled)")[1];
    ASSERT_FALSE(id.empty()) << "the run never stalled";
    const uint64_t firstHeld = std::stoull(
        log.last("stops releasing layer " + id + R"('s buffers \(frame (\d+) and on\))")[1]);
    const std::string queue =
        log.last("TalvexSimulator: layer " + id + R"( \(.*\) draws through (\S+) at)")[1];

    const std::string label = "layer " + id + " \"" + surfaceOf(log, id) + "\"";
    const Finding* it = findingFor(a, "stuck-frames", label);
    ASSERT_NE(nullptr, it) << "no stuck-frames finding for " << label;
    // Nothing before the hold is stuck; the newest frames queue behind the held buffers and
    // are never acquired. (A loaded run may see the first held frames given back early.)
    ASSERT_FALSE(it->frames.empty());
    EXPECT_THAT(it->frames, Each(Ge(firstHeld)));
    EXPECT_THAT(it->summary, HasSubstr("frame " + std::to_string(it->frames.back()) +
                                       " stuck after onFrameAvailable for "));

    // The stalled queue ran dry (a slow sanitizer run may starve the other one too).
    std::vector<std::string> starved;
    for (const Finding& f : a.findings) {
        if (f.kind == "producer-starved") starved.push_back(f.layer);
    }
    EXPECT_THAT(starved, Contains(StartsWith(queue + "(BLAST Consumer)")));
}

void expectCallbackLost(const ScenarioLog& log, const Analysis& a) {
    const std::string id = log.last(R"(never deliver the completion of layer (\d+)'s)")[1];
    ASSERT_FALSE(id.empty());
    // The lost callback is the one the first dump lists and the second still does.
    const size_t second = log.text.find("TalvexSimulator: second dump");
    ASSERT_NE(std::string::npos, second);
    const std::regex pending(R"(CallbackId: \((\d+),complete,)");
    std::string lostId;
    uint64_t lostLine = 0;
    for (auto m = std::sregex_iterator(log.text.begin() + static_cast<long>(second), log.text.end(),
                                       pending);
         m != std::sregex_iterator(); ++m) {
        if (log.text.rfind("CallbackId: (" + (*m)[1].str() + ",", second) == std::string::npos)
            continue;
        lostId = (*m)[1];
        lostLine = log.lineAt(second + static_cast<size_t>(m->position()));
    }
    ASSERT_FALSE(lostId.empty()) << "no callback pending in both dumps";

    const Finding* it = findingFor(a, "old-callbacks", surfaceOf(log, id));
    ASSERT_NE(nullptr, it) << "no old-callbacks finding for layer " << id;
    EXPECT_THAT(it->summary, HasSubstr("callback " + lostId + " (complete) pending for "));
    EXPECT_THAT(it->evidence, Contains(lostLine));
}

void expectSync(const ScenarioLog& log, const Analysis& a) {
    const std::string id = log.last(R"(a sync of layer (\d+)'s next frame)")[1];
    ASSERT_FALSE(id.empty());
    // The synced section of that layer in the last frame record, as the log lists it.
    std::vector<uint64_t> listed;
    bool inLayer = false, inSynced = false;
    std::istringstream lines(log.text);
    for (std::string line; std::getline(lines, line);) {
        if (line.find(") LayerId:") != std::string::npos) {
            inLayer = line.find(") LayerId:" + id + " ") != std::string::npos;
            inSynced = false;
        } else if (inLayer && line.find("  Synced Frame Event Record:") != std::string::npos) {
            listed.clear();
            inSynced = true;
        } else if (line.find("  Normal Frame Event Record:") != std::string::npos) {
            inSynced = false;
        } else if (inSynced && line.find("   FrameNumber:") != std::string::npos) {
            listed.push_back(std::stoull(line.substr(line.find("FrameNumber:") + 12)));
        }
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

struct StoryCase {
    const char* scenario;
    void (*expect)(const ScenarioLog&, const Analysis&);
};

void PrintTo(const StoryCase& c, std::ostream* out) {
    *out << c.scenario;
}

class ExplainSimulatorLog : public testing::TestWithParam<StoryCase> {};

TEST_P(ExplainSimulatorLog, FindsWhatTheStoryPlayed) {
    const ScenarioLog log = runScenario(GetParam().scenario);
    ASSERT_EQ(0, log.exitCode);
    ASSERT_NE(std::string::npos, log.text.find("createTalvexBufferQueueHelperFactory success"))
        << "the library answered with the helper's fallback";
    GetParam().expect(log, explainText(log.text));
}

INSTANTIATE_TEST_SUITE_P(Stories, ExplainSimulatorLog,
                         testing::Values(StoryCase{"release-stall", expectReleaseStall},
                                         StoryCase{"callback-lost", expectCallbackLost},
                                         StoryCase{"sync", expectSync}),
                         [](const testing::TestParamInfo<StoryCase>& info) {
                             std::string name = info.param.scenario;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

}  // namespace
}  // namespace talvex::explain
