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

// Hook getters, factories and fallbacks. Every case touches the
// process-lifetime caches, so each runs in a process of its own.
#include <binder/IBinder.h>
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

using talvex::test::errorLine;
using talvex::test::infoLine;
using talvex::test::LogCapture;
using talvex::test::LogLine;
using talvex::test::pointerText;
using ::testing::ElementsAre;

constexpr char kFallbackGreeting[] = "Talvex-Graphics: DefaultTestExampleClass sayHello";
constexpr char kRealGreeting[] = "Talvex-Graphics: TalvexTestExample sayHello";

int gCountedCalls = 0;
void* countedFactory() {
    ++gCountedCalls;
    return nullptr;
}

// Returns the lines `example->sayHello()` logs: which class answered, without RTTI (the device
// builds without it).
std::vector<LogLine> greetingOf(ITestExampleClass* example) {
    LogCapture logs;
    example->sayHello();
    return logs.lines();
}

TEST(FrameRecordGetter, RealRecordIsCachedAndAnnouncedOnce) {
    EXPECT_IN_OWN_PROCESS({
        ensure_hook_module_init();
        LogCapture logs;
        IFrameRecord* first = getFrameRecordIns();
        ASSERT_NE(nullptr, first);
        EXPECT_NE(static_cast<IFrameRecord*>(DefaultTalvexFrameRecord::getInstance()), first);
        // The real record announces itself first, then the factory says so.
        EXPECT_THAT(logs.linesContaining("createTalvexFrameRecordFactory"),
                    ElementsAre(infoLine("createTalvexFrameRecordFactory success, get instance " +
                                         pointerText(first))));

        // The second call must not touch the registry.
        registerClass(HOOK_REGISTER_MAP, "TalvexFrameRecord", &countedFactory);
        logs.clear();
        EXPECT_EQ(first, getFrameRecordIns());
        EXPECT_EQ(first, createTalvexFrameRecordFactory());
        EXPECT_EQ(0, gCountedCalls);
        EXPECT_TRUE(logs.lines().empty());
    });
}

TEST(TestExampleGetter, AsFirstCallGivesAFallbackWithoutLoading) {
    EXPECT_IN_OWN_PROCESS({
        LogCapture logs;
        ITestExampleClass* example = getTestExampleClassInstance();
        ASSERT_NE(nullptr, example);
        EXPECT_EQ(example, getTestExampleClassInstance());
        EXPECT_EQ(nullptr, libgui_ext_handle);
        EXPECT_TRUE(HOOK_REGISTER_MAP.empty());
        EXPECT_THAT(logs.lines(), ElementsAre(errorLine("getTestExampleClassInstance "
                                                        "ITestExampleClass failed, maybe not "
                                                        "create, use default")));
        EXPECT_THAT(greetingOf(example), ElementsAre(infoLine(kFallbackGreeting)));

        // From now on the factory, too, hands out that fallback (it still loads the library).
        logs.clear();
        EXPECT_EQ(example, createTalvexTestExampleClassFactory());
        EXPECT_NE(nullptr, libgui_ext_handle);
        EXPECT_EQ(0u, logs.count("createTalvexTestExampleClassFactory"));
    });
}

TEST(TestExampleFactory, ReachesTheRealClass) {
    EXPECT_IN_OWN_PROCESS({
        ensure_hook_module_init();
        LogCapture logs;
        ITestExampleClass* example = createTalvexTestExampleClassFactory();
        ASSERT_NE(nullptr, example);
        EXPECT_THAT(logs.lines(),
                    ElementsAre(infoLine("createTalvexTestExampleClassFactory get instance " +
                                         pointerText(example) + "/" + pointerText(example))));
        EXPECT_THAT(greetingOf(example), ElementsAre(infoLine(kRealGreeting)));

        logs.clear();
        EXPECT_EQ(example, getTestExampleClassInstance());
        EXPECT_EQ(example, createTalvexTestExampleClassFactory());
        EXPECT_TRUE(logs.lines().empty());
    });
}

TEST(Fallbacks, KeepNothingRunNothingAndChangeNothing) {
    EXPECT_IN_OWN_PROCESS({
        LogCapture logs;
        DefaultTalvexFrameRecord* record = DefaultTalvexFrameRecord::getInstance();
        EXPECT_THAT(logs.lines(), ElementsAre(infoLine("create DefaultTalvexFrameRecord, this " +
                                                       pointerText(record))));
        EXPECT_FALSE(record->getEnable());
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

        int size[2] = {4096, 2160};
        DefaultTalvexBufferQueueHelper::getInstance()->resetBBQRequestSize(size, size, nullptr, 1,
                                                                           1);
        EXPECT_EQ(4096, size[0]);
        EXPECT_EQ(2u, logs.lines().size());  // the helper's creation line only
    });
}

}  // namespace
}  // namespace android::libgui_interface::hook
