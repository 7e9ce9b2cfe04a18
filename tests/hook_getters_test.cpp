// Part 1.2: hook interfaces, getters, factories and fallbacks. Every case touches the
// process-lifetime caches, so each runs in a process of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <libgui_interface/hook/ITestExampleClass.h>

#include "support/log_capture.h"
#include "support/own_process.h"
#include "support/text.h"
#include "talvex_libgui_utils/libgui_ext_interface.h"
#include "talvex_libgui_utils/talvex_bufferqueue_helper.h"
#include "talvex_libgui_utils/talvex_frame_record.h"
#include "talvex_libgui_utils/test_example.h"

namespace android::libgui_interface::hook {
namespace {

using talvex::test::LogCapture;
using talvex::test::pointerText;
using ::testing::ElementsAre;

int gCountedCalls = 0;
void* countedFactory() {
    ++gCountedCalls;
    return nullptr;
}

TEST(FrameRecordGetter, RealRecordIsCachedAndAnnouncedOnce) {
    EXPECT_IN_OWN_PROCESS({
        ensure_hook_module_init();
        LogCapture logs;
        IFrameRecord* first = getFrameRecordIns();
        ASSERT_NE(nullptr, first);
        EXPECT_NE(static_cast<IFrameRecord*>(DefaultTalvexFrameRecord::getInstance()), first);
        const auto successLines = logs.linesContaining("createTalvexFrameRecordFactory");
        ASSERT_EQ(1u, successLines.size());
        EXPECT_EQ(ANDROID_LOG_INFO, successLines[0].priority);
        EXPECT_EQ("createTalvexFrameRecordFactory success, get instance " + pointerText(first),
                  successLines[0].text);

        // The second call must not touch the registry.
        registerClass(HOOK_REGISTER_MAP, "TalvexFrameRecord", &countedFactory);
        logs.clear();
        EXPECT_EQ(first, getFrameRecordIns());
        EXPECT_EQ(0, gCountedCalls);
        EXPECT_TRUE(logs.lines().empty());
    });
}

TEST(BufferQueueHelperGetter, MissingKeyGivesTheStaticFallback) {
    EXPECT_IN_OWN_PROCESS({
        ensure_hook_module_init();
        HOOK_REGISTER_MAP.erase("TalvexBufferQueueHelper");
        LogCapture logs;
        IBufferQueueHelper* helper = getBufferQueueHelper();
        EXPECT_EQ(static_cast<IBufferQueueHelper*>(DefaultTalvexBufferQueueHelper::getInstance()),
                  helper);
        EXPECT_THAT(logs.texts(),
                    ElementsAre("Can not find TalvexBufferQueueHelper at HOOK_REGISTER_MAP",
                                "create DefaultTalvexBufferQueueHelper, this " + pointerText(helper),
                                "createTalvexBufferQueueHelperFactory failed, get default "
                                "instance " +
                                    pointerText(helper)));
        EXPECT_EQ(helper, getBufferQueueHelper());
        EXPECT_EQ(3u, logs.lines().size());
    });
}

TEST(FrameRecordGetter, MissingKeyGivesTheStaticFallback) {
    EXPECT_IN_OWN_PROCESS({
        ensure_hook_module_init();
        HOOK_REGISTER_MAP.erase("TalvexFrameRecord");
        LogCapture logs;
        IFrameRecord* record = getFrameRecordIns();
        EXPECT_EQ(static_cast<IFrameRecord*>(DefaultTalvexFrameRecord::getInstance()), record);
        EXPECT_THAT(logs.texts(),
                    ElementsAre("Can not find TalvexFrameRecord at HOOK_REGISTER_MAP",
                                "create DefaultTalvexFrameRecord, this " + pointerText(record),
                                "createTalvexFrameRecordFactory failed, get default instance " +
                                    pointerText(record)));
    });
}

TEST(TestExampleGetter, AsFirstCallGivesAFallbackWithoutLoading) {
    EXPECT_IN_OWN_PROCESS({
        LogCapture logs;
        ITestExampleClass* example = getTestExampleClassInstance();
        ASSERT_NE(nullptr, example);
        EXPECT_NE(nullptr, dynamic_cast<DefaultTestExampleClass*>(example));
        EXPECT_EQ(nullptr, libgui_ext_handle);
        EXPECT_TRUE(HOOK_REGISTER_MAP.empty());
        const auto lines = logs.lines();
        ASSERT_EQ(1u, lines.size());
        EXPECT_EQ(ANDROID_LOG_ERROR, lines[0].priority);
        EXPECT_EQ(
            "getTestExampleClassInstance ITestExampleClass failed, maybe not create, use "
            "default",
            lines[0].text);

        logs.clear();
        example->sayHello();
        EXPECT_THAT(logs.texts(), ElementsAre("Talvex-Graphics: DefaultTestExampleClass sayHello"));
        EXPECT_EQ(ANDROID_LOG_INFO, logs.lines()[0].priority);

        // From now on the factory, too, hands out that fallback (it still loads the library).
        logs.clear();
        EXPECT_EQ(example, createTalvexTestExampleClassFactory());
        EXPECT_NE(nullptr, libgui_ext_handle);
        EXPECT_EQ(0u, logs.count("createTalvexTestExampleClassFactory"));
    });
}

TEST(TestExampleFactory, ReachesTheRealClass) {
    EXPECT_IN_OWN_PROCESS({
        LogCapture logs;
        ITestExampleClass* example = createTalvexTestExampleClassFactory();
        ASSERT_NE(nullptr, example);
        const auto lines = logs.linesContaining("createTalvexTestExampleClassFactory");
        ASSERT_EQ(1u, lines.size());
        EXPECT_EQ(ANDROID_LOG_INFO, lines[0].priority);
        EXPECT_EQ("createTalvexTestExampleClassFactory get instance " + pointerText(example) + "/" +
                      pointerText(example),
                  lines[0].text);

        logs.clear();
        example->sayHello();
        EXPECT_THAT(logs.texts(), ElementsAre("Talvex-Graphics: TalvexTestExample sayHello"));
        EXPECT_EQ(example, getTestExampleClassInstance());
        EXPECT_EQ(example, createTalvexTestExampleClassFactory());
        EXPECT_EQ(1u, logs.lines().size());
    });
}

TEST(TestExampleFactory, MissingKeyGivesAHeapFallbackAndSaysNull) {
    EXPECT_IN_OWN_PROCESS({
        ensure_hook_module_init();
        HOOK_REGISTER_MAP.erase("TalvexTestExample");
        LogCapture logs;
        ITestExampleClass* example = createTalvexTestExampleClassFactory();
        EXPECT_NE(nullptr, dynamic_cast<DefaultTestExampleClass*>(example));
        EXPECT_THAT(logs.texts(), ElementsAre("Can not find TalvexTestExample at HOOK_REGISTER_MAP",
                                              "createTalvexTestExampleClassFactory get instance " +
                                                  pointerText(example) + "/0x0"));
    });
}

TEST(FallbackFrameRecord, AcceptsEverythingAndKeepsNothing) {
    EXPECT_IN_OWN_PROCESS({
        DefaultTalvexFrameRecord* record = DefaultTalvexFrameRecord::getInstance();
        EXPECT_FALSE(record->getEnable());
        EXPECT_EQ("-1", record->getTimeString(0, 0));
        EXPECT_EQ("-1", record->getTimeString(1000, 2000));
        record->addCallbackIdLocked(7);
        EXPECT_TRUE(record->getCallbackIdTime().empty());
        bool ran = false;
        record->pushTaskAndStart([&ran] { ran = true; });
        record->ensureTaskFinish();
        EXPECT_FALSE(ran) << "the fallback drops tasks unrun";
        std::string out = "kept";
        record->dumpAllRecordContent(out);
        EXPECT_EQ("kept", out);
        EXPECT_EQ(record, DefaultTalvexFrameRecord::getInstance());
    });
}

TEST(FallbackFrameRecord, AnnouncesItselfOnConstruction) {
    EXPECT_IN_OWN_PROCESS({
        LogCapture logs;
        DefaultTalvexFrameRecord* record = DefaultTalvexFrameRecord::getInstance();
        EXPECT_THAT(logs.texts(),
                    ElementsAre("create DefaultTalvexFrameRecord, this " + pointerText(record)));
        EXPECT_EQ(ANDROID_LOG_INFO, logs.lines()[0].priority);
    });
}

}  // namespace
}  // namespace android::libgui_interface::hook
