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

// The frame record's hot path and dump, against a floor measured in the same run:
//   (a) BM_RecordEvent: one setLayerFrameEvent(layerId, frame, type) on a warm store;
//   (b) BM_EventFloor: what that call cannot avoid (uncontended mutex, one clock read, one hash
//       find, one ordered-map find, one deque push_back), on the same shapes of data;
//   (c) BM_RecordEvent/threads:2: (a) from two threads, each on its own layers;
//   (d) BM_LogLine: one __android_log_print line of the same fact, to a no-op logger;
//   (e) BM_DumpAll: one dump of a store of 40 layers, 21 frames each, 8 events per frame.
// After the table, the ratios are printed; the target for (a)/(b) is 1.3 at most.
#include <android-base/properties.h>
#include <android/log.h>
#include <benchmark/benchmark.h>
#include <binder/Binder.h>
#include <gui/SurfaceComposerClient.h>
#include <gui/SurfaceControl.h>
#include <utils/Timers.h>

#include <cinttypes>
#include <cstdio>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "frame_record/TalvexFrameRecord.h"
#include "frame_record/time_string.h"
#include "timing_reporter.h"

namespace {

using android::sp;
using android::SurfaceControl;
using android::TalvexFrameRecord;
using android::libgui_interface::hook::FrameStartStatus;
using android::libgui_interface::hook::FrameType;
using android::libgui_interface::hook::IFrameRecord;

constexpr int kLayers = 40;
// A start call trims both maps, so 11 normal frames and 10 synced ones is the fullest a layer
// gets: whichever map did not receive the last start was trimmed below 11 by it.
constexpr unsigned long kNormalFrames = 11;
constexpr unsigned long kSyncedFrames = 10;
constexpr int kEventsPerFrame = 8;
constexpr int kDumpedEvents = kLayers * (kNormalFrames + kSyncedFrames) * kEventsPerFrame;
// Events a frame takes before the benchmark starts a new one (untimed), so deques stay bounded.
constexpr int kEventsBeforeNewFrame = 64;

void noopLogger(const struct __android_logger_data*, const char*) {}

// A record on a "userdebug" build, 40 layers, each filled as the client library would.
class WarmStore {
public:
    WarmStore() {
        for (int layer = 0; layer < kLayers; ++layer) {
            sp<android::IBinder> handle(new android::BBinder());
            mControls.push_back(new SurfaceControl(new android::SurfaceComposerClient(), handle,
                                                   layer, "layer" + std::to_string(layer)));
            mRecord->updateFrameAndGetContent(mControls.back().get(), "bbq", mControls.back().get());
            for (unsigned long frame = 1; frame <= kSyncedFrames; ++frame) fill(layer, frame, true);
            for (unsigned long frame = 101; frame < 101 + kNormalFrames; ++frame) {
                fill(layer, frame, false);
            }
            mNewestFrame.push_back(100 + kNormalFrames);
        }
    }

    IFrameRecord* record() { return mRecord.get(); }
    unsigned long newestFrame(int layer) const { return mNewestFrame[layer]; }

    // Starts the next normal frame of `layer`; the lowest one leaves with its events.
    void startNewFrame(int layer) {
        mRecord->setLayerFrameEvent(layer, ++mNewestFrame[layer], FrameStartStatus{});
    }

private:
    void fill(int layer, unsigned long frame, bool sync) {
        mRecord->setLayerFrameEvent(layer, frame, FrameStartStatus{sync, false, 1, 0, 0});
        for (int e = 0; e < kEventsPerFrame; ++e) {
            mRecord->setLayerFrameEvent(layer, frame, static_cast<FrameType>(e));
        }
    }

    std::unique_ptr<TalvexFrameRecord> mRecord = std::make_unique<TalvexFrameRecord>();
    std::vector<sp<SurfaceControl>> mControls;
    std::vector<unsigned long> mNewestFrame;
};

// The floor's data: the same shapes as the record's store, without anything else.
struct FloorStore {
    struct Layer {
        std::map<unsigned long, std::deque<TalvexFrameRecord::Event>> frames;
        uint64_t eventCount = 0;
    };
    FloorStore() {
        for (int layer = 0; layer < kLayers; ++layer) {
            for (unsigned long frame = 101; frame < 101 + kNormalFrames; ++frame) {
                layers[layer].frames[frame].resize(kEventsPerFrame);
            }
        }
    }
    std::mutex mutex;
    std::unordered_map<int, Layer> layers;
};

WarmStore* gEventStore;
WarmStore* gDumpStore;
FloorStore* gFloor;

// Records events on layers [first, first + count), a new frame every kEventsBeforeNewFrame.
void recordEvents(benchmark::State& state, int first, int count) {
    IFrameRecord* record = gEventStore->record();
    int layer = 0;
    int eventsInFrame = 0;
    for (auto _ : state) {
        record->setLayerFrameEvent(first + layer, gEventStore->newestFrame(first + layer),
                                   FrameType::acquireNextBuffer);
        if (++layer == count) {
            layer = 0;
            if (++eventsInFrame == kEventsBeforeNewFrame) {
                state.PauseTiming();
                for (int l = first; l < first + count; ++l) gEventStore->startNewFrame(l);
                eventsInFrame = 0;
                state.ResumeTiming();
            }
        }
    }
}

void BM_RecordEvent(benchmark::State& state) {
    const int perThread = kLayers / state.threads();
    recordEvents(state, state.thread_index() * perThread, perThread);
}
BENCHMARK(BM_RecordEvent);
BENCHMARK(BM_RecordEvent)->Threads(2)->UseRealTime();

void BM_EventFloor(benchmark::State& state) {
    FloorStore& floor = *gFloor;
    const unsigned long frame = 100 + kNormalFrames;
    int layer = 0;
    int eventsInFrame = 0;
    for (auto _ : state) {
        {
            std::lock_guard<std::mutex> lock(floor.mutex);
            auto found = floor.layers.find(layer);
            auto& events = found->second.frames.find(frame)->second;
            events.push_back(TalvexFrameRecord::Event{FrameType::acquireNextBuffer,
                                                      found->second.eventCount++,
                                                      systemTime(SYSTEM_TIME_MONOTONIC)});
        }
        if (++layer == kLayers) {
            layer = 0;
            if (++eventsInFrame == kEventsBeforeNewFrame) {
                state.PauseTiming();
                for (auto& entry : floor.layers) entry.second.frames[frame].clear();
                eventsInFrame = 0;
                state.ResumeTiming();
            }
        }
    }
}
BENCHMARK(BM_EventFloor);

void BM_LogLine(benchmark::State& state) {
    uint64_t index = 0;
    for (auto _ : state) {
        __android_log_print(ANDROID_LOG_DEBUG, nullptr,
                            "Talvex-Graphics:layer %d frame %lu %s index %" PRIu64 " time %" PRId64,
                            7, 111ul, "acquireNextBuffer", index++,
                            systemTime(SYSTEM_TIME_MONOTONIC));
    }
}
BENCHMARK(BM_LogLine);

void BM_DumpAll(benchmark::State& state) {
    IFrameRecord* record = gDumpStore->record();
    size_t bytes = 0;
    for (auto _ : state) {
        std::string out;
        record->dumpAllRecordContent(out);
        bytes = out.size();
        benchmark::DoNotOptimize(out.data());
    }
    // Time per event, and the text's size.
    state.counters["per_event"] = benchmark::Counter(
        kDumpedEvents, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_DumpAll)->Unit(benchmark::kMicrosecond);

// getTimeString, which returns a fresh string, against appending the same text in place as
// the dump does.
void BM_GetTimeString(benchmark::State& state) {
    IFrameRecord* record = gDumpStore->record();
    long to = 1012345678;
    for (auto _ : state) {
        std::string text = record->getTimeString(1000000000, to++);
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_GetTimeString);

void BM_AppendTimeString(benchmark::State& state) {
    std::string text;
    int64_t to = 1012345678;
    for (auto _ : state) {
        text.clear();
        android::talvex::appendTimeString(text, 1000000000, to++);
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_AppendTimeString);

class RatioReporter : public talvex::bench::TimingReporter {
public:
    void printRatios() const {
        const double a = get("BM_RecordEvent");
        const double b = get("BM_EventFloor");
        const double c = get("BM_RecordEvent/real_time/threads:2");
        const double d = get("BM_LogLine");
        const double e = get("BM_DumpAll");
        const double slow = get("BM_GetTimeString");
        const double fast = get("BM_AppendTimeString");
        std::printf("\nframe record ratios (real time)\n");
        if (a > 0 && b > 0) {
            std::printf(
                "  (a)/(b) event vs floor           %6.2f  (%.1f ns vs %.1f ns; target <= 1.3)\n",
                a / b, a, b);
        }
        if (a > 0 && c > 0) {
            // Google Benchmark divides a threaded run's wall time by all threads' iterations.
            std::printf(
                "  (c)/(a) 2 threads, per call      %6.2f  (%.1f ns per call in each thread, "
                "%.1f ns per call of both)\n",
                2 * c / a, 2 * c, c);
        }
        if (a > 0 && d > 0) {
            std::printf("  (d)/(a) log line vs event        %6.2f  (%.1f ns per line)\n", d / a, d);
        }
        if (e > 0) {
            std::printf("  (e) dump of %d events           %8.1f us per dump, %.1f ns per event\n",
                        kDumpedEvents, e / 1000, e / kDumpedEvents);
        }
        if (slow > 0 && fast > 0) {
            std::printf("  getTimeString vs dump formatter  %6.2f  (%.1f ns vs %.1f ns)\n",
                        slow / fast, slow, fast);
        }
    }
};

}  // namespace

int main(int argc, char** argv) {
    // DEBUG lines must be formatted (not filtered) and then dropped, for (d) and the record.
    __android_log_set_logger(&noopLogger);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    android::base::SetProperty("ro.build.type", "userdebug");

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    WarmStore eventStore;
    WarmStore dumpStore;
    FloorStore floor;
    gEventStore = &eventStore;
    gDumpStore = &dumpStore;
    gFloor = &floor;

    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios();
    benchmark::Shutdown();
    return 0;
}
