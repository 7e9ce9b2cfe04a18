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

// Throughput of talvex-explain on a generated logcat with dumps scattered among unrelated lines,
// against `grep -c` of the helper's tag on the same file in the same run.
// Usage: explain_benchmark [size in MB, default 200]
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "dump_parser.h"
#include "explain.h"
#include "input_source.h"

namespace {

using Clock = std::chrono::steady_clock;

// One dump as the library logs it, in threadtime layout.
std::string dumpBlock(int n) {
    const std::string h = "01-02 03:04:05.678  1234  1240 D TalvexBufferQueueHelper: ";
    const std::string c =
        "01-02 03:04:05.678  1234  1235 E TalvexBufferQueueHelper: "
        "[app#0](id:4d200000000,api:1,p:1234,c:1234)";
    const std::string b = h + "[app#0](f:1,a:1) ";
    const std::string t = std::to_string(n * 1000000000L);
    return c + " ---dumpBbqStateDirectly:\n" + c +
           "  FIFO(1) mMaxAcquiredBufferCount=1 mMaxDequeuedBufferCount=2 "
           "mDequeueBufferCannotBlock=0 mAsyncMode=0\n" +
           c + "  --Slots states--:\n" + c + "   >[00:0x5000] \n" + c +
           "   state=ACQUIRED 0x6000 id=77 frame=6\n" + c + "   [1080x2340:1088,  1]\n" + c +
           " dumpBbqStateDirectly end---\n" + b +
           "Talvex-Graphics:dumpBlastStateAndFrameRecordLocked Start, nowTime:" + t + "\n" + b +
           "---Dump Process app All Frame Record START, Size:1---\n" + b +
           "LayerId:7 BlastBufferQueue Name:app#0 SurfaceControl Name:app\n" + b +
           " Normal Frame Event Record:\n" + b + "  FrameNumber:5 Events: onFrameAvailable(1/" + t +
           "/+0ms000us000)  StartStatus: sync:0 wait:0 numAvailable:1 numAcquired:0 "
           "startTime:" +
           t + "\n" + b + "---Dump All Frame Record END---\n" + b +
           "---Dump Current Process All Callback START, Callbacks:0/0/0---\n" + b +
           "ReleaseCallbackId: \n" + b +
           "---Dump Current Process All Callback Over, NowBaseTime:" + t + "---\n";
}

long maxRssKb() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

}  // namespace

int main(int argc, char** argv) {
    const long megabytes = argc > 1 ? std::atol(argv[1]) : 200;
    const std::string path = "/tmp/explain_benchmark_" + std::to_string(getpid()) + ".log";
    FILE* f = fopen(path.c_str(), "wb");
    if (!f || megabytes <= 0) {
        fprintf(stderr, "explain_benchmark: cannot write %s (or bad size)\n", path.c_str());
        return 2;
    }
    const std::string foreign[] = {
        "01-02 03:04:05.678  2000  2001 I ActivityManager: Start proc 4321:com.other/u0a1 "
        "for activity {com.other/.Main}\n",
        "01-02 03:04:05.679   900   950 D SurfaceFlinger: [Layer#12](some layer) frame "
        "latched, 3 pending\n",
        "01-02 03:04:05.680  1500  1510 W chatty  : uid=10000 identical 3 lines\n"};
    size_t written = 0, dumps = 0;
    const size_t target = static_cast<size_t>(megabytes) << 20;
    for (size_t i = 0; written < target; ++i) {
        const std::string& line =
            i % 5000 == 4999 ? dumpBlock(static_cast<int>(++dumps)) : foreign[i % 3];
        fwrite(line.data(), 1, line.size(), f);
        written += line.size();
    }
    fclose(f);
    const long rssBefore = maxRssKb();

    const auto start = Clock::now();
    talvex::explain::DumpParser parser;
    talvex::explain::LineReader reader(
        [&](std::string_view line, size_t dropped) { parser.addLine(line, dropped); });
    const auto read = talvex::explain::readInput(path, reader, nullptr);
    reader.finish();
    talvex::explain::Analysis analysis = parser.finish();
    talvex::explain::addFindings(analysis, {});
    const double explainSeconds = std::chrono::duration<double>(Clock::now() - start).count();

    const auto grepStart = Clock::now();
    const std::string command = "grep -c TalvexBufferQueueHelper " + path;
    FILE* grep = popen(command.c_str(), "r");
    char count[64] = {};
    if (grep) {
        if (!fgets(count, sizeof(count), grep)) count[0] = '\0';
        pclose(grep);
    }
    const double grepSeconds = std::chrono::duration<double>(Clock::now() - grepStart).count();
    unlink(path.c_str());

    const double mb = static_cast<double>(written) / (1 << 20);
    printf("input: %.0f MB, %zu dumps; read: %s\n", mb, dumps,
           read.error.empty() ? "ok" : read.error.c_str());
    printf("talvex-explain: %.2f s, %.0f MB/s, %zu core + %zu BLAST dumps, %zu findings\n",
           explainSeconds, mb / explainSeconds, analysis.coreDumps.size(),
           analysis.blastDumps.size(), analysis.findings.size());
    printf("grep -c:        %.2f s, %.0f MB/s (%ld lines)\n", grepSeconds, mb / grepSeconds,
           std::atol(count));
    printf("ratio explain/grep: %.2f\n", grepSeconds / explainSeconds);
    printf("peak memory: %ld KB before the run, %ld KB after\n", rssBefore, maxRssKb());
    return analysis.coreDumps.size() == dumps && analysis.blastDumps.size() == dumps ? 0 : 1;
}
