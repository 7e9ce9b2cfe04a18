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

// One full dump of a stalled queue, against a floor measured in the same run:
//   (a) BM_FullDump: dumpBQAllFrameStateCalledByBlast with the queue's lock held: the core (6
//       buffers), the BLAST queue (36 pending transactions), the frame record (40 layers, 21
//       frames of 8 events each) and the listener (300 callbacks), logged line by line;
//   (b) BM_FullDumpFloor: the same numbers written with std::to_chars into one buffer;
//   BM_FrameRecordShare: the frame record's text alone, the part of (a) the helper does not
//       format itself;
//   (c) BM_CoreMutexHold: how long dumpBQAllFrameState keeps the core's lock (armed trigger),
//       the time every producer of that queue waits.
// Log lines are formatted and dropped by a null logger. After the table the ratios are printed;
// the target for (a)/(b) is 3 at most.
#include <android-base/properties.h>
#include <android/log.h>
#include <benchmark/benchmark.h>
#include <binder/Binder.h>
#include <gui/BLASTBufferQueue.h>
#include <gui/BufferQueueCore.h>
#include <gui/HostCompositor.h>
#include <gui/HostSurface.h>
#include <gui/SurfaceComposerClient.h>
#include <gui/SurfaceControl.h>
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <utils/Timers.h>

#include <charconv>
#include <chrono>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "timing_reporter.h"

namespace {

using android::BLASTBufferQueue;
using android::BufferQueueCore;
using android::sp;
using android::SurfaceControl;
using android::libgui_interface::hook::FrameStartStatus;
using android::libgui_interface::hook::FrameType;
using android::libgui_interface::hook::getBufferQueueHelper;
using android::libgui_interface::hook::getFrameRecordIns;
using android::libgui_interface::hook::IBufferQueueHelper;
using android::libgui_interface::hook::IFrameRecord;

constexpr int kLayers = 40;
constexpr unsigned long kNormalFrames = 11;
constexpr unsigned long kSyncedFrames = 10;
constexpr int kEventsPerFrame = 8;
constexpr int kPendingTransactions = 36;
constexpr int kCallbacks = 300;
constexpr int kLayerId = 1000;

void noopLogger(const struct __android_logger_data*, const char*) {}

sp<SurfaceControl> makeSurface(int layerId, const std::string& name) {
    return new SurfaceControl(new android::SurfaceComposerClient(), new android::BBinder(), layerId,
                              name);
}

// A stalled queue as libgui leaves it, with the frame record and the listener filled.
struct Scene {
    Scene() {
        record = getFrameRecordIns();
        helper = getBufferQueueHelper();
        surface = makeSurface(kLayerId, "stalled");
        bbq = new BLASTBufferQueue("stalled");
        bbq->update(surface, 1080, 2400, android::PIXEL_FORMAT_RGBA_8888);
        core = bbq->hostCore();
        fillCore();
        fillBlastQueue();
        fillRecord();
        fillListener();
        helper->registerBBQDumpCallback(core.get(), bbq.get());
    }

    // The app draws five frames and holds a sixth buffer: the queue acquires three (the
    // compositor releases none), two wait queued.
    void fillCore() {
        android::HostSurface app(bbq->getIGraphicBufferProducer());
        app.connect();
        bbq->getIGraphicBufferProducer()->setMaxDequeuedBufferCount(5);
        for (int i = 0; i < 6; ++i) {
            int slot = -1;
            app.dequeueBuffer(&slot);
            if (i < 5) app.queueBuffer(slot);
        }
    }

    void fillBlastQueue() {
        for (int i = 0; i < kPendingTransactions; ++i) {
            bbq->hostAddPendingTransaction(100 + i, android::SurfaceComposerClient::Transaction());
        }
        for (uint64_t i = 1; i <= 4; ++i) {
            android::BufferItem item;
            item.mFrameNumber = i;
            bbq->hostAddSubmitted(android::ReleaseCallbackId(i, i), item);
            bbq->hostAddPendingRelease(android::ReleaseCallbackId(i + 10, i + 10), nullptr);
            bbq->hostPushSurfaceControlWithPendingCallback(surface);
            bbq->hostAddSyncedFrameNumber(i);
        }
    }

    void fillRecord() {
        for (int layer = 0; layer < kLayers; ++layer) {
            controls.push_back(makeSurface(layer, "layer" + std::to_string(layer)));
            record->updateFrameAndGetContent(controls.back().get(), "bbq", controls.back().get());
            for (unsigned long frame = 1; frame <= kSyncedFrames; ++frame) fill(layer, frame, true);
            for (unsigned long f = 101; f < 101 + kNormalFrames; ++f) fill(layer, f, false);
        }
    }

    void fill(int layer, unsigned long frame, bool sync) {
        record->setLayerFrameEvent(layer, frame, FrameStartStatus{sync, false, 1, 0, 0});
        for (int e = 0; e < kEventsPerFrame; ++e) {
            record->setLayerFrameEvent(layer, frame, static_cast<FrameType>(e));
        }
    }

    void fillListener() {
        auto listener = android::TransactionCompletedListener::getInstance();
        for (int i = 0; i < kCallbacks; ++i) {
            const auto id = listener->addCallbackFunction(
                [](nsecs_t, const sp<android::Fence>&,
                   const std::vector<android::SurfaceControlStats>&) {},
                {controls[i % kLayers]}, android::CallbackId::Type::ON_COMPLETE);
            std::lock_guard<std::mutex> lock(listener->hostMutex());
            record->addCallbackIdLocked(id.id);
        }
    }

    IFrameRecord* record;
    IBufferQueueHelper* helper;
    sp<SurfaceControl> surface;
    sp<BLASTBufferQueue> bbq;
    sp<BufferQueueCore> core;
    std::vector<sp<SurfaceControl>> controls;
};

Scene* gScene;

void BM_FullDump(benchmark::State& state) {
    for (auto _ : state) {
        std::lock_guard<std::mutex> lock(gScene->bbq->hostMutex());
        gScene->helper->dumpBQAllFrameStateCalledByBlast(gScene->core.get(), gScene->bbq.get());
    }
}
BENCHMARK(BM_FullDump)->Unit(benchmark::kMicrosecond);

// The frame record's share of (a): its text alone, as the dump appends it.
void BM_FrameRecordShare(benchmark::State& state) {
    for (auto _ : state) {
        std::string text;
        gScene->record->dumpAllRecordContent(text);
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_FrameRecordShare)->Unit(benchmark::kMicrosecond);

// The numbers (a) prints, in the same counts and magnitudes: per event its index, time and the
// three fields of its age; per frame its number and start status; per callback its id, time and
// age; per slot its number, id, frame and geometry; per pending transaction its frame.
std::vector<int64_t> dumpedNumbers() {
    std::vector<int64_t> numbers;
    const int64_t now = systemTime(SYSTEM_TIME_MONOTONIC);
    for (int layer = 0; layer < kLayers; ++layer) {
        for (unsigned long frame = 0; frame < kNormalFrames + kSyncedFrames; ++frame) {
            numbers.insert(numbers.end(), {static_cast<int64_t>(frame) + 101, 1, 0, 1, 0, now});
            for (int e = 0; e < kEventsPerFrame; ++e) {
                numbers.insert(numbers.end(), {e + 8 * layer, now + e * 1000, 0, 1, 250});
            }
        }
    }
    for (int i = 0; i < kCallbacks; ++i) numbers.insert(numbers.end(), {i + 1, now, 2, 500, 0});
    for (int i = 0; i < 6; ++i) {
        numbers.insert(numbers.end(), {i, now << 4, i + 1, 1080, 2400, 1088, 1});
    }
    for (int i = 0; i < kPendingTransactions + 16; ++i) numbers.push_back(100 + i);
    return numbers;
}

void BM_FullDumpFloor(benchmark::State& state) {
    const std::vector<int64_t> numbers = dumpedNumbers();
    std::vector<char> buffer(numbers.size() * 24);
    for (auto _ : state) {
        char* out = buffer.data();
        for (int64_t number : numbers) {
            out = std::to_chars(out, out + 20, number).ptr;
            *out++ = ' ';
        }
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
    }
    state.counters["numbers"] = static_cast<double>(numbers.size());
}
BENCHMARK(BM_FullDumpFloor)->Unit(benchmark::kMicrosecond);

void BM_CoreMutexHold(benchmark::State& state) {
    void* core = gScene->core.get();
    for (auto _ : state) {
        gScene->helper->setBBQDumpFlag(core, true);
        std::chrono::steady_clock::time_point start;
        {
            std::lock_guard<std::mutex> lock(gScene->core->hostMutex());
            start = std::chrono::steady_clock::now();
            gScene->helper->dumpBQAllFrameState(core);
            state.SetIterationTime(
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
        // The queued BLAST dump runs on the dumper thread; let it finish before the next round.
        gScene->record->ensureTaskFinish();
    }
}
BENCHMARK(BM_CoreMutexHold)->UseManualTime()->Unit(benchmark::kMicrosecond);

class RatioReporter : public talvex::bench::TimingReporter {
public:
    void printRatios() const {
        const double a = get("BM_FullDump");
        const double b = get("BM_FullDumpFloor");
        const double c = get("BM_CoreMutexHold/manual_time");
        const double record = get("BM_FrameRecordShare");
        std::printf("\nbuffer-queue helper ratios\n");
        if (a > 0 && b > 0) {
            std::printf("  (a)/(b) full dump vs floor   %6.2f  (%.1f us vs %.1f us; target <= 3)\n",
                        a / b, a / 1000, b / 1000);
        }
        if (a > 0 && record > 0) {
            std::printf("  frame record's share of (a)   %5.1f%%  (%.1f us)\n", 100 * record / a,
                        record / 1000);
        }
        if (c > 0) {
            std::printf("  (c) core mutex held by dumpBQAllFrameState  %.1f us\n", c / 1000);
        }
    }
};

}  // namespace

int main(int argc, char** argv) {
    // DEBUG and ERROR lines must be formatted (not filtered) and then dropped.
    __android_log_set_logger(&noopLogger);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    android::base::SetProperty("ro.build.type", "userdebug");
    sp<android::HostCompositor> compositor(new android::HostCompositor());
    android::HostCompositor::registerAsSurfaceFlinger(compositor);

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    Scene scene;
    gScene = &scene;

    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios();
    benchmark::Shutdown();
    return 0;
}
