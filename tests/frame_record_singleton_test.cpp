// Parts 1.2 and 2.2: the real frame record through the hook getter, as the one process-wide
// singleton. Every case touches the singleton, so each runs in a process of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <utils/Singleton.h>

#include <chrono>
#include <cstdio>
#include <future>

#include "support/frame_record_fixture.h"
#include "support/own_process.h"
#include "support/text.h"

namespace talvex::test {
namespace {

using android::TalvexFrameRecord;
using android::libgui_interface::hook::FrameStartStatus;
using android::libgui_interface::hook::FrameType;
using android::libgui_interface::hook::getFrameRecordIns;
using android::libgui_interface::hook::IFrameRecord;
using ::testing::HasSubstr;

std::string constructorLine(const void* record, int enable) {
    char text[160];
    snprintf(text, sizeof(text),
             "Talvex-Graphics: TalvexFrameRecord create, this:%s, size:%zu, enable:%d",
             pointerText(record).c_str(), sizeof(TalvexFrameRecord), enable);
    return text;
}

TEST(FrameRecordSingleton, GetterReturnsRealRecordOnUserdebugAndLogsItsCreation) {
    EXPECT_IN_OWN_PROCESS({
        ScopedProperty property("ro.build.type", "userdebug");
        LogCapture logs;
        IFrameRecord* record = getFrameRecordIns();
        ASSERT_NE(nullptr, record);
        EXPECT_NE(nullptr, dynamic_cast<TalvexFrameRecord*>(record));
        EXPECT_TRUE(record->getEnable());
        EXPECT_EQ(static_cast<void*>(record), TalvexFrameRecord::createRealImplFactory());
        EXPECT_EQ(record, getFrameRecordIns());

        const auto created = logs.linesContaining("TalvexFrameRecord create");
        ASSERT_EQ(1u, created.size());
        EXPECT_EQ(constructorLine(record, 1), created[0].text);
        EXPECT_EQ(ANDROID_LOG_INFO, created[0].priority);
        EXPECT_EQ(defaultTag(), created[0].tag);
    });
}

TEST(FrameRecordSingleton, FactoryCreatesOnceAndInterfaceAddressIsObjectAddress) {
    EXPECT_IN_OWN_PROCESS({
        ScopedProperty property("ro.build.type", "userdebug");
        LogCapture logs;
        EXPECT_FALSE(android::Singleton<TalvexFrameRecord>::hasInstance());
        void* first = TalvexFrameRecord::createRealImplFactory();
        void* second = TalvexFrameRecord::createRealImplFactory();
        EXPECT_EQ(first, second);
        EXPECT_TRUE(android::Singleton<TalvexFrameRecord>::hasInstance());
        TalvexFrameRecord* object = &android::Singleton<TalvexFrameRecord>::getInstance();
        EXPECT_EQ(static_cast<void*>(object), first);
        EXPECT_EQ(static_cast<IFrameRecord*>(object), static_cast<IFrameRecord*>(first));
        EXPECT_EQ(1u, logs.count("TalvexFrameRecord create"));
    });
}

TEST(FrameRecordSingleton, GetterOnUserBuildReturnsRealRecordThatKeepsNothing) {
    EXPECT_IN_OWN_PROCESS({
        ScopedProperty property("ro.build.type", "user");
        LogCapture logs;
        IFrameRecord* record = getFrameRecordIns();
        ASSERT_NE(nullptr, dynamic_cast<TalvexFrameRecord*>(record));
        EXPECT_FALSE(record->getEnable());
        EXPECT_EQ(1u, logs.count(constructorLine(record, 0)));
        std::string out;
        record->dumpAllRecordContent(out);
        EXPECT_EQ("", out);
    });
}

TEST(FrameRecordSingleton, RecordsAndDumpsThroughTheInterface) {
    EXPECT_IN_OWN_PROCESS({
        ScopedProperty property("ro.build.type", "userdebug");
        LogCapture logs;
        IFrameRecord* record = getFrameRecordIns();
        android::sp<android::SurfaceControl> control = makeSurfaceControl(21, "surface21");
        record->updateFrameAndGetContent(control.get(), "bbq21", control.get());
        record->setLayerFrameEvent(21, 4, FrameStartStatus{false, true, 2, 1, 0});
        record->setLayerFrameEvent(control.get(), 4, FrameType::acquireNextBuffer);
        std::string out;
        record->dumpAllRecordContent(out);
        EXPECT_THAT(out, HasSubstr("LayerId:21 BlastBufferQueue Name:bbq21 "
                                   "SurfaceControl Name:surface21\n"));
        EXPECT_THAT(out, HasSubstr("  FrameNumber:4 Events: acquireNextBuffer(0/"));
        EXPECT_THAT(out, HasSubstr(" StartStatus: sync:0 wait:1 numAvailable:2 numAcquired:1"));

        std::promise<void> ran;
        record->pushTaskAndStart([&] { ran.set_value(); });
        EXPECT_EQ(std::future_status::ready, ran.get_future().wait_for(std::chrono::seconds(10)));
    });
}

}  // namespace
}  // namespace talvex::test
