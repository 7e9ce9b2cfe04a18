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

// The one-way request that names a layer to the compositor, received by the host compositor
// registered as "SurfaceFlinger" and read back as SurfaceFlinger would.
#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gui/HostCompositor.h>

#include <cstring>
#include <vector>

#include "support/frame_record_fixture.h"

namespace talvex::test {
namespace {

using android::BBinder;
using android::HostCompositor;
using android::IBinder;
using android::sp;
using ::testing::ElementsAre;

constexpr char kServiceMissing[] = "Talvex-Graphics:serviceManager get SurfaceFlinger failed";
const android::String16 kSurfaceFlinger("SurfaceFlinger");

// A record with `mCompositor` registered in the process's host service manager.
class CompositorLayerCall : public FrameRecordTest {
protected:
    void SetUp() override {
        ASSERT_EQ(android::NO_ERROR,
                  android::defaultServiceManager()->addService(kSurfaceFlinger, mCompositor));
    }
    void TearDown() override {
        android::hostDefaultServiceManager()->removeService(kSurfaceFlinger);
    }

    sp<HostCompositor> mCompositor = new HostCompositor();
};

// Little-endian kernel binder wire bytes.
void put32(std::vector<uint8_t>& bytes, uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}
void put64(std::vector<uint8_t>& bytes, uint64_t value) {
    put32(bytes, static_cast<uint32_t>(value));
    put32(bytes, static_cast<uint32_t>(value >> 32));
}
void putString16(std::vector<uint8_t>& bytes, const std::string& ascii) {
    put32(bytes, static_cast<uint32_t>(ascii.size()));
    for (size_t i = 0; i <= ascii.size(); ++i) {  // the units and a 0x0000 terminator
        bytes.push_back(static_cast<uint8_t>(ascii.c_str()[i]));
        bytes.push_back(0);
    }
    while (bytes.size() % 4 != 0) bytes.push_back(0);
}

struct RequestCase {
    bool localToken;
    int layerId;
    size_t size;  // of the whole parcel
};

class CompositorLayerRequest : public CompositorLayerCall,
                               public ::testing::WithParamInterface<RequestCase> {};

TEST_P(CompositorLayerRequest, IsCode1025OneWayWithTheExactParcelBytes) {
    sp<BBinder> token = GetParam().localToken ? new BBinder() : nullptr;
    mRecord->callSurfaceFlingerByLayer(token, GetParam().layerId);
    const std::string name = "layer#" + std::to_string(GetParam().layerId);

    std::vector<uint8_t> expected;
    put32(expected, 0x80000000);  // strict-mode policy | STRICT_MODE_PENALTY_GATHER
    put32(expected, 0xffffffff);  // work source: not propagated
    put32(expected, 0x53595354);  // 'SYST'
    putString16(expected, "android.ui.ISurfaceComposer");
    put32(expected, 3);
    putString16(expected, name);
    put32(expected, 0x73622a85);                   // BINDER_TYPE_BINDER
    put32(expected, token ? 0x100 | 0x13 : 0x13);  // ACCEPTS_FDS | priority bits
    put64(expected, token ? reinterpret_cast<uintptr_t>(token->getWeakRefs()) : 0);
    put64(expected, reinterpret_cast<uintptr_t>(token.get()));
    put32(expected, token ? 12 : 0);  // stability: SYSTEM, none for null
    const auto received = mCompositor->transactions();
    ASSERT_EQ(1u, received.size());
    EXPECT_EQ(1025u, received[0].code);
    EXPECT_EQ(static_cast<uint32_t>(IBinder::FLAG_ONEWAY), received[0].flags);
    EXPECT_EQ(GetParam().size, received[0].bytes.size());
    EXPECT_EQ(expected, received[0].bytes);
    ASSERT_TRUE(received[0].layerRequest.has_value());
    EXPECT_TRUE(received[0].layerRequest->interfaceOk);
    EXPECT_EQ(name, received[0].layerRequest->layerName);
    EXPECT_EQ(sp<IBinder>(token), received[0].layerRequest->token);
    EXPECT_THAT(mLogs.linesContaining("async"),
                ElementsAre(debugLine("Talvex-Graphics:callSurfaceFlingerByLayer async over: #" +
                                      std::to_string(GetParam().layerId))));
}

INSTANTIATE_TEST_SUITE_P(Tokens, CompositorLayerRequest,
                         ::testing::Values(RequestCase{false, 42, 128}, RequestCase{true, -1, 128},
                                           RequestCase{true, 7, 124}));

// Also when recording is off and when the compositor answers with an error.
TEST_F(CompositorLayerCall, KeepsTheFoundCompositorAndLogsEveryCall) {
    android::hostDefaultServiceManager()->removeService(kSurfaceFlinger);
    sp<HostCompositor> failing = new HostCompositor(android::BAD_VALUE);
    android::defaultServiceManager()->addService(kSurfaceFlinger, failing);
    ScopedProperty property("ro.build.type", "user");
    android::TalvexFrameRecord record;
    record.callSurfaceFlingerByLayer(nullptr, 1);
    // Gone from the manager: a second look-up would fail, the kept binder still answers.
    android::hostDefaultServiceManager()->removeService(kSurfaceFlinger);
    record.callSurfaceFlingerByLayer(nullptr, 2);
    EXPECT_EQ(2u, failing->transactions().size());
    EXPECT_EQ(0u, mLogs.count(kServiceMissing));
    EXPECT_EQ(1u, mLogs.count("async over: #2"));
}

using CompositorLayerCallMissing = FrameRecordTest;

TEST_F(CompositorLayerCallMissing, MissingCompositorIsLoggedAndLookedUpAgainOnEveryCall) {
    mRecord->callSurfaceFlingerByLayer(nullptr, 1);
    mRecord->callSurfaceFlingerByLayer(nullptr, 2);
    EXPECT_THAT(mLogs.linesContaining("Talvex-Graphics:"),
                ElementsAre(::testing::_, errorLine(kServiceMissing), errorLine(kServiceMissing)));

    sp<HostCompositor> compositor = new HostCompositor();
    android::defaultServiceManager()->addService(kSurfaceFlinger, compositor);
    mRecord->callSurfaceFlingerByLayer(nullptr, 3);
    android::hostDefaultServiceManager()->removeService(kSurfaceFlinger);
    const auto received = compositor->transactions();
    ASSERT_EQ(1u, received.size());
    EXPECT_EQ("layer#3", received[0].layerRequest->layerName);
}

}  // namespace
}  // namespace talvex::test
