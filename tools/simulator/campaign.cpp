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

#include "campaign.h"

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "../exit_codes.h"
#include "explain.h"
#include "scorer.h"
#include "simulator.h"
#include "truth.h"

namespace talvex::simulator {
namespace {

// Lines of missed or made-up findings printed before the rest are only counted.
constexpr size_t kShownMisses = 20;

struct Story {
    uint64_t seed = 0;
    std::string log, truth;  // their files
};

struct Totals {
    size_t expected = 0, found = 0, missed = 0, invented = 0;
};

bool readFile(const std::string& path, std::string* text) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::ostringstream all;
    all << in.rdbuf();
    *text = all.str();
    return true;
}

std::string percent(size_t part, size_t whole) {
    if (whole == 0) return "-";
    char text[16];
    snprintf(text, sizeof(text), "%.1f%%", 100.0 * static_cast<double>(part) / whole);
    return text;
}

// Plays the story in a child process; returns its pid, or -1.
pid_t spawn(const Options& options, const Story& story) {
    fflush(nullptr);  // the child must not write the parent's buffered output again
    const pid_t pid = fork();
    if (pid != 0) return pid;
    Options one = options;
    one.campaign = 0;
    one.scenario = "random";
    one.seed = story.seed;
    one.outPath = story.log;
    one.truthPath = story.truth;
    FILE* quiet = fopen("/dev/null", "w");
    // exit(), not _exit(): the library unloads as at the end of any run, and its faults there
    // count too.
    exit(quiet == nullptr ? kExitFailed : playStory(one, quiet));
}

class Campaign {
public:
    Campaign(const Options& options, FILE* out) : mOptions(options), mOut(out) {
        mThresholds.stuckFrameNs = static_cast<int64_t>(options.stuckMs * 1e6);
        mThresholds.pendingCallbackNs = mThresholds.stuckFrameNs;
        for (const std::string& kind : scoredKinds()) mTotals[kind];
    }

    int run() {
        const char* tmp = getenv("TMPDIR");
        std::string dir =
            std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/talvex-campaign-XXXXXX";
        if (mkdtemp(dir.data()) == nullptr) {
            fprintf(stderr, "talvex_simulator: cannot make a folder for the stories in %s: %s\n",
                    dir.c_str(), strerror(errno));
            return kExitFailed;
        }
        mDir = dir;
        fprintf(mOut,
                "campaign: %d random stories, seeds %" PRIu64 " to %" PRIu64
                ", %d at once; a frame or callback is stuck after %.1f ms\n",
                mOptions.campaign, mOptions.seed, mOptions.seed + mOptions.campaign - 1,
                mOptions.jobs, mOptions.stuckMs);
        std::map<pid_t, Story> running;
        int next = 0;
        while (next < mOptions.campaign || !running.empty()) {
            while (next < mOptions.campaign && static_cast<int>(running.size()) < mOptions.jobs) {
                Story story;
                story.seed = mOptions.seed + static_cast<uint64_t>(next++);
                const std::string stem = mDir + "/" + std::to_string(story.seed);
                story.log = stem + ".log";
                story.truth = stem + ".json";
                const pid_t pid = spawn(mOptions, story);
                if (pid < 0) {
                    failed(story, std::string("could not start: ") + strerror(errno));
                    continue;
                }
                running[pid] = story;
            }
            if (running.empty()) continue;
            int status = 0;
            const pid_t pid = waitpid(-1, &status, 0);
            if (pid < 0) {
                if (errno == EINTR) continue;
                fprintf(stderr, "talvex_simulator: waitpid: %s\n", strerror(errno));
                return kExitFailed;
            }
            auto it = running.find(pid);
            if (it == running.end()) continue;
            const Story story = it->second;
            running.erase(it);
            if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
                score(story);
            } else if (WIFSIGNALED(status)) {
                failed(story, std::string("killed by signal ") + strsignal(WTERMSIG(status)));
            } else {
                failed(story, "exited " + std::to_string(WEXITSTATUS(status)));
            }
        }
        return report();
    }

private:
    void failed(const Story& story, const std::string& why) {
        ++mFailed;
        note(story, "could not be played: " + why);
    }

    void note(const Story& story, const std::string& line) {
        mKept.push_back(story.seed);
        if (mMisses.size() < kShownMisses) {
            mMisses.push_back("seed " + std::to_string(story.seed) + ": " + line);
        } else {
            ++mMoreMisses;
        }
    }

    void score(const Story& story) {
        std::string log, truthText, error;
        Truth truth;
        if (!readFile(story.log, &log) || !readFile(story.truth, &truthText) ||
            !Truth::fromJson(truthText, &truth, &error)) {
            ++mFailed;
            note(story, "its log or truth could not be read" +
                            (error.empty() ? std::string() : ": " + error));
            return;
        }
        ++mScored;
        const Score score = scoreStory(truth, explain::explainText(log, mThresholds), mThresholds);
        for (const KindScore& kind : score.kinds) {
            Totals& totals = mTotals[kind.kind];
            totals.expected += kind.expected;
            totals.found += kind.found;
            totals.missed += kind.missed.size();
            totals.invented += kind.invented.size();
            for (const std::string& item : kind.missed) note(story, kind.kind + " missed: " + item);
            for (const std::string& item : kind.invented) {
                note(story, kind.kind + " made up: " + item);
            }
        }
        if (score.clean()) {
            unlink(story.log.c_str());
            unlink(story.truth.c_str());
        }
    }

    int report() {
        fprintf(mOut, "%-24s %9s %9s %7s %8s %8s %10s\n", "kind", "expected", "found", "missed",
                "made up", "recall", "precision");
        size_t missedOrInvented = 0;
        for (const std::string& kind : scoredKinds()) {
            const Totals& t = mTotals[kind];
            fprintf(mOut, "%-24s %9zu %9zu %7zu %8zu %8s %10s\n", kind.c_str(), t.expected, t.found,
                    t.missed, t.invented, percent(t.expected - t.missed, t.expected).c_str(),
                    percent(t.found - t.invented, t.found).c_str());
            missedOrInvented += t.missed + t.invented;
        }
        fprintf(mOut, "%zu stories scored, %zu could not be played or read\n", mScored, mFailed);
        for (const std::string& line : mMisses) fprintf(mOut, "  %s\n", line.c_str());
        if (mMoreMisses > 0) fprintf(mOut, "  ... and %zu more\n", mMoreMisses);
        if (mKept.empty()) {
            rmdir(mDir.c_str());
            fprintf(mOut, "every story scored clean\n");
        } else {
            fprintf(mOut,
                    "the logs and truths of those stories are in %s; play one again with\n"
                    "  talvex_simulator --scenario random --seed %" PRIu64
                    " --out story.log --truth truth.json\n",
                    mDir.c_str(), mKept.front());
        }
        fflush(mOut);
        if (mFailed > 0) return kExitFailed;
        return missedOrInvented > 0 ? kExitReport : kExitNothingToReport;
    }

    const Options mOptions;
    FILE* const mOut;
    explain::Thresholds mThresholds;
    std::string mDir;
    std::map<std::string, Totals> mTotals;
    size_t mScored = 0, mFailed = 0, mMoreMisses = 0;
    std::vector<std::string> mMisses;
    std::vector<uint64_t> mKept;
};

}  // namespace

int runCampaign(const Options& options, FILE* out) {
    return Campaign(options, out).run();
}

}  // namespace talvex::simulator
