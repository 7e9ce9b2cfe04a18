// Host model of AOSP libgui's gui/BufferQueueDefs.h: the slot count and the slot array type.
#pragma once

#include <gui/BufferSlot.h>

namespace android {
namespace BufferQueueDefs {

// The number of slots of every buffer queue (ui/BufferQueueDefs.h in AOSP).
enum { NUM_BUFFER_SLOTS = 64 };

typedef BufferSlot SlotsType[NUM_BUFFER_SLOTS];

}  // namespace BufferQueueDefs
}  // namespace android
