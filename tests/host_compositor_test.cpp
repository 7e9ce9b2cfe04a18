// Tests of the host model of SurfaceFlinger's receiving side: what it keeps of each transaction,
// how it reads the layer request, what it answers and whom it tells.
#include <binder/Binder.h>
#include <binder/IBinder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <gtest/gtest.h>
#include <gui/HostCompositor.h>
#include <utils/String16.h>

#include <vector>

namespace talvex::test {
namespace {

using android::BBinder;
using android::HostCompositor;
using android::IBinder;
using android::Parcel;
using android::sp;
using android::String16;

// Writes a layer request into `data` as the frame record does, under token `descriptor`.
void writeLayerRequest(Parcel* data, const char* descriptor, int32_t command, const char* layerName,
                       const sp<IBinder>& token) {
    data->writeInterfaceToken(String16(descriptor));
    data->writeInt32(command);
    data->writeString16(String16(layerName));
    data->writeStrongBinder(token);
}

std::vector<uint8_t> bytesOf(const Parcel& parcel) {
    return std::vector<uint8_t>(parcel.data(), parcel.data() + parcel.dataSize());
}

TEST(HostCompositor, KeepsLayerRequestReadAsSurfaceFlingerReadsIt) {
    sp<HostCompositor> compositor = new HostCompositor();
    sp<IBinder> token = new BBinder();
    Parcel data;
    writeLayerRequest(&data, "android.ui.ISurfaceComposer", 3, "layer#42", token);
    Parcel reply;
    EXPECT_EQ(android::NO_ERROR, compositor->transact(1025, data, &reply, IBinder::FLAG_ONEWAY));

    const auto received = compositor->transactions();
    ASSERT_EQ(1u, received.size());
    EXPECT_EQ(1025u, received[0].code);
    EXPECT_EQ(static_cast<uint32_t>(IBinder::FLAG_ONEWAY), received[0].flags);
    EXPECT_EQ(bytesOf(data), received[0].bytes);
    ASSERT_TRUE(received[0].layerRequest.has_value());
    EXPECT_TRUE(received[0].layerRequest->oneWay);
    EXPECT_TRUE(received[0].layerRequest->interfaceOk);
    EXPECT_EQ(3, received[0].layerRequest->command);
    EXPECT_EQ("layer#42", received[0].layerRequest->layerName);
    EXPECT_EQ(token, received[0].layerRequest->token);
}

TEST(HostCompositor, AnswersAcceptedRequestsWithTheStatusChosenAtConstruction) {
    sp<HostCompositor> compositor = new HostCompositor(android::BAD_VALUE);
    Parcel data;
    writeLayerRequest(&data, "android.ui.ISurfaceComposer", 3, "layer#1", nullptr);
    EXPECT_EQ(android::BAD_VALUE, compositor->transact(1025, data, nullptr, 0));
    const auto received = compositor->transactions();
    ASSERT_EQ(1u, received.size());
    ASSERT_TRUE(received[0].layerRequest.has_value());
    EXPECT_FALSE(received[0].layerRequest->oneWay);
    EXPECT_EQ(nullptr, received[0].layerRequest->token);
}

TEST(HostCompositor, WrongInterfaceTokenIsDeniedAndNothingElseIsRead) {
    std::vector<HostCompositor::LayerRequest> observed;
    sp<HostCompositor> compositor = new HostCompositor(
        android::NO_ERROR,
        [&observed](const HostCompositor::LayerRequest& request) { observed.push_back(request); });
    Parcel data;
    writeLayerRequest(&data, "android.gui.ISurfaceComposer", 3, "layer#1", new BBinder());
    EXPECT_EQ(android::PERMISSION_DENIED, compositor->transact(1025, data, nullptr, 0));

    const auto received = compositor->transactions();
    ASSERT_EQ(1u, received.size());
    EXPECT_EQ(bytesOf(data), received[0].bytes);
    ASSERT_TRUE(received[0].layerRequest.has_value());
    EXPECT_FALSE(received[0].layerRequest->interfaceOk);
    EXPECT_EQ(0, received[0].layerRequest->command);
    EXPECT_EQ("", received[0].layerRequest->layerName);
    EXPECT_EQ(nullptr, received[0].layerRequest->token);
    ASSERT_EQ(1u, observed.size());
    EXPECT_FALSE(observed[0].interfaceOk);
}

TEST(HostCompositor, ObserverSeesEachLayerRequestInOrder) {
    std::vector<HostCompositor::LayerRequest> observed;
    sp<HostCompositor> compositor = new HostCompositor(
        android::NO_ERROR,
        [&observed](const HostCompositor::LayerRequest& request) { observed.push_back(request); });
    Parcel first;
    writeLayerRequest(&first, "android.ui.ISurfaceComposer", 3, "layer#1", nullptr);
    Parcel second;
    writeLayerRequest(&second, "android.ui.ISurfaceComposer", 4, "layer#2", nullptr);
    compositor->transact(1025, first, nullptr, IBinder::FLAG_ONEWAY);
    compositor->transact(1025, second, nullptr, IBinder::FLAG_ONEWAY);
    ASSERT_EQ(2u, observed.size());
    EXPECT_EQ(3, observed[0].command);
    EXPECT_EQ("layer#1", observed[0].layerName);
    EXPECT_EQ(4, observed[1].command);
    EXPECT_EQ("layer#2", observed[1].layerName);
}

TEST(HostCompositor, OtherCodesAreKeptUndecodedAndAnsweredByBBinder) {
    int observed = 0;
    sp<HostCompositor> compositor =
        new HostCompositor(android::NO_ERROR, [&observed](const auto&) { ++observed; });
    Parcel data;
    data.writeInt32(7);
    EXPECT_EQ(android::UNKNOWN_TRANSACTION,
              compositor->transact(IBinder::FIRST_CALL_TRANSACTION, data, nullptr, 0));
    const auto received = compositor->transactions();
    ASSERT_EQ(1u, received.size());
    EXPECT_EQ(static_cast<uint32_t>(IBinder::FIRST_CALL_TRANSACTION), received[0].code);
    EXPECT_EQ(bytesOf(data), received[0].bytes);
    EXPECT_FALSE(received[0].layerRequest.has_value());
    EXPECT_EQ(0, observed);
}

TEST(HostCompositor, RegistersAsSurfaceFlingerInTheDefaultServiceManager) {
    sp<HostCompositor> compositor = new HostCompositor();
    ASSERT_EQ(android::NO_ERROR, HostCompositor::registerAsSurfaceFlinger(compositor));
    const String16 name("SurfaceFlinger");
    EXPECT_EQ(sp<IBinder>(compositor), android::defaultServiceManager()->checkService(name));
    android::hostDefaultServiceManager()->removeService(name);
}

}  // namespace
}  // namespace talvex::test
