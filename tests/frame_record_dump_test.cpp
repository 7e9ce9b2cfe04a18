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

// The frame record dump: the exact text of the record, and one consistent moment under writers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/frame_record_fixture.h"
#include "support/text.h"

namespace talvex::test {
namespace {

using android::TalvexFrameRecord;
using Peer = android::TalvexFrameRecordTestPeer;
using FrameRecordDump = FrameRecordTest;

std::string header(size_t layers) {
    return "---Dump Process frame_record_dump_test All Frame Record START, Size:" +
           std::to_string(layers) + "---\n";
}
const std::string kTrailer = "---Dump All Frame Record END---\n";

// "name(index/time/offset) " of event `i` of `frame`, times read back from the store.
std::string event(TalvexFrameRecord& record, const TalvexFrameRecord::FrameEvent& frame, size_t i,
                  const std::string& name) {
    const auto& e = frame.mEvents.at(i);
    return name + "(" + std::to_string(e.index) + "/" + std::to_string(e.time) + "/" +
           record.getTimeString(frame.mStartStatus.startTime, e.time) + ") ";
}

TEST_F(FrameRecordDump, PrintsEveryLayerFrameAndEventExactly) {
    android::sp<android::SurfaceControl> control = addLayer(3, queue(3), "app#7");
    startFrame(3, 100, /*sync=*/false, /*wait=*/false, 1, 0);
    startFrame(3, 9);
    startFrame(3, 10);
    mRecord->setLayerFrameEvent(3, 9, FrameType::onFrameAvailable);
    mRecord->setLayerFrameEvent(3, 9, FrameType::acquireNextBuffer);
    startFrame(3, 18, /*sync=*/true, /*wait=*/true, -3, 2);
    mRecord->setLayerFrameEvent(3, 18, FrameType::FakeReleaseCallback);
    mRecord->setLayerFrameEvent(3, 18, static_cast<FrameType>(12));
    mRecord->setLayerFrameEvent(3, 18, static_cast<FrameType>(-1));
    android::sp<android::SurfaceControl> bare(
        new android::SurfaceControl(new android::SurfaceComposerClient(), nullptr, -5, "nohandle"));
    mRecord->updateFrameAndGetContent(bare.get(), "q", nullptr);
    mLogs.clear();

    std::string out = "before\n";
    mRecord->dumpAllRecordContent(out);
    auto c = Peer::content(*mRecord, 3);
    const auto& f9 = c->mNormalFrameEvents.at(9);
    const auto& f18 = c->mSyncedFrameEvents.at(18);
    auto start = [](const TalvexFrameRecord::FrameEvent& f) {
        return std::to_string(f.mStartStatus.startTime) + "\n";
    };
    const std::string layer3 =
        "LayerId:3 BlastBufferQueue Name:app#7 SurfaceControl Name:layer3\n SurfaceControl:" +
        pointerText(control.get()) + " mBlastBufferQueue:0x3000 mLayerHandle:" +
        pointerText(control->getLayerStateHandle().get()) + "\n Synced Frame Event Record:\n" +
        "  FrameNumber:18 Events: " + event(*mRecord, f18, 0, "FakeReleaseCallback") +
        event(*mRecord, f18, 1, "12") + event(*mRecord, f18, 2, "-1") +
        " StartStatus: sync:1 wait:1 numAvailable:-3 numAcquired:2 startTime:" + start(f18) +
        " Normal Frame Event Record:\n  FrameNumber:9 Events: " +
        event(*mRecord, f9, 0, "onFrameAvailable") + event(*mRecord, f9, 1, "acquireNextBuffer") +
        " StartStatus: sync:0 wait:0 numAvailable:0 numAcquired:0 startTime:" + start(f9) +
        "  FrameNumber:10 Events:  StartStatus: sync:0 wait:0 numAvailable:0 numAcquired:0 "
        "startTime:" +
        start(c->mNormalFrameEvents.at(10)) +
        "  FrameNumber:100 Events:  StartStatus: sync:0 wait:0 numAvailable:1 numAcquired:0 "
        "startTime:" +
        start(c->mNormalFrameEvents.at(100));
    const std::string layerMinus5 =
        "LayerId:-5 BlastBufferQueue Name:q SurfaceControl Name:nohandle\n SurfaceControl:" +
        pointerText(bare.get()) +
        " mBlastBufferQueue:0x0 mLayerHandle:0x0\n Synced Frame Event Record:\n"
        " Normal Frame Event Record:\n";
    // Layers come in the hash map's order; each block is whole.
    EXPECT_THAT(out, ::testing::AnyOf("before\n" + header(2) + layer3 + layerMinus5 + kTrailer,
                                      "before\n" + header(2) + layerMinus5 + layer3 + kTrailer));
    EXPECT_THAT(out, ::testing::HasSubstr("/+"));  // events come after their frame's start
    EXPECT_TRUE(mLogs.lines().empty());

    mRecord->clearFrameContent(3, queue(3));
    mRecord->clearFrameContent(-5, nullptr);
    out.clear();
    mRecord->dumpAllRecordContent(out);
    EXPECT_EQ(header(0) + kTrailer, out);
}

// Returns "" if no layer of `text` shows more than 11 frames, or a frame in the map its layer
// does not use (odd layers start synced frames), or an older frame missing one of `events`.
std::string checkDump(const std::string& text, int events) {
    std::istringstream lines(text);
    std::string line;
    std::string last;
    int layer = -1;
    bool synced = false;
    std::vector<size_t> frameEvents;  // of the current section
    while (std::getline(lines, line)) {
        last = line;
        if (line.rfind("LayerId:", 0) == 0) layer = std::stoi(line.substr(8));
        if (line.rfind(" Synced", 0) == 0 || line.rfind(" Normal", 0) == 0 || line[0] == '-') {
            if (frameEvents.size() > 11)
                return "more than 11 frames: layer " + std::to_string(layer);
            for (size_t i = 0; i + 1 < frameEvents.size(); ++i) {
                if (frameEvents[i] != static_cast<size_t>(events)) return "incomplete: " + text;
            }
            frameEvents.clear();
            synced = line[1] == 'S';
        } else if (line.rfind("  FrameNumber:", 0) == 0) {
            if (synced != (layer % 2 == 1)) return "frame in the wrong map: " + line;
            frameEvents.push_back(std::count(line.begin(), line.end(), '('));
        }
    }
    return last == "---Dump All Frame Record END---" ? "" : "no trailer";
}

TEST_F(FrameRecordDump, DumpsDuringRecordingShowOneMoment) {
    constexpr int kLayers = 6;
    constexpr unsigned long kFrames = 120;
    constexpr int kEvents = 5;
    for (int layer = 0; layer < kLayers; ++layer) addLayer(layer, queue(1 + layer));
    std::atomic<bool> writing{true};
    std::mutex errorsMutex;
    std::vector<std::string> errors;
    auto dumpAndCheck = [&] {
        std::string text;
        mRecord->dumpAllRecordContent(text);
        if (std::string error = checkDump(text, kEvents); !error.empty()) {
            std::lock_guard<std::mutex> lock(errorsMutex);
            errors.push_back(error);
        }
    };
    std::thread dumper([&] {
        do dumpAndCheck();
        while (writing.load());
    });
    std::vector<std::thread> writers;
    for (int layer = 0; layer < kLayers; ++layer) {
        writers.emplace_back([&, layer] {
            for (unsigned long frame = 1; frame <= kFrames; ++frame) {
                startFrame(layer, frame, /*sync=*/layer % 2 == 1);
                for (int e = 0; e < kEvents; ++e) {
                    mRecord->setLayerFrameEvent(layer, frame, static_cast<FrameType>(e));
                }
                if (layer == 0 && frame % 20 == 0) mRecord->pushTaskAndStart(dumpAndCheck);
            }
        });
    }
    for (std::thread& writer : writers) writer.join();
    writing.store(false);
    dumper.join();
    std::promise<void> drained;
    mRecord->pushTaskAndStart([&] { drained.set_value(); });
    ASSERT_EQ(std::future_status::ready, drained.get_future().wait_for(std::chrono::seconds(30)));
    EXPECT_THAT(errors, ::testing::IsEmpty());

    std::string text;
    mRecord->dumpAllRecordContent(text);
    EXPECT_EQ("", checkDump(text, kEvents));
    for (int layer = 0; layer < kLayers; ++layer) {
        auto content = Peer::content(*mRecord, layer);
        const auto& kept = layer % 2 ? content->mSyncedFrameEvents : content->mNormalFrameEvents;
        EXPECT_EQ(kFrames - 10, kept.begin()->first);
        EXPECT_EQ(11u, kept.size());
    }
}

}  // namespace
}  // namespace talvex::test
