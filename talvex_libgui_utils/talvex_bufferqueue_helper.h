#pragma once

#include <libgui_interface/hook/IBufferQueueHelper.h>

namespace android::libgui_interface::hook {

// Fallback buffer-queue helper: every operation returns at once.
class TALVEX_EXPORT DefaultTalvexBufferQueueHelper : public IBufferQueueHelper {
public:
    // Returns the one fallback, built on first use and destroyed at unload.
    static DefaultTalvexBufferQueueHelper* getInstance();

    DefaultTalvexBufferQueueHelper();
    ~DefaultTalvexBufferQueueHelper() override;
    DefaultTalvexBufferQueueHelper(const DefaultTalvexBufferQueueHelper&) = delete;
    DefaultTalvexBufferQueueHelper& operator=(const DefaultTalvexBufferQueueHelper&) = delete;

    void setBBQDumpFlag(void*, bool) override {}
    void registerBBQDumpCallback(void*, void*) override {}
    void clearRegisteredCallback(void*) override {}
    void dumpBQAllFrameState(void*) override {}
    void dumpBQAllFrameStateCalledByBlast(void*, void*) override {}
    void resetBBQRequestSize(void*, void*, void*, int, int) override {}
};

}  // namespace android::libgui_interface::hook
