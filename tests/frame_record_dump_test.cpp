// Part 2.4: the frame record dump, checked against text built independently from the store.
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/frame_record_fixture.h"
#include "support/text.h"

namespace talvex::test {
namespace {

using android::TalvexFrameRecord;
using ::testing::HasSubstr;
using ::testing::StartsWith;

using FrameRecordDump = FrameRecordTest;

std::string header(size_t layers) {
    // The binary's own name, written out: the host takes it from program_invocation_short_name.
    return std::string("---Dump Process frame_record_dump_test") +
           " All Frame Record START, Size:" + std::to_string(layers) + "---\n";
}

const std::string kTrailer = "---Dump All Frame Record END---\n";

// The expected frame line, built field by field from the stored frame.
std::string frameLine(TalvexFrameRecord& record, unsigned long frameNumber,
                      const TalvexFrameRecord::FrameEvent& frame) {
    std::string line = "  FrameNumber:" + std::to_string(frameNumber) + " Events: ";
    for (const TalvexFrameRecord::Event& event : frame.mEvents) {
        line += android::libgui_interface::hook::frameTypeName(event.type) + "(" +
                std::to_string(event.index) + "/" + std::to_string(event.time) + "/" +
                record.getTimeString(frame.mStartStatus.startTime, event.time) + ") ";
    }
    const auto& status = frame.mStartStatus;
    line += " StartStatus: sync:" + std::to_string(status.sync) +
            " wait:" + std::to_string(status.wait) +
            " numAvailable:" + std::to_string(status.numAvailable) +
            " numAcquired:" + std::to_string(status.numAcquired) +
            " startTime:" + std::to_string(status.startTime) + "\n";
    return line;
}

// The expected text of one layer, synced section before normal.
std::string layerText(TalvexFrameRecord& record, int layerId) {
    auto content = android::TalvexFrameRecordTestPeer::content(record, layerId);
    std::string text = "LayerId:" + std::to_string(layerId) +
                       " BlastBufferQueue Name:" + content->mName +
                       " SurfaceControl Name:" + content->mSurfaceControlName + "\n" +
                       " SurfaceControl:" + pointerText(content->mSurfaceControl) +
                       " mBlastBufferQueue:" + pointerText(content->mBlastBufferQueue) +
                       " mLayerHandle:" + pointerText(content->mLayerHandle) + "\n";
    text += " Synced Frame Event Record:\n";
    for (const auto& [number, frame] : content->mSyncedFrameEvents) {
        text += frameLine(record, number, frame);
    }
    text += " Normal Frame Event Record:\n";
    for (const auto& [number, frame] : content->mNormalFrameEvents) {
        text += frameLine(record, number, frame);
    }
    return text;
}

std::string dump(TalvexFrameRecord& record) {
    std::string out;
    record.dumpAllRecordContent(out);
    return out;
}

TEST(FrameRecordDumpDisabled, AppendsNothingWhenRecordingIsOff) {
    ScopedProperty property("ro.build.type", "user");
    LogCapture logs;
    TalvexFrameRecord record;
    std::string out = "kept";
    record.dumpAllRecordContent(out);
    EXPECT_EQ("kept", out);
}

TEST_F(FrameRecordDump, EmptyRecordIsHeaderThenTrailer) {
    EXPECT_EQ(header(0) + kTrailer, dump(*mRecord));
}

TEST_F(FrameRecordDump, LayerWithoutFramesPrintsTwoLinesAndTwoHeadings) {
    android::sp<android::SurfaceControl> control = addLayer(12, queue(3), "app#7");
    EXPECT_EQ(header(1) + "LayerId:12 BlastBufferQueue Name:app#7 SurfaceControl Name:layer12\n" +
                  " SurfaceControl:" + pointerText(control.get()) +
                  " mBlastBufferQueue:0x3000 mLayerHandle:" +
                  pointerText(control->getLayerStateHandle().get()) + "\n" +
                  " Synced Frame Event Record:\n Normal Frame Event Record:\n" + kTrailer,
              dump(*mRecord));
}

TEST_F(FrameRecordDump, NullPointersPrintAs0x0AndLaterNumbersAreDecimal) {
    android::sp<android::SurfaceControl> control(
        new android::SurfaceControl(new android::SurfaceComposerClient(), nullptr, -5, "nohandle"));
    mControls.push_back(control);
    mRecord->updateFrameAndGetContent(control.get(), "q", nullptr);
    const std::string text = dump(*mRecord);
    EXPECT_THAT(text, HasSubstr("LayerId:-5 "));
    EXPECT_THAT(text, HasSubstr(" mBlastBufferQueue:0x0 mLayerHandle:0x0\n"));
    EXPECT_EQ(header(1) + layerText(*mRecord, -5) + kTrailer, text);
}

TEST_F(FrameRecordDump, FullLayerMatchesIndependentText) {
    addLayer(3, queue(1), "bbq#3");
    startFrame(3, 17, /*sync=*/false, /*wait=*/false, 1, 0);
    mRecord->setLayerFrameEvent(3, 17, FrameType::onFrameAvailable);
    mRecord->setLayerFrameEvent(3, 17, FrameType::acquireNextBuffer);
    startFrame(3, 18, /*sync=*/true, /*wait=*/true, -3, 2);
    mRecord->setLayerFrameEvent(3, 18, FrameType::FakeReleaseCallback);
    startFrame(3, 19);  // no events
    const std::string text = dump(*mRecord);
    EXPECT_EQ(header(1) + layerText(*mRecord, 3) + kTrailer, text);
    EXPECT_THAT(text, HasSubstr(" sync:1 wait:1 numAvailable:-3 numAcquired:2 startTime:"));
    EXPECT_THAT(text, HasSubstr("  FrameNumber:19 Events:  StartStatus: sync:0"));
    EXPECT_THAT(text, HasSubstr(") acquireNextBuffer(1/"));
    EXPECT_THAT(text, HasSubstr(")  StartStatus:"));
    // Synced before normal.
    EXPECT_LT(text.find("FrameNumber:18"), text.find("FrameNumber:17"));
    EXPECT_LT(text.find(" Synced Frame Event Record:"), text.find(" Normal Frame Event Record:"));
}

TEST_F(FrameRecordDump, EventTimesPrintAsPositiveOffsetsFromFrameStart) {
    addLayer(3, queue(1));
    startFrame(3, 1);
    mRecord->setLayerFrameEvent(3, 1, FrameType::apply);
    const std::string text = dump(*mRecord);
    const auto frame =
        android::TalvexFrameRecordTestPeer::content(*mRecord, 3)->mNormalFrameEvents.at(1);
    const std::string expected =
        "apply(0/" + std::to_string(frame.mEvents[0].time) + "/" +
        mRecord->getTimeString(frame.mStartStatus.startTime, frame.mEvents[0].time) + ") ";
    EXPECT_THAT(text, HasSubstr(expected));
    EXPECT_THAT(expected, HasSubstr("/+"));
}

TEST_F(FrameRecordDump, FramesPrintInNumericOrder) {
    addLayer(1, queue(1));
    startFrame(1, 100);
    startFrame(1, 9);
    startFrame(1, 10);
    const std::string text = dump(*mRecord);
    const size_t at9 = text.find("FrameNumber:9 ");
    const size_t at10 = text.find("FrameNumber:10 ");
    const size_t at100 = text.find("FrameNumber:100 ");
    ASSERT_NE(std::string::npos, at9);
    EXPECT_LT(at9, at10);
    EXPECT_LT(at10, at100);
}

TEST_F(FrameRecordDump, UnknownTypeValuesPrintAsDecimal) {
    addLayer(1, queue(1));
    startFrame(1, 1);
    mRecord->setLayerFrameEvent(1, 1, static_cast<FrameType>(12));
    mRecord->setLayerFrameEvent(1, 1, static_cast<FrameType>(-1));
    const std::string text = dump(*mRecord);
    EXPECT_THAT(text, HasSubstr("Events: 12(0/"));
    EXPECT_THAT(text, HasSubstr(") -1(1/"));
    EXPECT_EQ(header(1) + layerText(*mRecord, 1) + kTrailer, text);
}

TEST_F(FrameRecordDump, EveryTypeNamePrintsAsInPart21) {
    addLayer(1, queue(1));
    startFrame(1, 1);
    for (int type = 0; type <= 11; ++type) {
        mRecord->setLayerFrameEvent(1, 1, static_cast<FrameType>(type));
    }
    const std::string text = dump(*mRecord);
    EXPECT_THAT(text, HasSubstr(" FakeReleaseCallback(8/"));
    EXPECT_THAT(text, HasSubstr(" apply(11/"));
    EXPECT_EQ(header(1) + layerText(*mRecord, 1) + kTrailer, text);
}

TEST_F(FrameRecordDump, AppendsAfterExistingText) {
    addLayer(1, queue(1));
    std::string out = "before\n";
    mRecord->dumpAllRecordContent(out);
    EXPECT_THAT(out, StartsWith("before\n---Dump Process "));
    EXPECT_EQ("before\n" + dump(*mRecord), out);
}

TEST_F(FrameRecordDump, ManyLayersEachPrintedOnceInMapOrder) {
    for (int layer = 1; layer <= 5; ++layer) {
        addLayer(layer, queue(layer));
        startFrame(layer, 1);
        mRecord->setLayerFrameEvent(layer, 1, FrameType::apply);
    }
    const std::string text = dump(*mRecord);
    EXPECT_THAT(text, StartsWith(header(5)));
    size_t position = header(5).size();
    // Hash-map order is not sorted; each layer's block is contiguous and exact.
    for (int seen = 0; seen < 5; ++seen) {
        const size_t colon = text.find(' ', position);
        const int layerId = std::stoi(text.substr(position + 8, colon - position - 8));
        const std::string block = layerText(*mRecord, layerId);
        ASSERT_EQ(block, text.substr(position, block.size()));
        position += block.size();
    }
    EXPECT_EQ(kTrailer, text.substr(position));
}

TEST_F(FrameRecordDump, DumpLogsNothing) {
    addLayer(1, queue(1));
    mLogs.clear();
    dump(*mRecord);
    EXPECT_TRUE(mLogs.lines().empty());
}

}  // namespace
}  // namespace talvex::test
