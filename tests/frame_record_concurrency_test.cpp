// Parts 2.2, 2.4 and 2.5 together: writers record on their own layers while dumps run on another
// thread and on the record's own worker. Every dump must show one consistent moment.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/frame_record_fixture.h"

namespace talvex::test {
namespace {

using android::TalvexFrameRecord;

constexpr int kWriters = 4;
constexpr int kLayersPerWriter = 2;  // one with normal frames, one with synced frames
constexpr unsigned long kFrames = 150;
constexpr int kEventsPerFrame = 5;

struct ParsedFrame {
    unsigned long number = 0;
    std::vector<uint64_t> indices;
};

struct ParsedLayer {
    std::vector<ParsedFrame> synced;
    std::vector<ParsedFrame> normal;
};

// Parses a dump into layers; returns an error text, or "" if the text is well formed.
std::string parseDump(const std::string& text, std::map<int, ParsedLayer>& layers) {
    std::istringstream lines(text);
    std::string line;
    if (!std::getline(lines, line) || line.rfind("---Dump Process ", 0) != 0) return "no header";
    const size_t size = std::stoul(line.substr(line.find("Size:") + 5));
    ParsedLayer* layer = nullptr;
    std::vector<ParsedFrame>* section = nullptr;
    bool ended = false;
    while (std::getline(lines, line)) {
        if (line == "---Dump All Frame Record END---") {
            ended = true;
        } else if (line.rfind("LayerId:", 0) == 0) {
            layer = &layers[std::stoi(line.substr(8))];
            section = nullptr;
        } else if (line == " Synced Frame Event Record:") {
            section = &layer->synced;
        } else if (line == " Normal Frame Event Record:") {
            section = &layer->normal;
        } else if (line.rfind("  FrameNumber:", 0) == 0) {
            if (section == nullptr) return "frame outside a section";
            ParsedFrame frame;
            frame.number = std::stoul(line.substr(14));
            const size_t events = line.find(" Events: ") + 9;
            const size_t status = line.find("  StartStatus:", events - 1);
            if (status == std::string::npos) return "no start status: " + line;
            for (size_t open = line.find('(', events); open != std::string::npos && open < status;
                 open = line.find('(', open + 1)) {
                frame.indices.push_back(std::stoull(line.substr(open + 1)));
            }
            section->push_back(frame);
        } else if (line.rfind(" SurfaceControl:", 0) != 0) {
            return "unexpected line: " + line;
        }
    }
    if (!ended) return "no trailer";
    if (layers.size() != size) return "size does not match the layers printed";
    return "";
}

// Checks one section of one layer: at most 11 frames, ascending, and the events of the kept
// frames form one unbroken run of indices, every frame but the newest complete.
std::string checkSection(const std::vector<ParsedFrame>& frames) {
    if (frames.size() > 11) return "more than 11 frames";
    for (size_t i = 0; i < frames.size(); ++i) {
        if (i > 0 && frames[i].number != frames[i - 1].number + 1) return "frames not in a row";
        if (i + 1 < frames.size() && frames[i].indices.size() != kEventsPerFrame) {
            return "older frame incomplete";
        }
        for (size_t k = 0; k < frames[i].indices.size(); ++k) {
            const uint64_t expected = (frames[i].number - 1) * kEventsPerFrame + k;
            if (frames[i].indices[k] != expected) return "event index out of place";
        }
    }
    return "";
}

// Returns "" if `text` is a consistent dump of the writers' layers.
std::string checkDump(const std::string& text) {
    std::map<int, ParsedLayer> layers;
    if (std::string error = parseDump(text, layers); !error.empty()) return error;
    for (const auto& [layerId, layer] : layers) {
        const bool synced = layerId % 2 == 1;
        if (!(synced ? layer.normal : layer.synced).empty()) return "frame in the wrong map";
        if (std::string error = checkSection(synced ? layer.synced : layer.normal); !error.empty()) {
            return "layer " + std::to_string(layerId) + ": " + error;
        }
    }
    return "";
}

using FrameRecordConcurrency = FrameRecordTest;

TEST_F(FrameRecordConcurrency, DumpsDuringRecordingAreConsistent) {
    for (int layer = 0; layer < kWriters * kLayersPerWriter; ++layer)
        addLayer(layer, queue(1 + layer));

    std::atomic<bool> writing{true};
    std::atomic<int> dumps{0};
    std::mutex errorsMutex;
    std::vector<std::string> errors;
    auto check = [&](const std::string& text) {
        dumps.fetch_add(1);
        std::string error = checkDump(text);
        if (error.empty()) return;
        std::lock_guard<std::mutex> lock(errorsMutex);
        errors.push_back(error);
    };

    std::thread dumper([&] {
        do {
            std::string text;
            mRecord->dumpAllRecordContent(text);
            check(text);
        } while (writing.load());
    });

    std::vector<std::thread> writers;
    for (int w = 0; w < kWriters; ++w) {
        writers.emplace_back([&, w] {
            const int normalLayer = 2 * w;
            const int syncedLayer = 2 * w + 1;
            for (unsigned long frame = 1; frame <= kFrames; ++frame) {
                for (int layer : {normalLayer, syncedLayer}) {
                    startFrame(layer, frame, /*sync=*/layer == syncedLayer, false, 1, 0);
                    for (int e = 0; e < kEventsPerFrame; ++e) {
                        mRecord->setLayerFrameEvent(layer, frame, static_cast<FrameType>(e));
                    }
                }
                if (w == 0 && frame % 15 == 0) {
                    // Dumps on the record's own worker too, as the BLAST dump trigger does.
                    mRecord->pushTaskAndStart([&] {
                        std::string text;
                        mRecord->dumpAllRecordContent(text);
                        check(text);
                    });
                }
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
    EXPECT_GE(dumps.load(), 1 + static_cast<int>(kFrames / 15));

    // At rest: every layer keeps frames 140 to 150, each with all its events.
    std::string text;
    mRecord->dumpAllRecordContent(text);
    EXPECT_EQ("", checkDump(text));
    std::map<int, ParsedLayer> layers;
    ASSERT_EQ("", parseDump(text, layers));
    ASSERT_EQ(static_cast<size_t>(kWriters * kLayersPerWriter), layers.size());
    for (const auto& [layerId, layer] : layers) {
        const auto& frames = layerId % 2 ? layer.synced : layer.normal;
        ASSERT_EQ(11u, frames.size());
        EXPECT_EQ(kFrames - 10, frames.front().number);
        EXPECT_EQ(kFrames, frames.back().number);
        EXPECT_EQ(kFrames * kEventsPerFrame, Peer::content(*mRecord, layerId)->mEventCount);
    }
}

TEST_F(FrameRecordConcurrency, LayersComeAndGoWhileOthersRecord) {
    addLayer(0, queue(1));
    std::atomic<bool> done{false};
    std::thread churn([&] {
        // Announces and drops layer 1 over and over; layer 0 must not notice.
        android::sp<android::SurfaceControl> control = makeSurfaceControl(1, "churn");
        for (int i = 0; i < 500; ++i) {
            mRecord->updateFrameAndGetContent(control.get(), "churn", queue(2));
            mRecord->setLayerFrameEvent(1, 1, FrameStartStatus{false, false, 0, 0, 0});
            mRecord->setLayerFrameEvent(control.get(), 1, FrameType::apply);
            std::string text;
            mRecord->dumpAllRecordContent(text);
            mRecord->clearFrameContent(1, queue(2));
        }
        done.store(true);
    });
    unsigned long frame = 0;
    while (!done.load() || frame < 20) {
        ++frame;
        startFrame(0, frame);
        for (int e = 0; e < kEventsPerFrame; ++e) {
            mRecord->setLayerFrameEvent(0, frame, FrameType::acquireNextBuffer);
        }
    }
    churn.join();
    EXPECT_EQ(nullptr, Peer::content(*mRecord, 1));
    EXPECT_EQ(frame * kEventsPerFrame, Peer::content(*mRecord, 0)->mEventCount);
    std::string text;
    mRecord->dumpAllRecordContent(text);
    EXPECT_EQ("", checkDump(text));
}

}  // namespace
}  // namespace talvex::test
