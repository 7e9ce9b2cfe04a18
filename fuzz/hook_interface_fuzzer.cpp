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

// libFuzzer harness: bytes decoded into a sequence of calls on the frame record and the
// buffer-queue helper, reached only through the hook getters as libgui reaches them, with hostile
// arguments (null and unknown pointers, unknown layers and cores, frame number 0, frame types
// outside the enumeration, ids at the ends of their types) and dumps in between. After every call
// the record's dump must equal a reference model of the store (at most 11 frames per map, event
// indices rising by one per layer, well-formed text); after every input the dumps queued to the
// dumper thread must have run, one per armed trigger, each well formed, and the input's layers,
// callback ids and registrations are taken away again.
#include <android-base/properties.h>
#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <errno.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <gui/BLASTBufferQueue.h>
#include <gui/BufferItemConsumer.h>
#include <gui/BufferQueue.h>
#include <gui/BufferQueueCore.h>
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "fuzz/dump_log_checks.h"
#include "fuzz/frame_record_model.h"
#include "fuzz/time_string_reference.h"
#include "support/host_objects.h"
#include "support/log_capture.h"

namespace talvex::fuzz {
namespace {

using android::sp;
using android::libgui_interface::hook::IBufferQueueHelper;
using android::libgui_interface::hook::IFrameRecord;
using talvex::test::LogCapture;

[[noreturn]] void fail(const std::string& what) {
    fprintf(stderr, "hook_interface_fuzzer: %s\n", what.c_str());
    abort();
}

// Counts the compositor requests the record sends; keeps nothing else, so millions of inputs
// stay small.
class CountingCompositor : public android::BBinder {
public:
    std::atomic<int> mRequests{0};

protected:
    android::status_t onTransact(uint32_t code, const android::Parcel&, android::Parcel*,
                                 uint32_t flags) override {
        if (code != 1025 || flags != android::IBinder::FLAG_ONEWAY) fail("unexpected request");
        mRequests.fetch_add(1);
        return android::NO_ERROR;
    }
};

constexpr int kUnknownLayer = 99;
const int kLayerIds[] = {0, 1, -1, INT32_MAX, INT32_MIN};
const char* const kNames[] = {"", "bbq", "name with spaces", "%s%n%p%%", "\x01\x7f\xff"};
const long kCallbackIds[] = {0, 1, -1, 2, 3, LONG_MAX, LONG_MIN};
void* const kBogus = reinterpret_cast<void*>(0x10);  // never dereferenced by the callee

// What lives for the whole process: the objects libgui would own, the two getters' answers.
struct World {
    IFrameRecord* record = nullptr;
    IBufferQueueHelper* helper = nullptr;
    std::vector<sp<android::SurfaceControl>> surfaces;  // one per kLayerIds entry
    sp<android::BLASTBufferQueue> queues[2];
    sp<CountingCompositor> compositor;
    LogCapture* logs = nullptr;
    std::string programName;
};
World* gWorld = nullptr;

// The registry as the helper should hold it.
struct Registration {
    void* queue;
    bool flag;
};

// One input's run.
class Run {
public:
    explicit Run(FuzzedDataProvider& input) : mIn(input), mW(*gWorld) {}

    void step();
    void finish();
    void checkRecord();

private:
    int pickLayerId() {
        const size_t i = mIn.ConsumeIntegralInRange<size_t>(0, std::size(kLayerIds));
        return i < std::size(kLayerIds) ? kLayerIds[i] : kUnknownLayer;
    }
    android::SurfaceControl* pickSurface() {
        const size_t i = mIn.ConsumeIntegralInRange<size_t>(0, mW.surfaces.size());
        return i < mW.surfaces.size() ? mW.surfaces[i].get() : nullptr;
    }
    void* pickQueue() {
        void* const queues[] = {mW.queues[0].get(), mW.queues[1].get(), nullptr, kBogus};
        return queues[mIn.ConsumeIntegralInRange<size_t>(0, 3)];
    }
    void* pickCore() {
        void* const cores[] = {mW.queues[0]->hostCore().get(), mW.queues[1]->hostCore().get(),
                               nullptr, kBogus};
        return cores[mIn.ConsumeIntegralInRange<size_t>(0, 3)];
    }
    android::BLASTBufferQueue* pickLiveQueue() { return mW.queues[mIn.ConsumeBool()].get(); }
    unsigned long pickFrame() {
        const uint8_t b = mIn.ConsumeIntegral<uint8_t>();
        if (b < 200) return b % 24;  // small numbers: eviction and restarts
        if (b < 210) return ULONG_MAX - (b - 200);
        return mIn.ConsumeIntegral<unsigned long>();
    }
    FrameType pickType() {
        const int8_t b = mIn.ConsumeIntegral<int8_t>();
        if (b == INT8_MAX) return static_cast<FrameType>(INT_MAX);
        if (b == INT8_MIN) return static_cast<FrameType>(INT_MIN);
        return static_cast<FrameType>(b % 16);  // mostly 0..11, some outside on both sides
    }

    void update(android::SurfaceControl* surface, const std::string& name, void* queue);
    void trigger();
    void limitSize();
    void expectLastCheckLine(const std::string& expected);

    FuzzedDataProvider& mIn;
    World& mW;
    FrameRecordModel mModel;
    std::map<void*, Registration> mRegistry;
    std::map<void*, int> mExpectedDumps;  // per BLAST queue
    std::set<long> mCallbackIds;
    int mExpectedRequests = 0;
    int mTasksPushed = 0;
    std::shared_ptr<std::vector<int>> mTasksRun = std::make_shared<std::vector<int>>();
};

void Run::update(android::SurfaceControl* surface, const std::string& name, void* queue) {
    mW.record->updateFrameAndGetContent(surface, name, queue);
    if (surface == nullptr) return;
    mModel.update(surface->getLayerId(),
                  {surface, surface->getLayerStateHandle().get(), surface->getName()}, name, queue);
}

void Run::expectLastCheckLine(const std::string& expected) {
    const auto lines = mW.logs->linesContaining("check: ");
    const std::string text = "dumpStateAndFrameRecord call blastbufferqueue check: " + expected;
    if (lines.empty() || lines.back().text != text) {
        fail("trigger logged \"" + (lines.empty() ? "" : lines.back().text) + "\", expected \"" +
             text + "\"");
    }
}

// The core dump with the core's lock held, as libgui calls it; armed once per raising.
void Run::trigger() {
    android::BLASTBufferQueue* queue = pickLiveQueue();
    void* core = queue->hostCore().get();
    {
        std::lock_guard<std::mutex> lock(queue->hostCore()->hostMutex());
        mW.helper->dumpBQAllFrameState(core);
    }
    auto it = mRegistry.find(core);
    if (it == mRegistry.end()) {
        expectLastCheckLine("dumpflag:1, enableCallback:0");
        return;
    }
    expectLastCheckLine(std::string("dumpflag:") + (it->second.flag ? "1" : "0") +
                        ", enableCallback:1");
    if (it->second.flag && it->second.queue != nullptr) ++mExpectedDumps[it->second.queue];
    it->second.flag = false;
}

// Sizes either side of the 4000-pixel cap on a consumer of this input's own.
void Run::limitSize() {
    static const int32_t kSides[] = {0, 1, 3999, 4000, 4001, 8192, INT32_MAX, -1, INT32_MIN};
    int32_t requested[2], size[2];
    for (int32_t* side : {&requested[0], &requested[1], &size[0], &size[1]}) {
        *side = kSides[mIn.ConsumeIntegralInRange<size_t>(0, std::size(kSides) - 1)];
    }
    const int32_t asked[2] = {requested[0], requested[1]};
    const int32_t used[2] = {size[0], size[1]};
    const int mode = mIn.ConsumeIntegralInRange<int>(-1, 2);
    const int updateRequested = mIn.ConsumeIntegralInRange<int>(0, 2);
    const bool on = mIn.ConsumeBool();
    android::base::SetProperty("debug.graphics.unsupport4K", on ? "1" : "0");
    sp<android::IGraphicBufferProducer> producer;
    sp<android::IGraphicBufferConsumer> queueConsumer;
    android::BufferQueue::createBufferQueue(&producer, &queueConsumer);
    sp<android::BufferItemConsumer> consumer(new android::BufferItemConsumer(queueConsumer, 0));
    mW.helper->resetBBQRequestSize(
        requested, size, static_cast<android::ConsumerBase*>(consumer.get()), mode, updateRequested);
    const bool capped = on && mode == 1 && (asked[0] > 4000 || asked[1] > 4000);
    const int32_t cap[2] = {std::min(asked[0], 4000), std::min(asked[1], 4000)};
    // A size that is already the capped one is left alone, and so is the request.
    const bool changed = capped && (used[0] != cap[0] || used[1] != cap[1]);
    const int32_t width = changed ? cap[0] : used[0];
    const int32_t height = changed ? cap[1] : used[1];
    const bool copied = changed && updateRequested != 0;
    const std::vector<std::pair<uint32_t, uint32_t>> told = consumer->hostDefaultBufferSizeCalls();
    const size_t toldExpected = changed ? 1 : 0;
    if (size[0] != width || size[1] != height || requested[0] != (copied ? width : asked[0]) ||
        requested[1] != (copied ? height : asked[1]) || told.size() != toldExpected ||
        (changed &&
         told[0] != std::make_pair(static_cast<uint32_t>(width), static_cast<uint32_t>(height)))) {
        fail("size limiter: asked " + std::to_string(asked[0]) + "x" + std::to_string(asked[1]) +
             ", mode " + std::to_string(mode) + ", property " + (on ? "1" : "0") + ": size " +
             std::to_string(size[0]) + "x" + std::to_string(size[1]) + ", requested " +
             std::to_string(requested[0]) + "x" + std::to_string(requested[1]));
    }
}

void Run::step() {
    switch (mIn.ConsumeIntegralInRange<int>(0, 15)) {
        case 0:
            update(pickSurface(), kNames[mIn.ConsumeIntegralInRange<size_t>(0, 4)], pickQueue());
            break;
        case 1: {
            const int id = pickLayerId();
            void* queue = pickQueue();
            mW.record->clearFrameContent(id, queue);
            mModel.clear(id, queue);
            break;
        }
        case 2: {
            const int id = pickLayerId();
            const unsigned long frame = pickFrame();
            FrameStartStatus status{mIn.ConsumeBool(), mIn.ConsumeBool(),
                                    mIn.ConsumeIntegral<int32_t>(), mIn.ConsumeIntegral<int32_t>(),
                                    mIn.ConsumeIntegral<int64_t>()};
            mW.record->setLayerFrameEvent(id, frame, status);
            mModel.start(id, frame, status);
            break;
        }
        case 3: {
            const int id = pickLayerId();
            const unsigned long frame = pickFrame();
            const FrameType type = pickType();
            mW.record->setLayerFrameEvent(id, frame, type);
            mModel.event(id, frame, type);
            break;
        }
        case 4: {
            android::SurfaceControl* surface = pickSurface();
            const unsigned long frame = pickFrame();
            const FrameType type = pickType();
            mW.record->setLayerFrameEvent(static_cast<void*>(surface), frame, type);
            if (surface != nullptr) mModel.event(surface->getLayerId(), frame, type);
            break;
        }
        case 5: {
            const long from = mIn.ConsumeIntegral<long>();
            const long to = mIn.ConsumeBool() ? 0 : mIn.ConsumeIntegral<long>();
            if (mW.record->getTimeString(from, to) != referenceTimeString(from, to)) {
                fail("getTimeString(" + std::to_string(from) + ", " + std::to_string(to) + ")");
            }
            break;
        }
        case 6: {
            const long id = kCallbackIds[mIn.ConsumeIntegralInRange<size_t>(0, 6)];
            mW.record->addCallbackIdLocked(id);
            mCallbackIds.insert(id);
            break;
        }
        case 7: {
            const long id = kCallbackIds[mIn.ConsumeIntegralInRange<size_t>(0, 6)];
            mW.record->removeCallbackIdLocked(id);
            mCallbackIds.erase(id);
            break;
        }
        case 8: {
            void* core = pickCore();
            android::BLASTBufferQueue* queue = mIn.ConsumeBool() ? nullptr : pickLiveQueue();
            mW.helper->registerBBQDumpCallback(core, queue);
            mRegistry[core] = {queue, true};
            break;
        }
        case 9: {
            void* core = pickCore();
            const bool flag = mIn.ConsumeBool();
            mW.helper->setBBQDumpFlag(core, flag);
            if (mRegistry.count(core) != 0) mRegistry[core].flag = flag;
            break;
        }
        case 10: {
            void* core = pickCore();
            mW.helper->clearRegisteredCallback(core);
            mRegistry.erase(core);
            break;
        }
        case 11:
            trigger();
            break;
        case 12: {  // the BLAST queue's own dump: its lock held, the core's taken inside
            android::BLASTBufferQueue* queue = pickLiveQueue();
            android::BLASTBufferQueue* core = pickLiveQueue();
            std::lock_guard<std::mutex> lock(queue->hostMutex());
            mW.helper->dumpBQAllFrameStateCalledByBlast(core->hostCore().get(), queue);
            ++mExpectedDumps[queue];
            break;
        }
        case 13:
            if (mIn.ConsumeBool()) {
                mW.record->ensureTaskFinish();
            } else {
                const int n = mTasksPushed++;
                mW.record->pushTaskAndStart([n, run = mTasksRun] { run->push_back(n); });
            }
            break;
        case 14:
            limitSize();
            break;
        case 15: {
            sp<android::IBinder> token =
                mIn.ConsumeBool() ? nullptr : mW.surfaces[0]->getLayerStateHandle();
            mW.record->callSurfaceFlingerByLayer(token, pickLayerId());
            ++mExpectedRequests;
            break;
        }
    }
}

void Run::checkRecord() {
    std::string dump = "kept";
    mW.record->dumpAllRecordContent(dump);
    if (dump.compare(0, 4, "kept") != 0) fail("the dump overwrote its caller's text");
    std::string error;
    const auto actual = readDump(dump.substr(4), mW.programName, error);
    if (!error.empty()) fail(error + "\n" + dump);
    const auto expected = mModel.render();
    if (actual != expected) {
        std::string text;
        for (const auto& [id, block] : expected) text += block;
        fail("the record differs from the model; expected (times left out):\n" + text +
             "actual:\n" + dump);
    }
    std::set<long> ids;
    for (const auto& [id, time] : mW.record->getCallbackIdTime()) {
        if (time <= 0) fail("callback id " + std::to_string(id) + " without a time");
        ids.insert(id);
    }
    if (ids != mCallbackIds) fail("the callback ids differ from those added and not removed");
}

void Run::finish() {
    // The dumper thread's own order is the barrier: a task pushed now runs after every dump.
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    mW.record->pushTaskAndStart([done] { done->set_value(); });
    if (finished.wait_for(std::chrono::seconds(30)) != std::future_status::ready) {
        fail("the dumper thread did not drain within 30 s");
    }
    std::vector<int> order(mTasksPushed);
    for (int i = 0; i < mTasksPushed; ++i) order[i] = i;
    if (*mTasksRun != order) fail("tasks ran out of push order or were lost");

    const auto lines = mW.logs->lines();
    std::string error = checkCoreDumps(lines);
    for (const auto& queue : mW.queues) {
        if (error.empty()) {
            error = checkBlastDumps(lines, queue->hostName(), mExpectedDumps[queue.get()]);
        }
    }
    if (!error.empty()) fail(error);
    int expectedRequests = mExpectedRequests;
    for (const auto& [queue, dumps] : mExpectedDumps) expectedRequests += dumps;
    if (mW.compositor->mRequests.exchange(0) != expectedRequests) {
        fail("the compositor was not told once per BLAST dump and direct call");
    }

    // Leave the process as the input found it.
    for (const auto& surface : mW.surfaces) {
        update(surface.get(), "", mW.queues[0].get());
        mW.record->clearFrameContent(surface->getLayerId(), mW.queues[0].get());
        mModel.clear(surface->getLayerId(), mW.queues[0].get());
    }
    for (long id : kCallbackIds) mW.record->removeCallbackIdLocked(id);
    mCallbackIds.clear();
    for (void* core : {static_cast<void*>(mW.queues[0]->hostCore().get()),
                       static_cast<void*>(mW.queues[1]->hostCore().get()),
                       static_cast<void*>(nullptr), kBogus}) {
        mW.helper->clearRegisteredCallback(core);
    }
    android::base::SetProperty("debug.graphics.unsupport4K", "0");
    checkRecord();
}

}  // namespace
}  // namespace talvex::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    using namespace talvex::fuzz;
    // Recording is on only on this build type, read once when the record is made.
    android::base::SetProperty("ro.build.type", "userdebug");
    gWorld = new World();
    gWorld->logs = new talvex::test::LogCapture();
    // The unload lines come after exit's handlers: send them to stderr, past the capture.
    std::atexit([] { delete gWorld->logs; });
    gWorld->record = android::libgui_interface::hook::getFrameRecordIns();
    gWorld->helper = android::libgui_interface::hook::getBufferQueueHelper();
    if (!gWorld->record->getEnable()) fail("the record is not recording");
    for (int id : kLayerIds) {
        gWorld->surfaces.push_back(
            talvex::test::makeSurfaceControl(id, "layer" + std::to_string(id)));
    }
    gWorld->queues[0] = talvex::test::makeBlastBufferQueue("fuzzA", 7);
    gWorld->queues[1] = talvex::test::makeBlastBufferQueue("fuzzB", 8);
    // Made with a surface, each queue put its layer in the record and registered its core, as
    // libgui's patch does; an input starts from neither, as the harness's model does.
    for (int i = 0; i < 2; ++i) {
        gWorld->record->clearFrameContent(7 + i, gWorld->queues[i].get());
        gWorld->helper->clearRegisteredCallback(gWorld->queues[i]->hostCore().get());
    }
    gWorld->compositor = new CountingCompositor();
    android::defaultServiceManager()->addService(android::String16("SurfaceFlinger"),
                                                 gWorld->compositor);
    // Cache the compositor now: afterwards the dumper thread and the harness only read it.
    gWorld->record->callSurfaceFlingerByLayer(nullptr, 0);
    gWorld->compositor->mRequests = 0;
#ifdef __BIONIC__
    gWorld->programName = getprogname();
#else
    gWorld->programName = program_invocation_short_name;
#endif
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace talvex::fuzz;
    gWorld->logs->clear();
    FuzzedDataProvider input(data, size);
    Run run(input);
    while (input.remaining_bytes() > 0) {
        run.step();
        run.checkRecord();
    }
    run.finish();
    return 0;
}
