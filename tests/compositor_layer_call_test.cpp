// Part 2.6: the one-way request to the compositor, received by the host compositor registered
// as "SurfaceFlinger" in the host service manager and read back as SurfaceFlinger would.
#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gui/HostCompositor.h>

#include <atomic>
#include <cstring>
#include <vector>

#include "support/frame_record_fixture.h"
#include "support/own_process.h"

namespace talvex::test {
namespace {

using android::BBinder;
using android::HostCompositor;
using android::IBinder;
using android::sp;
using android::String16;
using android::TalvexFrameRecord;
using android::TalvexFrameRecordTestPeer;

constexpr char kServiceManagerMissing[] = "Talvex-Graphics:get defaultServiceManager failed";
constexpr char kServiceMissing[] = "Talvex-Graphics:serviceManager get SurfaceFlinger failed";

// Counts look-ups, so a test can tell a cached binder from a second look-up.
class CountingServiceManager : public android::HostServiceManager {
public:
    sp<IBinder> checkService(const String16& name) const override {
        mLookups.fetch_add(1);
        return HostServiceManager::checkService(name);
    }
    int lookups() const { return mLookups.load(); }

private:
    mutable std::atomic<int> mLookups{0};
};

const String16 kSurfaceFlinger("SurfaceFlinger");

using CompositorLayerCallMissing = FrameRecordTest;

// A userdebug record with a host compositor registered in the process's host service manager.
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

// Little-endian writers for the expected wire bytes (aosp-reference.md, kernel binder).
void putInt32(std::vector<uint8_t>& bytes, uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}
void putInt64(std::vector<uint8_t>& bytes, uint64_t value) {
    for (int i = 0; i < 8; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}
void putString16(std::vector<uint8_t>& bytes, const char* ascii) {
    const size_t length = std::strlen(ascii);
    putInt32(bytes, static_cast<uint32_t>(length));
    for (size_t i = 0; i <= length; ++i) {  // the units and a 0x0000 terminator
        bytes.push_back(static_cast<uint8_t>(ascii[i]));
        bytes.push_back(0);
    }
    while (bytes.size() % 4 != 0) bytes.push_back(0);
}
std::vector<uint8_t> expectedHead(const char* layerName) {
    std::vector<uint8_t> bytes;
    putInt32(bytes, 0x80000000);  // strict-mode policy | STRICT_MODE_PENALTY_GATHER
    putInt32(bytes, 0xffffffff);  // work source: not propagated
    putInt32(bytes, 0x53595354);  // 'SYST'
    putString16(bytes, "android.ui.ISurfaceComposer");
    EXPECT_EQ(72u, bytes.size());
    putInt32(bytes, 3);
    putString16(bytes, layerName);
    return bytes;
}

TEST_F(CompositorLayerCall, SendsOneWayRequestReadBackAsSurfaceFlingerWould) {
    sp<IBinder> token = new BBinder();
    mRecord->callSurfaceFlingerByLayer(token, 42);
    const auto received = mCompositor->transactions();
    ASSERT_EQ(1u, received.size());
    EXPECT_EQ(1025u, received[0].code);
    EXPECT_EQ(static_cast<uint32_t>(IBinder::FLAG_ONEWAY), received[0].flags);
    ASSERT_TRUE(received[0].layerRequest.has_value());
    EXPECT_TRUE(received[0].layerRequest->interfaceOk);
    EXPECT_EQ(3, received[0].layerRequest->command);
    EXPECT_EQ("layer#42", received[0].layerRequest->layerName);
    EXPECT_EQ(token, received[0].layerRequest->token);
    EXPECT_EQ(mCompositor, TalvexFrameRecordTestPeer::surfaceFlinger(*mRecord));

    const auto lines = mLogs.linesContaining("async over");
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ("Talvex-Graphics:callSurfaceFlingerByLayer async over: #42", lines[0].text);
    EXPECT_EQ(ANDROID_LOG_DEBUG, lines[0].priority);
    EXPECT_EQ(defaultTag(), lines[0].tag);
}

TEST_F(CompositorLayerCall, NullTokenBytesMatchKernelBinderLayout) {
    mRecord->callSurfaceFlingerByLayer(nullptr, 42);
    std::vector<uint8_t> expected = expectedHead("layer#42");
    putInt32(expected, 0x73622a85);  // BINDER_TYPE_BINDER
    putInt32(expected, 0x13);        // FLAT_BINDER_FLAG priority bits
    putInt64(expected, 0);           // binder
    putInt64(expected, 0);           // cookie
    putInt32(expected, 0);           // stability: none for null
    const auto received = mCompositor->transactions();
    ASSERT_EQ(1u, received.size());
    EXPECT_EQ(128u, received[0].bytes.size());
    EXPECT_EQ(expected, received[0].bytes);
    ASSERT_TRUE(received[0].layerRequest.has_value());
    EXPECT_EQ(nullptr, received[0].layerRequest->token);
}

TEST_F(CompositorLayerCall, LocalTokenBytesMatchKernelBinderLayout) {
    sp<BBinder> token = new BBinder();
    mRecord->callSurfaceFlingerByLayer(token, 7);
    std::vector<uint8_t> expected = expectedHead("layer#7");
    putInt32(expected, 0x73622a85);
    putInt32(expected, 0x100 | 0x13);  // FLAT_BINDER_FLAG_ACCEPTS_FDS | priority bits
    putInt64(expected, reinterpret_cast<uintptr_t>(token->getWeakRefs()));
    putInt64(expected, reinterpret_cast<uintptr_t>(token.get()));
    putInt32(expected, 12);  // Stability::SYSTEM
    const auto received = mCompositor->transactions();
    ASSERT_EQ(1u, received.size());
    EXPECT_EQ(expected, received[0].bytes);
}

TEST_F(CompositorLayerCall, LayerZeroAndNegativeIdsAreNamedInDecimal) {
    mRecord->callSurfaceFlingerByLayer(nullptr, 0);
    mRecord->callSurfaceFlingerByLayer(nullptr, -1);
    const auto received = mCompositor->transactions();
    ASSERT_EQ(2u, received.size());
    ASSERT_TRUE(received[0].layerRequest.has_value() && received[1].layerRequest.has_value());
    EXPECT_EQ("layer#0", received[0].layerRequest->layerName);
    EXPECT_EQ("layer#-1", received[1].layerRequest->layerName);
    EXPECT_EQ(1u, mLogs.count("Talvex-Graphics:callSurfaceFlingerByLayer async over: #-1"));
}

TEST_F(CompositorLayerCall, CachedBinderIsUsedWithoutSecondLookUp) {
    mRecord->callSurfaceFlingerByLayer(nullptr, 1);
    // Gone from the manager: a second look-up would fail, the cached binder still answers.
    android::hostDefaultServiceManager()->removeService(kSurfaceFlinger);
    mRecord->callSurfaceFlingerByLayer(nullptr, 2);
    EXPECT_EQ(2u, mCompositor->transactions().size());
    EXPECT_EQ(0u, mLogs.count(kServiceMissing));
}

TEST_F(CompositorLayerCall, DebugLineFollowsAlsoAFailedTransaction) {
    android::hostDefaultServiceManager()->removeService(kSurfaceFlinger);
    sp<HostCompositor> failing = new HostCompositor(android::BAD_VALUE);
    android::defaultServiceManager()->addService(kSurfaceFlinger, failing);
    mRecord->callSurfaceFlingerByLayer(nullptr, 9);
    EXPECT_EQ(1u, failing->transactions().size());
    EXPECT_EQ(1u, mLogs.count("Talvex-Graphics:callSurfaceFlingerByLayer async over: #9"));
}

TEST_F(CompositorLayerCall, ActsAlsoWhenRecordingIsOff) {
    ScopedProperty property("ro.build.type", "user");
    TalvexFrameRecord record;
    ASSERT_FALSE(record.getEnable());
    record.callSurfaceFlingerByLayer(nullptr, 5);
    const auto received = mCompositor->transactions();
    ASSERT_EQ(1u, received.size());
    ASSERT_TRUE(received[0].layerRequest.has_value());
    EXPECT_EQ("layer#5", received[0].layerRequest->layerName);
}

TEST_F(CompositorLayerCallMissing, MissingCompositorIsLoggedEveryCallAndRetriedUntilRegistered) {
    android::defaultServiceManager();  // the host registry, without "SurfaceFlinger"
    mRecord->callSurfaceFlingerByLayer(nullptr, 1);
    mRecord->callSurfaceFlingerByLayer(nullptr, 2);
    const auto errors = mLogs.linesContaining(kServiceMissing);
    ASSERT_EQ(2u, errors.size());
    EXPECT_EQ(kServiceMissing, errors[0].text);
    EXPECT_EQ(ANDROID_LOG_ERROR, errors[0].priority);
    EXPECT_EQ(defaultTag(), errors[0].tag);
    EXPECT_EQ(0u, mLogs.count("async over"));
    EXPECT_EQ(nullptr, TalvexFrameRecordTestPeer::surfaceFlinger(*mRecord));

    sp<HostCompositor> compositor = new HostCompositor();
    android::defaultServiceManager()->addService(kSurfaceFlinger, compositor);
    mRecord->callSurfaceFlingerByLayer(nullptr, 3);
    android::hostDefaultServiceManager()->removeService(kSurfaceFlinger);
    const auto received = compositor->transactions();
    ASSERT_EQ(1u, received.size());
    ASSERT_TRUE(received[0].layerRequest.has_value());
    EXPECT_EQ("layer#3", received[0].layerRequest->layerName);
    EXPECT_EQ(2u, mLogs.count(kServiceMissing));
    EXPECT_EQ(compositor, TalvexFrameRecordTestPeer::surfaceFlinger(*mRecord));
}

TEST(CompositorLayerCallOwnProcess, MissingServiceManagerIsLoggedEveryCall) {
    EXPECT_IN_OWN_PROCESS({
        android::setDefaultServiceManager(nullptr);  // the process's first binder call
        ScopedProperty property("ro.build.type", "userdebug");
        LogCapture logs;
        TalvexFrameRecord record;
        record.callSurfaceFlingerByLayer(nullptr, 1);
        record.callSurfaceFlingerByLayer(nullptr, 2);
        const auto errors = logs.linesContaining("Talvex-Graphics:get");
        ASSERT_EQ(2u, errors.size());
        EXPECT_EQ(kServiceManagerMissing, errors[1].text);
        EXPECT_EQ(ANDROID_LOG_ERROR, errors[1].priority);
        EXPECT_EQ(0u, logs.count(kServiceMissing));
        EXPECT_EQ(0u, logs.count("async over"));
    });
}

TEST(CompositorLayerCallOwnProcess, SecondCallDoesNotLookUpAgain) {
    EXPECT_IN_OWN_PROCESS({
        sp<CountingServiceManager> manager = new CountingServiceManager();
        android::setDefaultServiceManager(manager);
        sp<HostCompositor> compositor = new HostCompositor();
        manager->addService(kSurfaceFlinger, compositor);
        ScopedProperty property("ro.build.type", "userdebug");
        LogCapture logs;
        TalvexFrameRecord record;
        record.callSurfaceFlingerByLayer(nullptr, 1);
        record.callSurfaceFlingerByLayer(nullptr, 2);
        record.callSurfaceFlingerByLayer(nullptr, 3);
        EXPECT_EQ(1, manager->lookups());
        EXPECT_EQ(3u, compositor->transactions().size());
        EXPECT_EQ(3u, logs.count("async over"));
    });
}

TEST(CompositorLayerCallOwnProcess, FailedLookUpIsRetriedOnEveryCall) {
    EXPECT_IN_OWN_PROCESS({
        sp<CountingServiceManager> manager = new CountingServiceManager();
        android::setDefaultServiceManager(manager);
        ScopedProperty property("ro.build.type", "userdebug");
        LogCapture logs;
        TalvexFrameRecord record;
        record.callSurfaceFlingerByLayer(nullptr, 1);
        record.callSurfaceFlingerByLayer(nullptr, 2);
        EXPECT_EQ(2, manager->lookups());
        EXPECT_EQ(2u, logs.count(kServiceMissing));
    });
}

}  // namespace
}  // namespace talvex::test
