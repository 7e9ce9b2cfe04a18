#include <gui/BufferSlot.h>

namespace android {

const char* BufferState::string() const {
    if (isShared()) return "SHARED";
    if (isFree()) return "FREE";
    if (isAcquired()) return "ACQUIRED";
    if (isDequeued()) return "DEQUEUED";
    if (isQueued()) return "QUEUED";
    return "UNKNOWN";
}

}  // namespace android
