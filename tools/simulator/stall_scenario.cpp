#include "stall_scenario.h"

#include <android/log.h>
#include <binder/Binder.h>
#include <gui/BLASTBufferQueue.h>
#include <gui/SurfaceComposerClient.h>
#include <gui/SurfaceControl.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <utils/Timers.h>

#include <chrono>
#include <future>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

namespace talvex::simulator {
namespace {

using android::BBinder;
using android::BLASTBufferQueue;
using android::sp;
using android::SurfaceComposerClient;
using android::SurfaceControl;
using android::libgui_interface::hook::FrameStartStatus;
using android::libgui_interface::hook::FrameType;
using android::libgui_interface::hook::getFrameRecordIns;
using android::libgui_interface::hook::IFrameRecord;

constexpr char kTag[] = "TalvexSimulator";
constexpr int kLayerId = 7;
constexpr unsigned long kFrames = 12;
constexpr unsigned long kStalledFrame = 11;
constexpr long kFirstCallbackId = 100;

// Time between steps, so the dump's relative times read like a 60 Hz app's.
void pause(std::chrono::microseconds delay) {
    std::this_thread::sleep_for(delay);
}

// One frame, with the hook calls libgui makes at each step. A stalled frame's transaction is
// committed but never completed, so its callback stays pending and its buffer is never released.
void runFrame(IFrameRecord* record, unsigned long frame, bool stalls) {
    using namespace std::chrono_literals;
    const long callbackId = kFirstCallbackId + static_cast<long>(frame);
    record->setLayerFrameEvent(kLayerId, frame, FrameStartStatus{false, false, 1, 0, 0});
    record->setLayerFrameEvent(kLayerId, frame, FrameType::onFrameAvailable);
    pause(300us);
    record->setLayerFrameEvent(kLayerId, frame, FrameType::acquireNextBuffer);
    pause(500us);
    record->setLayerFrameEvent(kLayerId, frame, FrameType::apply);
    record->addCallbackIdLocked(callbackId);
    pause(4ms);
    record->setLayerFrameEvent(kLayerId, frame, FrameType::onTransactionCompletedCommit);
    record->setLayerFrameEvent(kLayerId, frame, FrameType::transactionCommittedCallback);
    if (stalls) return;
    pause(4ms);
    record->setLayerFrameEvent(kLayerId, frame, FrameType::onTransactionCompletedComplete);
    record->setLayerFrameEvent(kLayerId, frame, FrameType::transactionCallback);
    record->removeCallbackIdLocked(callbackId);
    pause(1ms);
    record->setLayerFrameEvent(kLayerId, frame, FrameType::releaseBufferCallback);
}

// Logs `text` line by line at DEBUG behind the queue's name, as the dump path does.
void logLines(const std::string& queueName, const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        __android_log_print(ANDROID_LOG_DEBUG, kTag, "[%s] %s", queueName.c_str(), line.c_str());
    }
}

void dumpOnDumperThread(IFrameRecord* record, const std::string& queueName) {
    auto dumped = std::make_shared<std::promise<void>>();
    std::future<void> done = dumped->get_future();
    record->pushTaskAndStart([record, queueName, dumped] {
        std::string text;
        record->dumpAllRecordContent(text);
        logLines(queueName, text);
        dumped->set_value();
    });
    // libgui's bounded barrier; a slow (sanitized) run may outlast it, so the simulator also
    // waits for its own task before it goes on, keeping the log in order.
    record->ensureTaskFinish();
    done.wait_for(std::chrono::seconds(10));
}

// What the listener dump (Part 3.4) will print per pending callback: its age at dump time.
void logPendingCallbacks(IFrameRecord* record) {
    const nsecs_t now = systemTime(SYSTEM_TIME_MONOTONIC);
    for (const auto& [id, added] : record->getCallbackIdTime()) {
        __android_log_print(ANDROID_LOG_DEBUG, kTag, "pending transaction callback %ld: %s", id,
                            record->getTimeString(now, added).c_str());
    }
}

}  // namespace

void runStallScenario() {
    sp<SurfaceControl> surface(new SurfaceControl(
        sp<SurfaceComposerClient>(new SurfaceComposerClient()), sp<android::IBinder>(new BBinder()),
        kLayerId, "com.example.app/MainActivity#7"));
    sp<BLASTBufferQueue> queue(new BLASTBufferQueue("VRI[MainActivity]"));
    queue->update(surface, 1080, 2400, android::PIXEL_FORMAT_RGBA_8888);
    const std::string queueName = queue->hostName();

    IFrameRecord* record = getFrameRecordIns();
    if (!record->getEnable()) {
        __android_log_print(ANDROID_LOG_INFO, kTag,
                            "recording is off on this build (only userdebug records): the frame "
                            "record keeps nothing and its dump is empty");
    }
    __android_log_print(ANDROID_LOG_INFO, kTag,
                        "scenario: layer %d renders %lu frames; the compositor commits frame %lu "
                        "but never completes it",
                        kLayerId, kFrames, kStalledFrame);
    record->updateFrameAndGetContent(surface.get(), queueName, queue.get());
    for (unsigned long frame = 1; frame <= kFrames; ++frame) {
        runFrame(record, frame, frame == kStalledFrame);
    }

    __android_log_print(ANDROID_LOG_INFO, kTag, "jank reported: dumping the frame record");
    dumpOnDumperThread(record, queueName);
    logPendingCallbacks(record);
    record->callSurfaceFlingerByLayer(surface->getLayerStateHandle(), kLayerId);
    record->clearFrameContent(kLayerId, queue.get());
}

}  // namespace talvex::simulator
