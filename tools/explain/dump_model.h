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

// The structured result of reading a log: every dump the graphics library wrote, rebuilt from
// its lines, plus the loose lines (triggers, limiter, compositor requests) and the warnings.
// Line numbers are 1-based lines of the decoded input.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace talvex::explain {

// Where a dump's lines were read and which process wrote them (-1 when the format has no pid).
struct Origin {
    uint64_t firstLine = 0;
    uint64_t lastLine = 0;
    int pid = -1;
    int tid = -1;
    std::string timestamp;  // the log's own time text of the first line, "" when it has none
};

// One slot of a core dump, in the order it was printed.
struct SlotState {
    enum class Group { kActive, kFreeBuffer, kFreeSlot };
    Group group = Group::kActive;
    int slot = -1;
    bool acquired = false;  // printed with the ">" marker
    std::string buffer;     // the buffer's address as printed ("(nil)" or "0x0" when none)
    std::string state;      // FREE, DEQUEUED, QUEUED, ACQUIRED, SHARED, ...
    std::string handle;
    uint64_t bufferId = 0;
    uint64_t frame = 0;
    uint32_t width = 0, height = 0, stride = 0, format = 0;
    uint64_t line = 0;
};

// The state of one BufferQueueCore, printed line by line straight to the log.
struct CoreDump {
    Origin origin;
    std::string name;
    uint64_t uniqueId = 0;
    int connectedApi = 0;
    int connectedPid = 0;
    uint64_t creatorPid = 0;
    size_t queued = 0;
    int maxAcquired = 0;
    int maxDequeued = 0;
    bool dequeueCannotBlock = false;
    bool asyncMode = false;
    int defaultWidth = 0, defaultHeight = 0, defaultFormat = 0;
    uint64_t frameCounter = 0;
    std::vector<SlotState> slots;
    bool complete = false;  // its end line was seen
};

// A release callback id as a BLAST queue and the listener print it.
struct ReleaseId {
    bool invalid = false;
    uint64_t bufferId = 0;
    uint64_t frameNumber = 0;
    bool operator==(const ReleaseId& o) const {
        return invalid == o.invalid && bufferId == o.bufferId && frameNumber == o.frameNumber;
    }
};

struct SubmittedBuffer {
    ReleaseId id;
    uint64_t frame = 0;
    int api = 0;
    int slot = 0;
    uint64_t line = 0;
};

// The bookkeeping of one BLASTBufferQueue.
struct BlastState {
    std::string name;
    std::string queuedBufferTrace;
    std::string surfaceControlName;
    std::string surfaceControl;
    int maxAcquiredBuffers = 0;
    uint32_t producerId = 0;
    uint32_t currentMaxAcquired = 0;
    std::vector<SubmittedBuffer> submitted;
    std::vector<ReleaseId> pendingRelease;
    bool transactionReadyCallback = false;
    std::string syncTransaction;
    bool acquireSingleBuffer = false;
    std::vector<std::pair<uint64_t, std::string>> pendingTransactions;
    uint64_t lastAcquiredFrame = 0;
    uint64_t lastAppliedFrame = 0;
    bool appliedLastTransaction = false;
    std::vector<std::pair<std::string, std::string>> surfacesWithPendingCallback;  // name, address
    std::vector<uint64_t> syncedFrames;
    bool complete = false;
};

struct FrameEvent {
    int type = 0;  // the step's value; names() below gives its text
    uint64_t index = 0;
    int64_t time = 0;  // monotonic ns
};

struct FrameRecordFrame {
    uint64_t number = 0;
    bool synced = false;  // listed under the synced section
    std::vector<FrameEvent> events;
    bool sync = false;
    bool wait = false;
    int numAvailable = 0;
    int numAcquired = 0;
    int64_t startTime = 0;
    uint64_t line = 0;
    bool cut = false;  // its line was cut short: the steps after the last one read are unknown
};

struct FrameRecordLayer {
    int id = 0;
    std::string queueName;
    std::string surfaceControlName;
    std::string surfaceControl, blastQueue, layerHandle;
    std::vector<FrameRecordFrame> frames;
    uint64_t line = 0;
};

// The process's frame record, as printed inside a BLAST dump.
struct FrameRecord {
    std::string program;
    size_t declaredLayers = 0;
    std::vector<FrameRecordLayer> layers;
    bool complete = false;
};

struct LayerRef {
    std::string handle, surfaceControl, name;
};

struct PendingCallback {
    int64_t id = 0;
    bool onComplete = true;
    int64_t addTime = 0;  // 0 when the record holds no time for it
    bool hasFunction = false;
    std::vector<LayerRef> surfaces;
    uint64_t line = 0;
    bool cut = false;  // its line was cut short: `surfaces` may lack some
};

struct ReleaseCallback {
    ReleaseId id;
    bool hasTarget = false;
};

// The process's TransactionCompletedListener: pending transaction and release callbacks.
struct ListenerState {
    size_t declaredCallbacks = 0, declaredReleases = 0, declaredTimes = 0;
    std::vector<PendingCallback> callbacks;
    std::vector<ReleaseCallback> releases;
    uint64_t releaseLine = 0;
    int64_t now = 0;
    bool complete = false;
};

// One dump written on the dumper thread: the BLAST queue, the frame record and the listener.
struct BlastDump {
    Origin origin;
    std::string queueName;  // from the line prefix
    uint32_t framesAvailable = 0, acquired = 0;
    int64_t nowTime = 0;  // monotonic ns of the start line
    BlastState blast;
    bool hasBlast = false;
    std::optional<FrameRecord> record;
    std::optional<ListenerState> listener;
    bool complete = false;  // the listener block's end line was seen
    // Monotonic time the dump was taken: its start line, else the listener's base time.
    int64_t dumpTime() const { return nowTime ? nowTime : (listener ? listener->now : 0); }
};

struct TriggerLine {
    Origin origin;
    bool dumpFlag = false;
    bool enableCallback = false;
};

struct LimiterLine {
    Origin origin;
    int width = 0, cappedWidth = 0, height = 0, cappedHeight = 0;
};

struct CompositorLine {
    enum class Kind { kSent, kNoServiceManager, kNoCompositor };
    Origin origin;
    Kind kind = Kind::kSent;
    int layerId = 0;
};

struct Warning {
    uint64_t line = 0;  // 0: about the input as a whole
    std::string text;
};

struct Finding {
    std::string kind;  // producer-starved, stuck-frames, old-callbacks, unreleased-buffers, ...
    int pid = -1;
    std::string layer;
    std::vector<uint64_t> frames;
    std::vector<int64_t> callbacks;  // old-callbacks: the pending callbacks' ids
    std::string summary;             // one line a person reads
    std::vector<uint64_t> evidence;
};

// Median, p90 and max of one step-to-step latency of one layer, in ns.
struct StepLatency {
    std::string from, to;
    size_t samples = 0;
    int64_t median = 0, p90 = 0, max = 0;
};

struct LayerLatency {
    int pid = -1;
    std::string layer;
    std::vector<StepLatency> steps;
};

struct Analysis {
    std::vector<CoreDump> coreDumps;
    std::vector<BlastDump> blastDumps;
    std::vector<TriggerLine> triggers;
    std::vector<LimiterLine> limiters;
    std::vector<CompositorLine> compositorLines;
    std::vector<Warning> warnings;
    std::vector<Finding> findings;
    std::vector<LayerLatency> latencies;
    std::string format;  // the log format most lines were in
    uint64_t lines = 0;
    uint64_t bytes = 0;
};

// The name of a frame step value as the library prints it ("12" for an unknown value).
std::string frameTypeName(int type);
// The value of a printed step name, or nullopt when the name is not one of the twelve.
std::optional<int> frameTypeValue(std::string_view name);

}  // namespace talvex::explain
