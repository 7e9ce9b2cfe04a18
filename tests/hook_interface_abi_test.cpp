// Part 1.2: the interfaces' virtual operations in slot order. libgui calls through these slots,
// so a reordering breaks the device ABI without breaking a build.
#include <gtest/gtest.h>
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <libgui_interface/hook/ITestExampleClass.h>

#include <cstdint>
#include <cstring>

namespace android::libgui_interface::hook {
namespace {

// Returns the vtable slot of a virtual member function. Itanium C++ ABI: a pointer to a virtual
// member holds 1 + the byte offset of its slot.
template <typename MemberFunction>
size_t slotOf(MemberFunction function) {
    struct Representation {
        uintptr_t pointer;
        ptrdiff_t adjustment;
    } representation;
    static_assert(sizeof(MemberFunction) == sizeof(Representation));
    memcpy(&representation, &function, sizeof(representation));
    EXPECT_EQ(1u, representation.pointer % sizeof(void*)) << "not a virtual member";
    return (representation.pointer - 1) / sizeof(void*);
}

// The spec numbers slots from 1; the ABI from 0. Consecutive slots from 0 also put the
// destructor, declared last, after every operation.
TEST(HookInterfaceAbi, TestExampleSlots) {
    EXPECT_EQ(0u, slotOf(&ITestExampleClass::sayHello));
}

TEST(HookInterfaceAbi, FrameRecordSlots) {
    using StartOverload = void (IFrameRecord::*)(int, unsigned long, FrameStartStatus);
    using TypeOverload = void (IFrameRecord::*)(int, unsigned long, FrameType);
    using SurfaceOverload = void (IFrameRecord::*)(void*, unsigned long, FrameType);
    EXPECT_EQ(0u, slotOf(&IFrameRecord::getEnable));
    EXPECT_EQ(1u, slotOf(&IFrameRecord::clearFrameContent));
    EXPECT_EQ(2u, slotOf(&IFrameRecord::dumpAllRecordContent));
    EXPECT_EQ(3u, slotOf(&IFrameRecord::updateFrameAndGetContent));
    EXPECT_EQ(4u, slotOf(static_cast<StartOverload>(&IFrameRecord::setLayerFrameEvent)));
    EXPECT_EQ(5u, slotOf(static_cast<TypeOverload>(&IFrameRecord::setLayerFrameEvent)));
    EXPECT_EQ(6u, slotOf(static_cast<SurfaceOverload>(&IFrameRecord::setLayerFrameEvent)));
    EXPECT_EQ(7u, slotOf(&IFrameRecord::callSurfaceFlingerByLayer));
    EXPECT_EQ(8u, slotOf(&IFrameRecord::addCallbackIdLocked));
    EXPECT_EQ(9u, slotOf(&IFrameRecord::removeCallbackIdLocked));
    EXPECT_EQ(10u, slotOf(&IFrameRecord::getCallbackIdTime));
    EXPECT_EQ(11u, slotOf(&IFrameRecord::getTimeString));
    EXPECT_EQ(12u, slotOf(&IFrameRecord::pushTaskAndStart));
    EXPECT_EQ(13u, slotOf(&IFrameRecord::ensureTaskFinish));
}

TEST(HookInterfaceAbi, BufferQueueHelperSlots) {
    EXPECT_EQ(0u, slotOf(&IBufferQueueHelper::setBBQDumpFlag));
    EXPECT_EQ(1u, slotOf(&IBufferQueueHelper::registerBBQDumpCallback));
    EXPECT_EQ(2u, slotOf(&IBufferQueueHelper::clearRegisteredCallback));
    EXPECT_EQ(3u, slotOf(&IBufferQueueHelper::dumpBQAllFrameState));
    EXPECT_EQ(4u, slotOf(&IBufferQueueHelper::dumpBQAllFrameStateCalledByBlast));
    EXPECT_EQ(5u, slotOf(&IBufferQueueHelper::resetBBQRequestSize));
}

}  // namespace
}  // namespace android::libgui_interface::hook
