#include <gui/BufferItem.h>

namespace android {

BufferItem::BufferItem()
    : mGraphicBuffer(nullptr),
      mFence(nullptr),
      mTransform(0),
      mScalingMode(0),
      mTimestamp(0),
      mIsAutoTimestamp(false),
      mFrameNumber(0),
      mSlot(INVALID_BUFFER_SLOT),
      mIsDroppable(false),
      mAcquireCalled(false),
      mTransformToDisplayInverse(false),
      mApi(0),
      mIsStale(false),
      mAutoRefresh(false),
      mQueuedBuffer(true) {}

BufferItem::~BufferItem() = default;

const char* BufferItem::scalingModeName(uint32_t scalingMode) {
    switch (scalingMode) {
        case 0:
            return "FREEZE";
        case 1:
            return "SCALE_TO_WINDOW";
        case 2:
            return "SCALE_CROP";
        case 3:
            return "NO_SCALE_CROP";
        default:
            return "Unknown";
    }
}

}  // namespace android
