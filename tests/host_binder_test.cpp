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

// The host libbinder model's service look-up, which the compositor call and the simulator use.
// The parcel's wire bytes are checked where the library writes them (compositor_layer_call_test).
#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <gtest/gtest.h>

#include "support/own_process.h"

namespace android {
namespace {

const String16 kSurfaceFlinger("SurfaceFlinger");

TEST(HostServiceManager, FindsExactlyTheNamesAddedAndNotYetRemoved) {
    sp<HostServiceManager> sm = new HostServiceManager();
    sp<IBinder> compositor = new BBinder();
    EXPECT_EQ(nullptr, sm->checkService(kSurfaceFlinger));
    ASSERT_EQ(NO_ERROR, sm->addService(kSurfaceFlinger, compositor));
    EXPECT_EQ(compositor, sm->checkService(kSurfaceFlinger));
    EXPECT_EQ(nullptr, sm->checkService(String16("surfaceflinger")));
    EXPECT_EQ(BAD_VALUE, sm->addService(String16("other"), nullptr));
    EXPECT_EQ(BAD_VALUE, sm->addService(String16("bad name"), new BBinder()));
    EXPECT_EQ(NO_ERROR, sm->removeService(kSurfaceFlinger));
    EXPECT_EQ(nullptr, sm->checkService(kSurfaceFlinger));
    EXPECT_EQ(NAME_NOT_FOUND, sm->removeService(kSurfaceFlinger));
}

// The process's default manager is process-lifetime state: each case in its own process.
TEST(HostDefaultServiceManager, IsOneRegistryUnlessSetFirst) {
    EXPECT_IN_OWN_PROCESS({
        sp<IServiceManager> sm = defaultServiceManager();
        ASSERT_NE(nullptr, sm);
        EXPECT_EQ(sm, defaultServiceManager());
        EXPECT_EQ(sm, sp<IServiceManager>(hostDefaultServiceManager()));
        sp<IBinder> compositor = new BBinder();
        ASSERT_EQ(NO_ERROR, sm->addService(kSurfaceFlinger, compositor));
        EXPECT_EQ(compositor, defaultServiceManager()->checkService(kSurfaceFlinger));
    });
    EXPECT_IN_OWN_PROCESS({
        sp<HostServiceManager> mine = new HostServiceManager();
        setDefaultServiceManager(mine);
        EXPECT_EQ(sp<IServiceManager>(mine), defaultServiceManager());
    });
    EXPECT_IN_OWN_PROCESS({
        setDefaultServiceManager(nullptr);
        EXPECT_EQ(nullptr, defaultServiceManager());
        EXPECT_EQ(nullptr, defaultServiceManager());
        EXPECT_EQ(nullptr, hostDefaultServiceManager());
    });
}

TEST(HostDefaultServiceManagerDeathTest, SettingAfterFirstUseIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const char* message = "setDefaultServiceManager\\(\\) called after defaultServiceManager\\(\\)";
    EXPECT_DEATH(
        {
            defaultServiceManager();
            setDefaultServiceManager(new HostServiceManager());
        },
        message);
    EXPECT_DEATH(
        {
            setDefaultServiceManager(nullptr);
            setDefaultServiceManager(nullptr);
        },
        message);
}

}  // namespace
}  // namespace android
