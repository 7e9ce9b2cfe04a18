#pragma once

#include <libgui_interface/hook/export.h>

namespace android::libgui_interface::hook {

// The buffer-queue helper, as libgui sees it. Slot order is part of the interface.
// Untyped pointers are libgui's own objects: a BufferQueueCore, a BLASTBufferQueue, a
// ConsumerBase, and size pairs of two int32 values.
class TALVEX_EXPORT IBufferQueueHelper {
public:
    virtual void setBBQDumpFlag(void* core, bool flag) = 0;
    virtual void registerBBQDumpCallback(void* core, void* bbq) = 0;
    virtual void clearRegisteredCallback(void* core) = 0;
    virtual void dumpBQAllFrameState(void* core) = 0;
    virtual void dumpBQAllFrameStateCalledByBlast(void* core, void* bbq) = 0;
    virtual void resetBBQRequestSize(void* requestedSize, void* size, void* consumer, int mode,
                                     int updateRequested) = 0;
    virtual ~IBufferQueueHelper() = default;
};

// Returns the cached helper, else what `createTalvexBufferQueueHelperFactory()` gives.
TALVEX_EXPORT IBufferQueueHelper* getBufferQueueHelper();

// Loads the vendor library if needed; returns the real helper or the static fallback (cached).
TALVEX_EXPORT IBufferQueueHelper* createTalvexBufferQueueHelperFactory();

}  // namespace android::libgui_interface::hook
