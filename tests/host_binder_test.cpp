// Tests of the host model of libbinder: exact wire bytes as a device Parcel writes them,
// transactions on a local binder, and the process's service manager.
#include <binder/Binder.h>
#include <binder/IBinder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

#include "support/log_capture.h"
#include "support/own_process.h"

namespace android {
namespace {

using Bytes = std::vector<uint8_t>;
using ::testing::ElementsAreArray;

constexpr char kComposerDescriptor[] = "android.ui.ISurfaceComposer";
constexpr uint32_t kLayerCall = 1025;

Bytes bytesOf(const Parcel& p) {
    return Bytes(p.data(), p.data() + p.dataSize());
}

void appendLe32(Bytes* out, uint32_t v) {
    for (int i = 0; i < 4; i++) out->push_back(static_cast<uint8_t>(v >> (8 * i)));
}

void appendLe64(Bytes* out, uint64_t v) {
    for (int i = 0; i < 8; i++) out->push_back(static_cast<uint8_t>(v >> (8 * i)));
}

// UTF-16LE units of ASCII `s`, then the 0x0000 terminator.
void appendAsciiUtf16z(Bytes* out, const char* s) {
    for (; *s != '\0'; s++) {
        out->push_back(static_cast<uint8_t>(*s));
        out->push_back(0);
    }
    out->push_back(0);
    out->push_back(0);
}

// A service that records what its last transaction looked like.
class RecordingBinder : public BBinder {
public:
    uint32_t lastCode = 0;
    uint32_t lastFlags = 0;
    const Parcel* lastData = nullptr;
    Parcel* lastReply = nullptr;
    size_t lastStartPosition = SIZE_MAX;
    std::thread::id lastThread;
    status_t result = NO_ERROR;

protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        lastCode = code;
        lastFlags = flags;
        lastData = &data;
        lastReply = reply;
        lastStartPosition = data.dataPosition();
        lastThread = std::this_thread::get_id();
        return result;
    }
};

// ---- Wire bytes ----

TEST(HostParcel, InterfaceTokenForSurfaceComposerIs72ExactBytes) {
    Parcel p;
    ASSERT_EQ(NO_ERROR, p.writeInterfaceToken(String16(kComposerDescriptor)));

    Bytes expected = {
        0x00, 0x00, 0x00, 0x80,  // strict-mode policy 0 | STRICT_MODE_PENALTY_GATHER
        0xff, 0xff, 0xff, 0xff,  // work source: not propagated
        0x54, 0x53, 0x59, 0x53,  // 'SYST' (0x53595354): system code
        0x1b, 0x00, 0x00, 0x00,  // 27 UTF-16 units
    };
    appendAsciiUtf16z(&expected, kComposerDescriptor);  // 56 bytes, already a multiple of 4
    ASSERT_EQ(72u, expected.size());
    EXPECT_THAT(bytesOf(p), ElementsAreArray(expected));
    EXPECT_EQ(72u, p.dataPosition());
}

TEST(HostParcel, InterfaceTokenFromUnitsMatchesString16Overload) {
    Parcel a;
    Parcel b;
    const String16 name(kComposerDescriptor);
    a.writeInterfaceToken(name);
    b.writeInterfaceToken(name.string(), name.size());
    EXPECT_EQ(bytesOf(a), bytesOf(b));
}

TEST(HostParcel, WriteInt32IsFourLittleEndianBytes) {
    Parcel p;
    ASSERT_EQ(NO_ERROR, p.writeInt32(3));
    ASSERT_EQ(NO_ERROR, p.writeInt32(-2));
    EXPECT_THAT(bytesOf(p), ElementsAreArray(Bytes{3, 0, 0, 0, 0xfe, 0xff, 0xff, 0xff}));
}

TEST(HostParcel, WriteString16IsLengthUnitsTerminatorAndPadding) {
    Parcel p;
    ASSERT_EQ(NO_ERROR, p.writeString16(String16("layer#42")));

    const Bytes expected = {8,   0,   0,   0,  // 8 units
                            'l', 0,   'a', 0,   'y', 0,   'e', 0, 'r',
                            0,   '#', 0,   '4', 0,   '2', 0,   0, 0,  // terminator
                            0,   0};                                  // padding to 4
    EXPECT_THAT(bytesOf(p), ElementsAreArray(expected));
    EXPECT_EQ(24u, p.dataSize());
}

TEST(HostParcel, OddLengthString16NeedsNoPadding) {
    Parcel p;
    p.writeString16(String16("abc"));
    EXPECT_THAT(bytesOf(p), ElementsAreArray(Bytes{3, 0, 0, 0, 'a', 0, 'b', 0, 'c', 0, 0, 0}));
}

TEST(HostParcel, NullString16IsMinusOneAlone) {
    Parcel p;
    ASSERT_EQ(NO_ERROR, p.writeString16(nullptr, 0));
    ASSERT_EQ(NO_ERROR, p.writeString16(std::optional<String16>()));
    EXPECT_THAT(bytesOf(p), ElementsAreArray(Bytes{0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}));
}

TEST(HostParcel, NullStrongBinderIs28ExactBytesAndNoObject) {
    Parcel p;
    ASSERT_EQ(NO_ERROR, p.writeStrongBinder(nullptr));

    Bytes expected;
    appendLe32(&expected, 0x73622a85);  // BINDER_TYPE_BINDER
    appendLe32(&expected, 0x13);        // minimum priority nice 19, SCHED_NORMAL
    appendLe64(&expected, 0);           // binder
    appendLe64(&expected, 0);           // cookie
    appendLe32(&expected, 0);           // stability UNDECLARED
    EXPECT_THAT(bytesOf(p), ElementsAreArray(expected));
    EXPECT_EQ(28u, p.dataSize());
    EXPECT_EQ(0u, p.objectsCount());
}

TEST(HostParcel, LocalStrongBinderIsFlatBinderObjectWithWeakRefsAndAddress) {
    sp<BBinder> local = new BBinder();
    Parcel p;
    ASSERT_EQ(NO_ERROR, p.writeStrongBinder(local));

    Bytes expected;
    appendLe32(&expected, 0x73622a85);  // BINDER_TYPE_BINDER
    appendLe32(&expected, 0x113);       // FLAT_BINDER_FLAG_ACCEPTS_FDS | 0x13
    appendLe64(&expected, reinterpret_cast<uintptr_t>(local->getWeakRefs()));
    appendLe64(&expected, reinterpret_cast<uintptr_t>(local.get()));
    appendLe32(&expected, 12);  // stability SYSTEM
    EXPECT_THAT(bytesOf(p), ElementsAreArray(expected));
    EXPECT_EQ(1u, p.objectsCount());
}

TEST(HostParcel, HoldsAStrongReferenceToEveryWrittenBinder) {
    sp<BBinder> local = new BBinder();
    const int32_t before = local->getStrongCount();
    {
        Parcel p;
        p.writeStrongBinder(local);
        p.writeStrongBinder(local);
        EXPECT_EQ(before + 2, local->getStrongCount());
        ASSERT_EQ(2u, p.debugReadAllStrongBinders().size());
        EXPECT_EQ(local.get(), p.debugReadAllStrongBinders()[1].get());
    }
    EXPECT_EQ(before, local->getStrongCount());

    // The Parcel alone keeps the binder alive.
    Parcel p;
    wp<IBinder> weak;
    {
        sp<IBinder> only = new BBinder();
        weak = only;
        p.writeStrongBinder(only);
    }
    EXPECT_NE(nullptr, weak.promote().get());
    p.freeData();
    EXPECT_EQ(nullptr, weak.promote().get());
}

TEST(HostParcel, LayerRequestIs128Bytes) {
    // The request of the compositor layer call: token, int32 3, name, binder.
    sp<BBinder> token = new BBinder();
    Parcel p;
    p.writeInterfaceToken(String16(kComposerDescriptor));
    p.writeInt32(3);
    p.writeString16(String16("layer#42"));
    p.writeStrongBinder(token);
    EXPECT_EQ(72u + 4u + 24u + 28u, p.dataSize());
    EXPECT_EQ(3, static_cast<int32_t>(p.data()[72]));
}

// ---- Reading back, as a service reads ----

TEST(HostParcel, ServiceReadsTheRequestBack) {
    sp<BBinder> token = new BBinder();
    Parcel p;
    p.writeInterfaceToken(String16(kComposerDescriptor));
    p.writeInt32(3);
    p.writeString16(String16("layer#-1"));
    p.writeStrongBinder(token);

    p.setDataPosition(0);
    EXPECT_TRUE(p.enforceInterface(String16(kComposerDescriptor)));
    EXPECT_EQ(3, p.readInt32());
    EXPECT_EQ(String16("layer#-1"), p.readString16());
    sp<IBinder> read = p.readStrongBinder();
    EXPECT_EQ(static_cast<IBinder*>(token.get()), read.get());
    EXPECT_EQ(token.get(), read->localBinder());
    EXPECT_EQ(0u, p.dataAvail());
}

TEST(HostParcel, StatusReadersReportNullAndMissingData) {
    Parcel p;
    p.writeStrongBinder(nullptr);
    p.writeString16(nullptr, 0);
    p.setDataPosition(0);

    sp<IBinder> binder = new BBinder();
    EXPECT_EQ(UNEXPECTED_NULL, p.readStrongBinder(&binder));
    EXPECT_EQ(nullptr, binder.get());
    String16 s("stale");
    EXPECT_EQ(UNEXPECTED_NULL, p.readString16(&s));
    EXPECT_EQ(0u, s.size());

    int32_t v = 7;
    EXPECT_EQ(NOT_ENOUGH_DATA, p.readInt32(&v));
    EXPECT_EQ(0, p.readInt32());

    p.setDataPosition(0);
    EXPECT_EQ(NO_ERROR, p.readNullableStrongBinder(&binder));
    std::optional<String16> optional = String16("x");
    EXPECT_EQ(NO_ERROR, p.readString16(&optional));
    EXPECT_FALSE(optional.has_value());
}

TEST(HostParcel, ReadingPlainDataOverABinderIsRejected) {
    sp<BBinder> local = new BBinder();
    Parcel p;
    p.writeStrongBinder(local);
    p.setDataPosition(0);
    int32_t v = 0;
    EXPECT_EQ(BAD_VALUE, p.readInt32(&v));
    EXPECT_EQ(0u, p.dataPosition());
}

TEST(HostParcel, CopiedBytesCannotForgeABinder) {
    sp<BBinder> local = new BBinder();
    Parcel original;
    original.writeStrongBinder(local);

    Parcel copy;
    ASSERT_EQ(NO_ERROR, copy.setData(original.data(), original.dataSize()));
    EXPECT_EQ(bytesOf(original), bytesOf(copy));
    EXPECT_EQ(0u, copy.objectsCount());
    sp<IBinder> read;
    EXPECT_EQ(BAD_TYPE, copy.readStrongBinder(&read));
    EXPECT_EQ(nullptr, read.get());
}

TEST(HostParcel, EnforceInterfaceRejectsAnotherDescriptor) {
    talvex::test::LogCapture logs;
    Parcel p;
    p.writeInterfaceToken(String16("android.gui.ISurfaceComposer"));
    p.setDataPosition(0);
    EXPECT_FALSE(p.enforceInterface(String16(kComposerDescriptor)));
    EXPECT_EQ(1u, logs.count("**** enforceInterface() expected 'android.ui.ISurfaceComposer' but "
                             "read 'android.gui.ISurfaceComposer'"));
}

TEST(HostParcel, EnforceInterfaceRejectsAVendorHeader) {
    talvex::test::LogCapture logs;
    Parcel p;
    p.writeInt32(static_cast<int32_t>(0x80000000u));
    p.writeInt32(-1);
    p.writeInt32(B_PACK_CHARS('V', 'N', 'D', 'R'));
    p.writeString16(String16(kComposerDescriptor));
    EXPECT_THAT(Bytes(p.data() + 8, p.data() + 12), ElementsAreArray(Bytes{'R', 'D', 'N', 'V'}));

    p.setDataPosition(0);
    EXPECT_FALSE(p.enforceInterface(String16(kComposerDescriptor)));
    EXPECT_EQ(1u, logs.count("Expecting header 0x53595354 but found 0x564e4452"));
}

TEST(HostParcel, EnforceInterfaceRejectsATruncatedToken) {
    Parcel p;
    p.writeInterfaceToken(String16(kComposerDescriptor));
    p.setDataSize(40);
    p.setDataPosition(0);
    EXPECT_FALSE(p.enforceInterface(String16(kComposerDescriptor)));
}

TEST(HostParcel, WritingAtARewoundPositionOverwrites) {
    Parcel p;
    p.writeInt32(1);
    p.writeInt32(2);
    p.setDataPosition(0);
    p.writeInt32(9);
    EXPECT_THAT(bytesOf(p), ElementsAreArray(Bytes{9, 0, 0, 0, 2, 0, 0, 0}));
}

// ---- Transactions ----

TEST(HostBBinder, TransactRunsOnTransactSynchronouslyWithTheCallersParcel) {
    sp<RecordingBinder> service = new RecordingBinder();
    service->result = -EPERM;
    Parcel data;
    data.writeInt32(3);
    data.readInt32();  // a read position the binder must rewind

    sp<IBinder> asBinder = service;
    EXPECT_EQ(-EPERM, asBinder->transact(kLayerCall, data, nullptr, IBinder::FLAG_ONEWAY));
    EXPECT_EQ(kLayerCall, service->lastCode);
    EXPECT_EQ(static_cast<uint32_t>(IBinder::FLAG_ONEWAY), service->lastFlags);
    EXPECT_EQ(&data, service->lastData);
    EXPECT_EQ(nullptr, service->lastReply);
    EXPECT_EQ(0u, service->lastStartPosition);
    EXPECT_EQ(std::this_thread::get_id(), service->lastThread);
}

TEST(HostBBinder, TransactRewindsTheReply) {
    class Echo : public BBinder {
        status_t onTransact(uint32_t, const Parcel& data, Parcel* reply, uint32_t) override {
            return reply->writeInt32(data.readInt32() + 1);
        }
    };
    sp<IBinder> echo = new Echo();
    Parcel data;
    Parcel reply;
    data.writeInt32(41);
    ASSERT_EQ(NO_ERROR, echo->transact(IBinder::FIRST_CALL_TRANSACTION, data, &reply));
    EXPECT_EQ(0u, reply.dataPosition());
    EXPECT_EQ(42, reply.readInt32());
}

TEST(HostBBinder, DefaultOnTransactMatchesAosp) {
    sp<IBinder> plain = new BBinder();
    Parcel data;
    Parcel reply;
    EXPECT_EQ(UNKNOWN_TRANSACTION, plain->transact(kLayerCall, data, nullptr, IBinder::FLAG_ONEWAY));
    EXPECT_EQ(UNKNOWN_TRANSACTION, plain->transact(IBinder::LAST_CALL_TRANSACTION, data, &reply));
    EXPECT_EQ(NO_ERROR, plain->transact(IBinder::PING_TRANSACTION, data, &reply));
    EXPECT_EQ(NO_ERROR, plain->transact(IBinder::INTERFACE_TRANSACTION, data, &reply));
    EXPECT_EQ(String16(""), reply.readString16());
}

TEST(HostBBinder, IsLocalAndCannotLinkToDeath) {
    sp<BBinder> local = new BBinder();
    sp<IBinder> asBinder = local;
    EXPECT_EQ(local.get(), asBinder->localBinder());
    EXPECT_EQ(nullptr, asBinder->remoteBinder());
    EXPECT_TRUE(asBinder->isBinderAlive());
    EXPECT_EQ(INVALID_OPERATION, asBinder->linkToDeath(nullptr));
    EXPECT_EQ(INVALID_OPERATION, asBinder->unlinkToDeath(nullptr));
}

TEST(HostBBinder, ConstantsMatchAosp) {
    EXPECT_EQ(1, IBinder::FIRST_CALL_TRANSACTION);
    EXPECT_EQ(0x00ffffff, IBinder::LAST_CALL_TRANSACTION);
    EXPECT_EQ(1, IBinder::FLAG_ONEWAY);
    EXPECT_EQ(0x5f504e47, IBinder::PING_TRANSACTION);       // '_PNG'
    EXPECT_EQ(0x5f4e5446, IBinder::INTERFACE_TRANSACTION);  // '_NTF'
}

// ---- Service manager ----

TEST(HostServiceManager, AddThenCheckReturnsTheSameBinder) {
    sp<HostServiceManager> sm = new HostServiceManager();
    sp<IBinder> compositor = new RecordingBinder();
    EXPECT_EQ(nullptr, sm->checkService(String16("SurfaceFlinger")).get());

    ASSERT_EQ(NO_ERROR, sm->addService(String16("SurfaceFlinger"), compositor));
    EXPECT_EQ(compositor.get(), sm->checkService(String16("SurfaceFlinger")).get());
    EXPECT_EQ(nullptr, sm->checkService(String16("SurfaceFlinger2")).get());
    EXPECT_EQ(nullptr, sm->checkService(String16("surfaceflinger")).get());

    EXPECT_EQ(NO_ERROR, sm->removeService(String16("SurfaceFlinger")));
    EXPECT_EQ(nullptr, sm->checkService(String16("SurfaceFlinger")).get());
    EXPECT_EQ(NAME_NOT_FOUND, sm->removeService(String16("SurfaceFlinger")));
}

TEST(HostServiceManager, RejectsANullBinderAndABadName) {
    sp<HostServiceManager> sm = new HostServiceManager();
    EXPECT_EQ(BAD_VALUE, sm->addService(String16("SurfaceFlinger"), nullptr));
    EXPECT_EQ(BAD_VALUE, sm->addService(String16("bad name"), new BBinder()));
    EXPECT_EQ(BAD_VALUE, sm->addService(String16(""), new BBinder()));
    EXPECT_EQ(0u, sm->listServices().size());
}

TEST(HostServiceManager, ListsByDumpPriority) {
    sp<HostServiceManager> sm = new HostServiceManager();
    sm->addService(String16("a"), new BBinder());
    sm->addService(String16("b"), new BBinder(), false,
                   IServiceManager::DUMP_FLAG_PRIORITY_CRITICAL);
    Vector<String16> all = sm->listServices();
    ASSERT_EQ(2u, all.size());
    EXPECT_EQ(String16("a"), all[0]);
    Vector<String16> critical = sm->listServices(IServiceManager::DUMP_FLAG_PRIORITY_CRITICAL);
    ASSERT_EQ(1u, critical.size());
    EXPECT_EQ(String16("b"), critical[0]);
}

TEST(HostServiceManager, NotifiesRegistrationsIncludingOneAlreadyThere) {
    struct Callback : IServiceManager::LocalRegistrationCallback {
        std::vector<IBinder*> seen;
        void onServiceRegistration(const String16&, const sp<IBinder>& binder) override {
            seen.push_back(binder.get());
        }
    };
    sp<HostServiceManager> sm = new HostServiceManager();
    sp<IBinder> first = new BBinder();
    sp<IBinder> second = new BBinder();
    sm->addService(String16("SurfaceFlinger"), first);
    sp<Callback> cb = new Callback();
    ASSERT_EQ(NO_ERROR, sm->registerForNotifications(String16("SurfaceFlinger"), cb));
    sm->addService(String16("SurfaceFlinger"), second);
    EXPECT_EQ((std::vector<IBinder*>{first.get(), second.get()}), cb->seen);
    EXPECT_EQ(NO_ERROR, sm->unregisterForNotifications(String16("SurfaceFlinger"), cb));
}

TEST(HostServiceManager, WaitForServiceReturnsOnceAdded) {
    sp<HostServiceManager> sm = new HostServiceManager();
    sp<IBinder> compositor = new BBinder();
    std::thread adder([&] { sm->addService(String16("SurfaceFlinger"), compositor); });
    EXPECT_EQ(compositor.get(), sm->waitForService(String16("SurfaceFlinger")).get());
    adder.join();
}

// ---- The process's default manager (process-lifetime state: each case in its own process) ----

TEST(HostDefaultServiceManager, IsOneInProcessRegistry) {
    EXPECT_IN_OWN_PROCESS({
        sp<IServiceManager> sm = defaultServiceManager();
        ASSERT_NE(nullptr, sm.get());
        EXPECT_EQ(sm.get(), defaultServiceManager().get());
        EXPECT_EQ(sm.get(), hostDefaultServiceManager().get());

        sp<IBinder> compositor = new RecordingBinder();
        ASSERT_EQ(NO_ERROR, sm->addService(String16("SurfaceFlinger"), compositor));
        EXPECT_EQ(compositor.get(),
                  defaultServiceManager()->checkService(String16("SurfaceFlinger")).get());
        EXPECT_EQ(nullptr, defaultServiceManager()->checkService(String16("Unknown")).get());
    });
}

TEST(HostDefaultServiceManager, SetToNullFirstMakesItNullForever) {
    EXPECT_IN_OWN_PROCESS({
        setDefaultServiceManager(nullptr);
        EXPECT_EQ(nullptr, defaultServiceManager().get());
        EXPECT_EQ(nullptr, defaultServiceManager().get());
        EXPECT_EQ(nullptr, hostDefaultServiceManager().get());
    });
}

TEST(HostDefaultServiceManager, SetFirstInstallsThatManager) {
    EXPECT_IN_OWN_PROCESS({
        sp<HostServiceManager> mine = new HostServiceManager();
        setDefaultServiceManager(mine);
        EXPECT_EQ(static_cast<IServiceManager*>(mine.get()), defaultServiceManager().get());
    });
}

TEST(HostDefaultServiceManagerDeathTest, SetAfterGetIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            defaultServiceManager();
            setDefaultServiceManager(new HostServiceManager());
        },
        "setDefaultServiceManager\\(\\) called after defaultServiceManager\\(\\)");
}

TEST(HostDefaultServiceManagerDeathTest, SetTwiceIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            setDefaultServiceManager(nullptr);
            setDefaultServiceManager(nullptr);
        },
        "setDefaultServiceManager\\(\\) called after defaultServiceManager\\(\\)");
}

}  // namespace
}  // namespace android
