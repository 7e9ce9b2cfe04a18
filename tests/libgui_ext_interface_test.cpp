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

// The class registry and the loading of the vendor library.
#include "talvex_libgui_utils/libgui_ext_interface.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <libgui_interface/hook/ITestExampleClass.h>

#include "support/log_capture.h"
#include "support/own_process.h"
#include "support/text.h"

namespace android::libgui_interface::hook {
namespace {

using talvex::test::errorLine;
using talvex::test::infoLine;
using talvex::test::LogCapture;
using talvex::test::pointerText;
using ::testing::ElementsAre;
using ::testing::Pair;

void* factoryA() {
    static int a;
    return &a;
}
void* factoryB() {
    static int b;
    return &b;
}
void* nullFactory() {
    return nullptr;
}

std::vector<std::string> registryKeys() {
    std::vector<std::string> keys;
    for (const auto& [name, factory] : HOOK_REGISTER_MAP) keys.push_back(name);
    return keys;
}

TEST(Registry, LastRegistrationWinsAndLookUpCallsTheFactory) {
    EXPECT_IN_OWN_PROCESS({
        HookRegisterMap map;
        registerClass(map, "A", &factoryB);
        registerClass(map, "A", &factoryA);
        EXPECT_THAT(map, ElementsAre(Pair("A", &factoryA)));

        registerClass(HOOK_REGISTER_MAP, "A", &factoryA);
        registerClass(HOOK_REGISTER_MAP, "NullClass", &nullFactory);
        LogCapture logs;
        EXPECT_EQ(factoryA(), newInstance("A"));
        EXPECT_EQ(nullptr, newInstance("NullClass"));  // the factory's own null, without a line
        EXPECT_EQ(nullptr, newInstance("NoSuchClass"));
        EXPECT_THAT(logs.lines(),
                    ElementsAre(errorLine("Can not find NoSuchClass at HOOK_REGISTER_MAP")));
        EXPECT_EQ(2u, HOOK_REGISTER_MAP.size());
        EXPECT_EQ(nullptr, libgui_ext_handle) << "newInstance does not load the library";
    });
}

TEST(Loader, FirstLoadRunsTheVendorEntryOnce) {
    EXPECT_IN_OWN_PROCESS({
        LogCapture logs;
        ASSERT_TRUE(HOOK_REGISTER_MAP.empty());
        EXPECT_EQ(0, hook_module_init());
        ASSERT_NE(nullptr, libgui_ext_handle);
        void* handle = libgui_ext_handle;
        ensure_hook_module_init();
        EXPECT_EQ(handle, libgui_ext_handle);
        EXPECT_THAT(registryKeys(), ElementsAre("TalvexBufferQueueHelper", "TalvexFrameRecord",
                                                "TalvexTestExample"));
        EXPECT_THAT(logs.lines(),
                    ElementsAre(infoLine("hook_module_init libgui_talvex_utils.so over, map "
                                         "size:3, library handle:" +
                                         pointerText(handle))));
    });
}

TEST(Loader, InitWhileLoadedOnlySaysSoAndExitThenInitLoadsAgainOverTheOldEntries) {
    EXPECT_IN_OWN_PROCESS({
        LogCapture logs;
        hook_module_exit();  // nothing open yet
        ensure_hook_module_init();
        void* first = libgui_ext_handle;
        const size_t size = HOOK_REGISTER_MAP.size();
        registerClass(HOOK_REGISTER_MAP, "TalvexTestExample", &factoryA);
        EXPECT_EQ(0, hook_module_init());
        EXPECT_EQ(&factoryA, HOOK_REGISTER_MAP.at("TalvexTestExample"));
        hook_module_exit();
        EXPECT_EQ(nullptr, libgui_ext_handle);
        EXPECT_EQ(size, HOOK_REGISTER_MAP.size()) << "the registry is not cleared";
        ensure_hook_module_init();
        ASSERT_NE(nullptr, libgui_ext_handle);
        EXPECT_NE(&factoryA, HOOK_REGISTER_MAP.at("TalvexTestExample"));
        const std::string init =
            "hook_module_init libgui_talvex_utils.so over, map size:3, "
            "library handle:";
        EXPECT_THAT(
            logs.lines(),
            ElementsAre(infoLine("hook_module_exit libgui_talvex_utils.so over, handle:0x0"),
                        infoLine(init + pointerText(first)),
                        infoLine("Library libgui_talvex_utils.so have been open"),
                        infoLine("hook_module_exit libgui_talvex_utils.so over, handle:" +
                                 pointerText(first)),
                        infoLine(init + pointerText(libgui_ext_handle))));
    });
}

TEST(Loader, MissingLibraryIsTriedAgainByEveryGetterThatReachesTheLoader) {
    EXPECT_IN_OWN_PROCESS({
        libgui_ext_name = "libgui_talvex_missing.so";
        ASSERT_EQ(nullptr, dlopen("libgui_talvex_missing.so", RTLD_LAZY));
        const std::string openError =
            std::string("ERROR: Can not open libgui_talvex_missing.so, ") + dlerror();
        LogCapture logs;

        IFrameRecord* record = getFrameRecordIns();
        EXPECT_EQ(nullptr, libgui_ext_handle);
        EXPECT_EQ(1, hook_module_init());
        IBufferQueueHelper* helper = getBufferQueueHelper();
        EXPECT_EQ(record, getFrameRecordIns());               // cached: does not reach the loader
        EXPECT_EQ(record, createTalvexFrameRecordFactory());  // reaches it every time
        ITestExampleClass* example = createTalvexTestExampleClassFactory();

        EXPECT_THAT(
            logs.lines(),
            ElementsAre(
                errorLine(openError),
                errorLine("Can not find TalvexFrameRecord at HOOK_REGISTER_MAP"),
                infoLine("create DefaultTalvexFrameRecord, this " + pointerText(record)),
                infoLine("createTalvexFrameRecordFactory failed, get default instance " +
                         pointerText(record)),
                errorLine(openError), errorLine(openError),
                errorLine("Can not find TalvexBufferQueueHelper at HOOK_REGISTER_MAP"),
                infoLine("create DefaultTalvexBufferQueueHelper, this " + pointerText(helper)),
                infoLine("createTalvexBufferQueueHelperFactory failed, get default "
                         "instance " +
                         pointerText(helper)),
                errorLine(openError), errorLine(openError),
                errorLine("Can not find TalvexTestExample at HOOK_REGISTER_MAP"),
                infoLine("createTalvexTestExampleClassFactory get instance " +
                         pointerText(example) + "/0x0")));
    });
}

TEST(Loader, LibraryWithoutTheEntryStaysOpenAndIsNotTriedAgain) {
    EXPECT_IN_OWN_PROCESS({
        libgui_ext_name = TALVEX_NO_ENTRY_LIBRARY;
        void* probe = dlopen(TALVEX_NO_ENTRY_LIBRARY, RTLD_LAZY);
        ASSERT_NE(nullptr, probe);
        ASSERT_EQ(nullptr, dlsym(probe, "talvex_libgui_vendor_hook_init"));
        const std::string symbolError =
            std::string("ERROR: Can not load symbol vendor_hook_init: ") + dlerror();
        LogCapture logs;

        IFrameRecord* record = getFrameRecordIns();
        EXPECT_EQ(probe, libgui_ext_handle) << "the handle is kept";
        IBufferQueueHelper* helper = getBufferQueueHelper();
        EXPECT_TRUE(HOOK_REGISTER_MAP.empty());

        EXPECT_THAT(
            logs.lines(),
            ElementsAre(
                errorLine(symbolError),
                errorLine("Can not find TalvexFrameRecord at HOOK_REGISTER_MAP"),
                infoLine("create DefaultTalvexFrameRecord, this " + pointerText(record)),
                infoLine("createTalvexFrameRecordFactory failed, get default instance " +
                         pointerText(record)),
                errorLine("Can not find TalvexBufferQueueHelper at HOOK_REGISTER_MAP"),
                infoLine("create DefaultTalvexBufferQueueHelper, this " + pointerText(helper)),
                infoLine("createTalvexBufferQueueHelperFactory failed, get default "
                         "instance " +
                         pointerText(helper))));
    });
}

// Unload is process exit: the library holds a reference to itself. The exit line must come after
// the static fallbacks' lines and read the (heap-held, on libstdc++) name after its destruction.
TEST(Unload, ProcessExitLogsFallbacksThenTheExitLine) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            talvex::test::logToStderrThroughExit();
            libgui_ext_name = "libgui_talvex_missing.so";
            getFrameRecordIns();
            getBufferQueueHelper();
            std::exit(0);
        },
        ::testing::ExitedWithCode(0),
        "4 destory ~DefaultTalvexBufferQueueHelper, this 0x[0-9a-f]+\n"
        "4 destory ~DefaultTalvexFrameRecord, this 0x[0-9a-f]+\n"
        "4 hook_module_exit libgui_talvex_missing\\.so over, handle:0x0\n");
}

TEST(Unload, ProcessExitClosesTheLoadedLibrary) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            talvex::test::logToStderrThroughExit();
            ensure_hook_module_init();
            std::exit(0);
        },
        ::testing::ExitedWithCode(0),
        "4 hook_module_exit libgui_talvex_utils\\.so over, handle:0x[0-9a-f]+\n");
}

}  // namespace
}  // namespace android::libgui_interface::hook
