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

#include "explain_sample_log.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace talvex::explain::test {
namespace {

constexpr const char* kHelperTag = "TalvexBufferQueueHelper";
constexpr int kBinderTid = 1235;
constexpr int kDumperTid = 1240;
constexpr int64_t kSecond = 1'000'000'000;
constexpr int64_t kMs = 1'000'000;

std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char* fmt, ...) {
    char buffer[1024];
    va_list args;
    va_start(args, fmt);
    vsnprintf(buffer, sizeof(buffer), fmt, args);
    va_end(args);
    return buffer;
}

// What the frame record prints for one frame, in its own layout.
std::string frameLine(uint64_t number, int64_t start,
                      const std::vector<std::pair<const char*, int64_t>>& events) {
    std::string line = format("  FrameNumber:%lu Events: ", static_cast<unsigned long>(number));
    uint64_t index = number * 10;
    for (const auto& [name, time] : events) {
        const int64_t d = time - start;
        line += format("%s(%lu/%ld/%c%dms%.3dus%.3d) ", name, static_cast<unsigned long>(index++),
                       static_cast<long>(time), d < 0 ? '-' : '+', static_cast<int>(d / 1000000),
                       static_cast<int>(d / 1000 % 1000), static_cast<int>(d % 1000));
    }
    return line +
           format(" StartStatus: sync:%d wait:%d numAvailable:%d numAcquired:%d startTime:%ld", 0,
                  0, 1, 0, static_cast<long>(start));
}

}  // namespace

std::vector<SampleRecord> sampleRecords() {
    std::vector<SampleRecord> r;
    auto foreign = [&](const char* tag, const char* message) {
        r.push_back({'I', tag, 2001, message, false});
    };
    auto helper = [&](char priority, int tid, std::string message) {
        r.push_back({priority, kHelperTag, tid, std::move(message), true});
        foreign("ActivityManager", "Start proc [com.other](pid:4321) for activity");
    };
    foreign("TalvexOther", "an unrelated tag that happens to start alike");
    helper('I', kBinderTid,
           format("Talvex-Graphics: TalvexBufferQueueHelper create, this:%p, size:%zu",
                  reinterpret_cast<void*>(0x7f00001000), size_t{64}));

    // The core dump: every slot held, none free.
    const uint64_t id = (uint64_t{kSamplePid} << 32) | 0;
    const std::string core =
        format("[%s](id:%lx,api:%d,p:%d,c:%lu)", kSampleQueue, static_cast<unsigned long>(id), 1,
               kSamplePid, static_cast<unsigned long>(id >> 32));
    auto coreLine = [&](const std::string& text) { helper('E', kBinderTid, core + text); };
    coreLine(" ---dumpBbqStateDirectly:");
    coreLine(
        format("  FIFO(%zu) mMaxAcquiredBufferCount=%d mMaxDequeuedBufferCount=%d "
               "mDequeueBufferCannotBlock=%d mAsyncMode=%d",
               size_t{1}, 1, 2, 0, 0));
    coreLine(
        format("  default-size=[%dx%d] default-format=%d frame-counter=%lu", 1080, 2340, 1, 6ul));
    coreLine("  --Slots states--:");
    coreLine(format("   %s[%02d:%p] ", ">", 0, reinterpret_cast<void*>(0x5000)));
    coreLine(format("   state=%-8s %p id=%lu frame=%lu", "ACQUIRED",
                    reinterpret_cast<void*>(0x6000), (uint64_t{kSamplePid} << 32 | 77), 6ul));
    coreLine(format("   [%4ux%4u:%4u,%3X]", 1080u, 2340u, 1088u, 1u));
    coreLine(format("   %s[%02d:%p] ", " ", 1, reinterpret_cast<void*>(0x5100)));
    coreLine(format("   state=%-8s %p id=%lu frame=%lu", "QUEUED", reinterpret_cast<void*>(0x6100),
                    (uint64_t{kSamplePid} << 32 | 76), 5ul));
    coreLine(format("   [%4ux%4u:%4u,%3X]", 1080u, 2340u, 1088u, 1u));
    coreLine(format("   [%02d:%p] ", 2, static_cast<void*>(nullptr)));
    coreLine(format("   state=%-8s frame=%lu", "DEQUEUED", 7ul));
    coreLine(" dumpBbqStateDirectly end---");
    helper('D', kBinderTid,
           format("dumpStateAndFrameRecord call blastbufferqueue check: "
                  "dumpflag:%d, enableCallback:%d",
                  1, 1));

    // The BLAST dump on the dumper thread.
    const std::string blast = format("[%s](f:%u,a:%u)", kSampleQueue, 1u, 1u);
    const int64_t now = 10 * kSecond;
    helper('D', kDumperTid,
           format("%s Talvex-Graphics:%s Start, nowTime:%ld", blast.c_str(),
                  "dumpBlastStateAndFrameRecordLocked", static_cast<long>(now)));
    std::vector<std::string> text = {
        "---Dump BlastBufferQueue State START---",
        format("mName:%s, mQueuedBufferTrace:%s", kSampleQueue,
               "QueuedBuffer - com.app/Main#0BLAST#0"),
        format("mSurfaceControl:%s(%p)", kSampleSurface, reinterpret_cast<void*>(0x7000)),
        format("mMaxAcquiredBuffers:%d, mProducerId:%u, mCurrentMaxAcquiredBufferCount:%u", 1, 0u,
               1u),
        "mSubmitted:",
        format("   Id:%s, Item:%lu, mApi:%d, mSlot:%d", "bufferId:76 framenumber:5", 5ul, 1, 1),
        format("   Id:%s, Item:%lu, mApi:%d, mSlot:%d", "bufferId:77 framenumber:6", 6ul, 1, 0),
        "mPendingRelease:",
        format("mTransactionReadyCallback:%d, mSyncTransaction:%p, mAcquireSingleBuffer:%d", 0,
               static_cast<void*>(nullptr), 1),
        "mPendingTransactions:" +
            format(" [framenumber:%lu-transaction:%p] ", 6ul, reinterpret_cast<void*>(0x8000)),
        format(
            "mLastAcquiredFrameNumber:%lu, mLastAppliedFrameNumber:%lu, mAppliedLastTransaction:%d",
            6ul, 6ul, 1),
        "mSurfaceControlsWithPendingCallback:" +
            format(" [%s(%p)] ", kSampleSurface, reinterpret_cast<void*>(0x7000)),
        "mSyncedFrameNumbers:" + format(" %lu ", 3ul),
        "---Dump BlastBufferQueue State END---",
        format("---Dump Process %s All Frame Record START, Size:%zu---", "app_process", size_t{1}),
        format("LayerId:%d BlastBufferQueue Name:%s SurfaceControl Name:%s", kSampleLayerId,
               kSampleQueue, kSampleSurface),
        " SurfaceControl:0x7000 mBlastBufferQueue:0x7100 mLayerHandle:0x0",
        " Synced Frame Event Record:",
        frameLine(3, 7 * kSecond,
                  {{"onFrameAvailable", 7 * kSecond + 1 * kMs},
                   {"acquireNextBuffer", 7 * kSecond + 2 * kMs},
                   {"apply", 7 * kSecond + 3 * kMs},
                   {"transactionCommittedCallback", 7 * kSecond + 10 * kMs},
                   {"transactionCallback", 7 * kSecond + 20 * kMs},
                   {"releaseBufferCallback", 7 * kSecond + 30 * kMs}}),
        " Normal Frame Event Record:",
        frameLine(4, 8 * kSecond,
                  {{"onFrameAvailable", 8 * kSecond + 1 * kMs},
                   {"acquireNextBuffer", 8 * kSecond + 4 * kMs},
                   {"apply", 8 * kSecond + 5 * kMs},
                   {"transactionCommittedCallback", 8 * kSecond + 14 * kMs},
                   {"transactionCallback", 8 * kSecond + 30 * kMs},
                   {"releaseBufferCallback", 8 * kSecond + 40 * kMs}}),
        frameLine(5, 8400 * kMs,
                  {{"onFrameAvailable", 8401 * kMs},
                   {"acquireNextBuffer", 8402 * kMs},
                   {"apply", 8403 * kMs},
                   {"transactionCommittedCallback", 8410 * kMs},
                   {"transactionCallback", 8500 * kMs}}),
        frameLine(6, 9940 * kMs,
                  {{"onFrameAvailable", 9945 * kMs}, {"acquireNextBuffer", 9950 * kMs}}),
        "---Dump All Frame Record END---",
        format("---Dump Current Process All Callback START, Callbacks:%d/%d/%d---", 2, 1, 2),
        format("CallbackId: (%d,%s,%ld/%s), Cb:%d SurfaceControls: [handle:%p,sc:%p,name:%s]", 42,
               "complete", static_cast<long>(8400 * kMs), "-1600ms000us000", 1,
               reinterpret_cast<void*>(0x9000), reinterpret_cast<void*>(0x7000), kSampleSurface),
        format("CallbackId: (%d,%s,%ld/%s), Cb:%d SurfaceControls:", 43, "commit",
               static_cast<long>(9960 * kMs), "-40ms000us000", 1),
        "ReleaseCallbackId: [bufferId:77 framenumber:6, cb:1] ",
        format("---Dump Current Process All Callback Over, NowBaseTime:%ld---",
               static_cast<long>(now)),
    };
    for (const std::string& piece : text) helper('D', kDumperTid, blast + " " + piece);
    r.push_back(
        {'D', "", kDumperTid, "Talvex-Graphics:callSurfaceFlingerByLayer async over: #7", true});
    helper('D', kBinderTid,
           format("Not Support over 4k, change width:%d->%d height:%d->%d", 4096, 4000, 2160, 2160));
    return r;
}

std::string renderRecords(const std::vector<SampleRecord>& records, const std::string& fmt) {
    std::string base, uidName;
    bool uid = false, color = false;
    for (size_t at = 0; at < fmt.size();) {
        const size_t end = std::min(fmt.find(' ', at), fmt.size());
        const std::string word = fmt.substr(at, end - at);
        at = end + 1;
        if (word == "color") {
            color = true;
        } else if (word.rfind("uid", 0) == 0) {
            uid = true;
            if (word.size() > 4) uidName = word.substr(4);
        } else {
            base = word;
        }
    }
    if (base.empty()) base = "threadtime";
    const bool threadtime = base == "threadtime" || base == "year" || base == "usec" ||
                            base == "epoch" || base == "monotonic" || base == "zone";
    std::string out;
    int second = 0;
    for (const SampleRecord& rec : records) {
        const int pid = rec.ours ? kSamplePid : 2000;
        const char* tag = rec.tag.empty() ? "app_process" : rec.tag.c_str();
        const char* msg = rec.message.c_str();
        const char p = rec.priority;
        std::string time = format("01-02 03:04:%02d.%03d", second / 1000 % 60, second % 1000);
        if (base == "year") time = "2026-" + time;
        if (base == "usec") time += "456";
        if (base == "zone") time += " +0000";
        if (base == "epoch") {
            time = format("%10d.%03d", 1767300000 + second / 1000, second % 1000);
        } else if (base == "monotonic") {
            time = format("%6d.%03d", second / 1000, second % 1000);
        }
        ++second;
        // A name for the library's process and "root" for the others, or numbers.
        std::string id = !uid              ? ""
                         : uidName.empty() ? format("%5d:", rec.ours ? 10123 : 1000)
                                           : format("%5s:", rec.ours ? uidName.c_str() : "root");
        if (threadtime && uid) id.back() = ' ';
        const char* u = id.c_str();
        std::string line;
        if (threadtime) {
            line = format("%s %s%5d %5d %c %-8s: %s", time.c_str(), u, pid, rec.tid, p, tag, msg);
        } else if (base == "time") {
            line = format("%s %c/%-8s(%s%5d): %s", time.c_str(), p, tag, u, pid, msg);
        } else if (base == "brief") {
            line = format("%c/%-8s(%s%5d): %s", p, tag, u, pid, msg);
        } else if (base == "process") {
            line = format("%c(%s%5d) %s  (%s)", p, u, pid, msg, tag);
        } else if (base == "tag") {
            line = format("%c/%-8s: %s", p, tag, msg);
        } else if (base == "thread") {
            line = format("%c(%s%5d:%5d) %s", p, u, pid, rec.tid, msg);
        } else if (base == "raw") {
            line = msg;
        } else if (base == "long") {
            line =
                format("[ %s %s%5d:%5d %c/%-8s ]\n%s", time.c_str(), u, pid, rec.tid, p, tag, msg);
        }
        if (color) line = format("\x1b[38;5;%dm", p == 'E' ? 196 : 75) + line + "\x1b[0m";
        out += line + (base == "long" ? "\n\n" : "\n");
    }
    return out;
}

std::string renderSample(const std::string& fmt, Encoding encoding) {
    std::string text = renderRecords(sampleRecords(), fmt);
    if (encoding == Encoding::kUtf8) return text;
    std::string crlf;
    for (char c : text) {
        if (c == '\n') crlf += '\r';
        crlf += c;
    }
    if (encoding == Encoding::kUtf8Crlf) return crlf;
    std::string utf16 = "\xFF\xFE";
    for (char c : crlf) {  // the sample is ASCII
        utf16 += c;
        utf16 += '\0';
    }
    return utf16;
}

uint64_t sampleLineOf(const std::string& needle) {
    const std::string text = renderSample("threadtime");
    const size_t at = text.find(needle);
    if (at == std::string::npos) return 0;
    uint64_t line = 1;
    for (size_t i = 0; i < at; ++i) line += text[i] == '\n';
    return line;
}

}  // namespace talvex::explain::test
