// libgui calls the hook interfaces through vtable slots and passes FrameStartStatus by value, so
// a reordered declaration or a moved field breaks the device without breaking a build. Slot order
// is checked by calling through a known object's vtable, which holds on every Itanium ABI
// (x86, x86_64, ARM, AArch64 lay a primary vtable out in declaration order); member-function
// pointers are not decoded, since their encoding differs between those ABIs.
#include <binder/IBinder.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <libgui_interface/hook/ITestExampleClass.h>

#include <cstddef>
#include <string>
#include <vector>

namespace android::libgui_interface::hook {
namespace {

using ::testing::ElementsAre;

// Fields in this order, each at its natural in-struct alignment (int64 aligns to 4 inside a
// struct on i386, to 8 on the ABIs the library ships for: arm, arm64, x86_64).
struct Int64Alignment {
    char c;
    int64_t v;
};
constexpr size_t kInt64Align = offsetof(Int64Alignment, v);
constexpr size_t kStartTime =
    (offsetof(FrameStartStatus, numAcquired) + sizeof(int32_t) + kInt64Align - 1) / kInt64Align *
    kInt64Align;
static_assert(offsetof(FrameStartStatus, sync) == 0);
static_assert(offsetof(FrameStartStatus, wait) == 1);
static_assert(offsetof(FrameStartStatus, numAvailable) == 4);
static_assert(offsetof(FrameStartStatus, numAcquired) == 8);
static_assert(offsetof(FrameStartStatus, startTime) == kStartTime);
static_assert(sizeof(FrameStartStatus) == kStartTime + sizeof(int64_t));
#if defined(__LP64__) || defined(__arm__)
static_assert(sizeof(FrameStartStatus) == 24 && kStartTime == 16);
#endif

}  // namespace

// The slot layout libgui was built against: same signatures, in slot order, destructor last.
// Outside the anonymous namespace: with no derived class in sight, an optimizer that sees every
// subclass of a local type would bind these calls to the pure declarations.
namespace abi_mirror {
class FrameRecordSlots {
public:
    virtual bool slot0() = 0;
    virtual void slot1(int, void*) = 0;
    virtual void slot2(std::string&) = 0;
    virtual void slot3(void*, const std::string&, void*) = 0;
    virtual void slot4(int, unsigned long, FrameStartStatus) = 0;
    virtual void slot5(int, unsigned long, FrameType) = 0;
    virtual void slot6(void*, unsigned long, FrameType) = 0;
    virtual void slot7(const sp<IBinder>&, int) = 0;
    virtual void slot8(long) = 0;
    virtual void slot9(long) = 0;
    virtual std::unordered_map<long, long> slot10() = 0;
    virtual std::string slot11(long, long) = 0;
    virtual void slot12(std::function<void()>&&) = 0;
    virtual void slot13() = 0;
    virtual ~FrameRecordSlots() = default;
};

class BufferQueueHelperSlots {
public:
    virtual void slot0(void*, bool) = 0;
    virtual void slot1(void*, void*) = 0;
    virtual void slot2(void*) = 0;
    virtual void slot3(void*) = 0;
    virtual void slot4(void*, void*) = 0;
    virtual void slot5(void*, void*, void*, int, int) = 0;
    virtual ~BufferQueueHelperSlots() = default;
};

class TestExampleSlots {
public:
    virtual void slot0() = 0;
    virtual ~TestExampleSlots() = default;
};

}  // namespace abi_mirror

namespace {

using namespace abi_mirror;

// Implementations whose every operation records its own name.
struct Recorder {
    void on(const char* name) { ran.push_back(name); }
    std::vector<std::string> ran;
};

struct FrameRecordRecorder final : IFrameRecord, Recorder {
    using Times = std::unordered_map<long, long>;
    bool getEnable() override { return on("getEnable"), false; }
    void clearFrameContent(int, void*) override { on("clearFrameContent"); }
    void dumpAllRecordContent(std::string&) override { on("dumpAllRecordContent"); }
    void updateFrameAndGetContent(void*, const std::string&, void*) override { on("update"); }
    void setLayerFrameEvent(int, unsigned long, FrameStartStatus) override { on("start"); }
    void setLayerFrameEvent(int, unsigned long, FrameType) override { on("layerEvent"); }
    void setLayerFrameEvent(void*, unsigned long, FrameType) override { on("surfaceEvent"); }
    void callSurfaceFlingerByLayer(const sp<IBinder>&, int) override { on("callSurfaceFlinger"); }
    void addCallbackIdLocked(long) override { on("addCallbackIdLocked"); }
    void removeCallbackIdLocked(long) override { on("removeCallbackIdLocked"); }
    Times getCallbackIdTime() override { return on("getCallbackIdTime"), Times(); }
    std::string getTimeString(long, long) override { return on("getTimeString"), ""; }
    void pushTaskAndStart(std::function<void()>&&) override { on("pushTaskAndStart"); }
    void ensureTaskFinish() override { on("ensureTaskFinish"); }
};

struct BufferQueueHelperRecorder final : IBufferQueueHelper, Recorder {
    void setBBQDumpFlag(void*, bool) override { on("setBBQDumpFlag"); }
    void registerBBQDumpCallback(void*, void*) override { on("registerBBQDumpCallback"); }
    void clearRegisteredCallback(void*) override { on("clearRegisteredCallback"); }
    void dumpBQAllFrameState(void*) override { on("dumpBQAllFrameState"); }
    void dumpBQAllFrameStateCalledByBlast(void*, void*) override { on("calledByBlast"); }
    void resetBBQRequestSize(void*, void*, void*, int, int) override { on("resetBBQRequestSize"); }
};

struct TestExampleRecorder final : ITestExampleClass, Recorder {
    void sayHello() override { on("sayHello"); }
};

// Calls every slot in order through the interface's vtable, as libgui does. The mirror type is
// deliberately not the object's type: the vptr sanitizer would rightly object to that call.
__attribute__((noinline, no_sanitize("vptr"))) void callEverySlot(IFrameRecord* object) {
    auto* slots = reinterpret_cast<FrameRecordSlots*>(object);
    asm volatile("" : "+r"(slots));  // the optimizer must not know what `slots` points to
    std::string text;
    slots->slot0();
    slots->slot1(0, nullptr);
    slots->slot2(text);
    slots->slot3(nullptr, text, nullptr);
    slots->slot4(0, 0, FrameStartStatus{});
    slots->slot5(0, 0, FrameType::apply);
    slots->slot6(nullptr, 0, FrameType::apply);
    slots->slot7(nullptr, 0);
    slots->slot8(0);
    slots->slot9(0);
    slots->slot10();
    slots->slot11(0, 0);
    slots->slot12([] {});
    slots->slot13();
}

__attribute__((noinline, no_sanitize("vptr"))) void callEverySlot(IBufferQueueHelper* object) {
    auto* slots = reinterpret_cast<BufferQueueHelperSlots*>(object);
    asm volatile("" : "+r"(slots));
    slots->slot0(nullptr, false);
    slots->slot1(nullptr, nullptr);
    slots->slot2(nullptr);
    slots->slot3(nullptr);
    slots->slot4(nullptr, nullptr);
    slots->slot5(nullptr, nullptr, nullptr, 0, 0);
}

__attribute__((noinline, no_sanitize("vptr"))) void callEverySlot(ITestExampleClass* object) {
    auto* slots = reinterpret_cast<TestExampleSlots*>(object);
    asm volatile("" : "+r"(slots));
    slots->slot0();
}

TEST(HookInterfaceSlots, FrameRecordOperationsSitInDeclarationOrder) {
    FrameRecordRecorder recorder;
    callEverySlot(static_cast<IFrameRecord*>(&recorder));
    EXPECT_THAT(recorder.ran,
                ElementsAre("getEnable", "clearFrameContent", "dumpAllRecordContent", "update",
                            "start", "layerEvent", "surfaceEvent", "callSurfaceFlinger",
                            "addCallbackIdLocked", "removeCallbackIdLocked", "getCallbackIdTime",
                            "getTimeString", "pushTaskAndStart", "ensureTaskFinish"));
}

TEST(HookInterfaceSlots, BufferQueueHelperAndTestExampleOperationsSitInDeclarationOrder) {
    BufferQueueHelperRecorder helper;
    callEverySlot(static_cast<IBufferQueueHelper*>(&helper));
    EXPECT_THAT(helper.ran,
                ElementsAre("setBBQDumpFlag", "registerBBQDumpCallback", "clearRegisteredCallback",
                            "dumpBQAllFrameState", "calledByBlast", "resetBBQRequestSize"));
    TestExampleRecorder example;
    callEverySlot(static_cast<ITestExampleClass*>(&example));
    EXPECT_THAT(example.ran, ElementsAre("sayHello"));
}

}  // namespace
}  // namespace android::libgui_interface::hook
