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

// Soak: tens of millions of frame events through the hook getter, over many layers that come and
// go as BLAST queues do (update, frames, refresh, clear), with transaction callback ids added
// and completed and a dump now and then. Resident memory (VmRSS, VmHWM of /proc/self/status) is
// read at the start, after a warm-up and at the end: the record keeps at most 11 frames per map
// and forgets a layer at its clear, so after the warm-up resident memory must stay flat.
// TALVEX_SOAK_EVENTS sets the number of events (default 30 million; ctest's smoke run uses few).
#include <android-base/properties.h>
#include <benchmark/benchmark.h>
#include <binder/Binder.h>
#include <gui/SurfaceComposerClient.h>
#include <gui/SurfaceControl.h>
#include <libgui_interface/hook/IFrameRecord.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace {

using android::sp;
using android::SurfaceControl;
using android::libgui_interface::hook::FrameStartStatus;
using android::libgui_interface::hook::FrameType;
using android::libgui_interface::hook::IFrameRecord;

constexpr int kLiveLayers = 64;
constexpr int kEventsPerFrame = 6;
constexpr uint64_t kDumpEvery = 1 << 20;  // events between two dumps
// Resident memory may grow this much after the warm-up (allocator slack), no more.
constexpr long kAllowedGrowthKb = 8 * 1024;

// Sanitizers hold freed memory in quarantine and add shadow memory: resident memory there says
// nothing about the record, so the bound is judged in plain builds only.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TALVEX_SOAK_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TALVEX_SOAK_SANITIZED 1
#endif
#endif
#ifdef TALVEX_SOAK_SANITIZED
constexpr bool kJudgeMemory = false;
#else
constexpr bool kJudgeMemory = true;
#endif

// Returns the value in kB of `field` ("VmRSS", "VmHWM") in /proc/self/status, or -1.
long statusKb(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, field.size() + 1, field + ":") == 0) {
            return std::strtol(line.c_str() + field.size() + 1, nullptr, 10);
        }
    }
    return -1;
}

uint64_t soakEvents() {
    const char* text = std::getenv("TALVEX_SOAK_EVENTS");
    return text != nullptr ? std::strtoull(text, nullptr, 10) : 30'000'000;
}

// One live layer slot: its current SurfaceControl, frames left before its queue goes away.
struct Slot {
    sp<SurfaceControl> control;
    void* queue = nullptr;
    unsigned long frame = 0;
    int framesLeft = 0;
};

class Soak {
public:
    explicit Soak(IFrameRecord* record) : mRecord(record) {}

    // Runs until `events` events have been recorded; returns the largest dump seen, in bytes.
    size_t run(uint64_t events, uint64_t warmUp, long& warmRssKb) {
        size_t largestDump = 0;
        while (mEvents < events) {
            Slot& slot = mSlots[mRandom() % kLiveLayers];
            if (slot.framesLeft == 0) replace(slot);
            frame(slot);
            if (mEvents >= mNextDump) {
                std::string dump;
                mRecord->dumpAllRecordContent(dump);
                largestDump = std::max(largestDump, dump.size());
                mNextDump += kDumpEvery;
            }
            if (warmRssKb < 0 && mEvents >= warmUp) warmRssKb = statusKb("VmRSS");
        }
        return largestDump;
    }

    uint64_t layersCreated() const { return mLayersCreated; }

private:
    // The queue goes away and a new one, with a new layer id, takes the slot.
    void replace(Slot& slot) {
        if (slot.control != nullptr) {
            mRecord->clearFrameContent(slot.control->getLayerId(), slot.queue);
        }
        const int id = static_cast<int>(mLayersCreated++);
        slot.control = new SurfaceControl(new android::SurfaceComposerClient(),
                                          new android::BBinder(), id, "soak" + std::to_string(id));
        slot.queue = slot.control.get();  // an owner token; the record never dereferences it
        slot.frame = 0;
        slot.framesLeft = 50 + static_cast<int>(mRandom() % 1000);
        mRecord->updateFrameAndGetContent(slot.control.get(), "soak-bbq", slot.queue);
    }

    // One frame: start (one in eight synced), its steps, a callback id added and completed.
    void frame(Slot& slot) {
        const int id = slot.control->getLayerId();
        const unsigned long number = ++slot.frame;
        mRecord->setLayerFrameEvent(id, number,
                                    FrameStartStatus{mRandom() % 8 == 0, false, 1, 0, 0});
        for (int step = 0; step < kEventsPerFrame; ++step) {
            mRecord->setLayerFrameEvent(id, number, static_cast<FrameType>(step));
        }
        const long callbackId = static_cast<long>(mEvents);
        mRecord->addCallbackIdLocked(callbackId);
        mRecord->removeCallbackIdLocked(callbackId);
        if (number % 100 == 0) {  // the queue refreshes its names and handles now and then
            mRecord->updateFrameAndGetContent(slot.control.get(), "soak-bbq", slot.queue);
        }
        mEvents += kEventsPerFrame;
        --slot.framesLeft;
    }

    IFrameRecord* mRecord;
    Slot mSlots[kLiveLayers];
    std::minstd_rand mRandom{42};
    uint64_t mEvents = 0;
    uint64_t mNextDump = kDumpEvery;
    uint64_t mLayersCreated = 0;
};

void BM_Soak(benchmark::State& state) {
    const uint64_t events = soakEvents();
    for (auto _ : state) {
        IFrameRecord* record = android::libgui_interface::hook::getFrameRecordIns();
        const long startRssKb = statusKb("VmRSS");
        long warmRssKb = -1;
        Soak soak(record);
        const size_t largestDump = soak.run(events, events / 10, warmRssKb);
        const long endRssKb = statusKb("VmRSS");
        state.counters["events"] = static_cast<double>(events);
        state.counters["layers"] = static_cast<double>(soak.layersCreated());
        state.counters["rss_start_kB"] = static_cast<double>(startRssKb);
        state.counters["rss_warm_kB"] = static_cast<double>(warmRssKb);
        state.counters["rss_end_kB"] = static_cast<double>(endRssKb);
        state.counters["hwm_kB"] = static_cast<double>(statusKb("VmHWM"));
        state.counters["dump_max_B"] = static_cast<double>(largestDump);
        if (kJudgeMemory && endRssKb - warmRssKb > kAllowedGrowthKb) {
            state.SkipWithError("resident memory grew after the warm-up: the record is unbounded");
        }
    }
}
BENCHMARK(BM_Soak)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

int main(int argc, char** argv) {
    // Recording is on only on this build type, read once when the record is made.
    android::base::SetProperty("ro.build.type", "userdebug");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
