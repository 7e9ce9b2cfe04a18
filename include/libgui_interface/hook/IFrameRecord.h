#pragma once

#include <libgui_interface/hook/FrameType.h>
#include <libgui_interface/hook/export.h>
#include <utils/StrongPointer.h>

#include <functional>
#include <string>
#include <unordered_map>

namespace android {
class IBinder;
}

namespace android::libgui_interface::hook {

// The process-wide frame record, as libgui sees it. Slot order is part of the interface.
// Untyped pointers are libgui's own objects: a SurfaceControl and a BLASTBufferQueue.
class TALVEX_EXPORT IFrameRecord {
public:
    virtual bool getEnable() = 0;
    virtual void clearFrameContent(int layerId, void* blastBufferQueue) = 0;
    virtual void dumpAllRecordContent(std::string& out) = 0;
    virtual void updateFrameAndGetContent(void* surfaceControl, const std::string& name,
                                          void* blastBufferQueue) = 0;
    virtual void setLayerFrameEvent(int layerId, unsigned long frameNumber,
                                    FrameStartStatus status) = 0;
    virtual void setLayerFrameEvent(int layerId, unsigned long frameNumber, FrameType type) = 0;
    virtual void setLayerFrameEvent(void* surfaceControl, unsigned long frameNumber,
                                    FrameType type) = 0;
    virtual void callSurfaceFlingerByLayer(const sp<IBinder>& token, int layerId) = 0;
    virtual void addCallbackIdLocked(long id) = 0;
    virtual void removeCallbackIdLocked(long id) = 0;
    virtual std::unordered_map<long, long> getCallbackIdTime() = 0;
    virtual std::string getTimeString(long from, long to) = 0;
    virtual void pushTaskAndStart(std::function<void()>&& task) = 0;
    virtual void ensureTaskFinish() = 0;
    virtual ~IFrameRecord() = default;
};

// Returns the cached frame record, else what `createTalvexFrameRecordFactory()` gives.
TALVEX_EXPORT IFrameRecord* getFrameRecordIns();

// Loads the vendor library if needed; returns the real record or the static fallback (cached).
TALVEX_EXPORT IFrameRecord* createTalvexFrameRecordFactory();

}  // namespace android::libgui_interface::hook
