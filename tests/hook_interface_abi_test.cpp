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

// libgui calls the hook interfaces through vtable slots and passes FrameStartStatus by value, so
// a reordered declaration or a moved field breaks the device without breaking a build. Slot order
// is checked by calling through a known object's vtable, which holds on every Itanium ABI
// (x86, x86_64, ARM, AArch64 lay a primary vtable out in declaration order); member-function
// pointers are not decoded, since their encoding differs between those ABIs.
#include <binder/IBinder.h>
#include <gtest/gtest.h>
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <libgui_interface/hook/ITestExampleClass.h>

#include <cstddef>
#include <numeric>
#include <string>
#include <vector>

namespace android::libgui_interface::hook {
namespace {

// int64 aligns to 4 inside a struct on i386, to 8 on the ABIs the library ships for.
struct Int64Alignment {
    char c;
    int64_t v;
};
constexpr size_t kStartTime = offsetof(Int64Alignment, v) == 8 ? 16 : 12;
static_assert(offsetof(FrameStartStatus, sync) == 0 && offsetof(FrameStartStatus, wait) == 1 &&
              offsetof(FrameStartStatus, numAvailable) == 4 &&
              offsetof(FrameStartStatus, numAcquired) == 8);
static_assert(offsetof(FrameStartStatus, startTime) == kStartTime &&
              sizeof(FrameStartStatus) == kStartTime + sizeof(int64_t));

using CallbackTimes = std::unordered_map<long, long>;

}  // namespace

// The slot layout libgui was built against, one line per slot in slot order: index, return type,
// parameters, the arguments a call passes (`text` is a caller's std::string).
#define TALVEX_FRAME_RECORD_SLOTS(X)                                               \
    X(0, bool, (), ())                                                             \
    X(1, void, (int, void*), (0, nullptr))                                         \
    X(2, void, (std::string&), (text))                                             \
    X(3, void, (void*, const std::string&, void*), (nullptr, text, nullptr))       \
    X(4, void, (int, unsigned long, FrameStartStatus), (0, 0, FrameStartStatus{})) \
    X(5, void, (int, unsigned long, FrameType), (0, 0, FrameType::apply))          \
    X(6, void, (void*, unsigned long, FrameType), (nullptr, 0, FrameType::apply))  \
    X(7, void, (const sp<IBinder>&, int), (nullptr, 0))                            \
    X(8, void, (long), (0))                                                        \
    X(9, void, (long), (0))                                                        \
    X(10, CallbackTimes, (), ())                                                   \
    X(11, std::string, (long, long), (0, 0))                                       \
    X(12, void, (std::function<void()> &&), ([] {}))                               \
    X(13, void, (), ())
#define TALVEX_BUFFER_QUEUE_HELPER_SLOTS(X)        \
    X(0, void, (void*, bool), (nullptr, false))    \
    X(1, void, (void*, void*), (nullptr, nullptr)) \
    X(2, void, (void*), (nullptr))                 \
    X(3, void, (void*), (nullptr))                 \
    X(4, void, (void*, void*), (nullptr, nullptr)) \
    X(5, void, (void*, void*, void*, int, int), (nullptr, nullptr, nullptr, 0, 0))
#define TALVEX_TEST_EXAMPLE_SLOTS(X) X(0, void, (), ())

#define TALVEX_DECLARE_SLOT(n, result, params, args) virtual result slot##n params = 0;
#define TALVEX_CALL_SLOT(n, result, params, args) slots->slot##n args;

// A mirror class per interface, and a function that calls each of its slots in order on an
// object of the real interface, as libgui does. The mirrors sit outside the anonymous namespace:
// with no derived class in sight, an optimizer that sees every subclass of a local type would
// bind the calls to the pure declarations. The mirror type is deliberately not the object's
// type: the vptr sanitizer would rightly object to that call.
#define TALVEX_MIRROR(Interface, SLOTS)                                                     \
    namespace abi_mirror {                                                                  \
    class Interface##Slots {                                                                \
    public:                                                                                 \
        SLOTS(TALVEX_DECLARE_SLOT)                                                          \
        virtual ~Interface##Slots() = default;                                              \
    };                                                                                      \
    }                                                                                       \
    __attribute__((noinline, no_sanitize("vptr"))) void callEverySlot(Interface* object) {  \
        auto* slots = reinterpret_cast<abi_mirror::Interface##Slots*>(object);              \
        asm volatile("" : "+r"(slots)); /* the optimizer must not know what it points to */ \
        [[maybe_unused]] std::string text;                                                  \
        SLOTS(TALVEX_CALL_SLOT)                                                             \
    }

TALVEX_MIRROR(IFrameRecord, TALVEX_FRAME_RECORD_SLOTS)
TALVEX_MIRROR(IBufferQueueHelper, TALVEX_BUFFER_QUEUE_HELPER_SLOTS)
TALVEX_MIRROR(ITestExampleClass, TALVEX_TEST_EXAMPLE_SLOTS)

namespace {

// Implementations whose every operation records the slot it must sit in.
struct Recorder {
    int on(int slot) { return ran.push_back(slot), slot; }
    std::vector<int> ran;
};

struct FrameRecordRecorder final : IFrameRecord, Recorder {
    bool getEnable() override { return on(0), false; }
    void clearFrameContent(int, void*) override { on(1); }
    void dumpAllRecordContent(std::string&) override { on(2); }
    void updateFrameAndGetContent(void*, const std::string&, void*) override { on(3); }
    void setLayerFrameEvent(int, unsigned long, FrameStartStatus) override { on(4); }
    void setLayerFrameEvent(int, unsigned long, FrameType) override { on(5); }
    void setLayerFrameEvent(void*, unsigned long, FrameType) override { on(6); }
    void callSurfaceFlingerByLayer(const sp<IBinder>&, int) override { on(7); }
    void addCallbackIdLocked(long) override { on(8); }
    void removeCallbackIdLocked(long) override { on(9); }
    CallbackTimes getCallbackIdTime() override { return on(10), CallbackTimes(); }
    std::string getTimeString(long, long) override { return on(11), ""; }
    void pushTaskAndStart(std::function<void()>&&) override { on(12); }
    void ensureTaskFinish() override { on(13); }
};

struct BufferQueueHelperRecorder final : IBufferQueueHelper, Recorder {
    void setBBQDumpFlag(void*, bool) override { on(0); }
    void registerBBQDumpCallback(void*, void*) override { on(1); }
    void clearRegisteredCallback(void*) override { on(2); }
    void dumpBQAllFrameState(void*) override { on(3); }
    void dumpBQAllFrameStateCalledByBlast(void*, void*) override { on(4); }
    void resetBBQRequestSize(void*, void*, void*, int, int) override { on(5); }
};

struct TestExampleRecorder final : ITestExampleClass, Recorder {
    void sayHello() override { on(0); }
};

template <typename Interface, typename Implementation>
std::vector<int> slotsReached() {
    Implementation object;
    callEverySlot(static_cast<Interface*>(&object));
    return object.ran;
}

std::vector<int> firstSlots(int count) {
    std::vector<int> slots(count);
    std::iota(slots.begin(), slots.end(), 0);
    return slots;
}

TEST(HookInterfaceSlots, EveryOperationSitsInDeclarationOrder) {
    EXPECT_EQ(firstSlots(14), (slotsReached<IFrameRecord, FrameRecordRecorder>()));
    EXPECT_EQ(firstSlots(6), (slotsReached<IBufferQueueHelper, BufferQueueHelperRecorder>()));
    EXPECT_EQ(firstSlots(1), (slotsReached<ITestExampleClass, TestExampleRecorder>()));
}

}  // namespace
}  // namespace android::libgui_interface::hook
