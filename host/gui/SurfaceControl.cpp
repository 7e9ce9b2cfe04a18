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

#define LOG_TAG "SurfaceControl"

#include <gui/SurfaceComposerClient.h>
#include <gui/SurfaceControl.h>

namespace android {

SurfaceControl::SurfaceControl(const sp<SurfaceComposerClient>& client, const sp<IBinder>& handle,
                               int32_t layerId, const std::string& layerName, uint32_t width,
                               uint32_t height, PixelFormat format, uint32_t transformHint,
                               uint32_t flags)
    : mClient(client),
      mHandle(handle),
      mLayerId(layerId),
      mName(layerName),
      mTransformHint(transformHint),
      mWidth(width),
      mHeight(height),
      mFormat(format),
      mCreateFlags(flags) {}

SurfaceControl::SurfaceControl(const sp<SurfaceControl>& other)
    : mClient(other->mClient),
      mHandle(other->mHandle),
      mLayerId(other->mLayerId),
      mName(other->mName),
      mTransformHint(other->mTransformHint),
      mWidth(other->mWidth),
      mHeight(other->mHeight),
      mFormat(other->mFormat),
      mCreateFlags(other->mCreateFlags) {}

SurfaceControl::~SurfaceControl() = default;

bool SurfaceControl::isSameSurface(const sp<SurfaceControl>& lhs, const sp<SurfaceControl>& rhs) {
    if (lhs == nullptr || rhs == nullptr) return false;
    return lhs->mHandle == rhs->mHandle;
}

sp<IBinder> SurfaceControl::getLayerStateHandle() const {
    return mHandle;
}

sp<IBinder> SurfaceControl::getHandle() const {
    // The child is set once, when the layer's Surface is made, and never changes after: AOSP
    // reads it without the lock.
    if (mBbqChild != nullptr) return mBbqChild->getHandle();
    return getLayerStateHandle();
}

int32_t SurfaceControl::getLayerId() const {
    return mLayerId;
}

const std::string& SurfaceControl::getName() const {
    return mName;
}

sp<SurfaceComposerClient> SurfaceControl::getClient() const {
    return mClient;
}

uint32_t SurfaceControl::getTransformHint() const {
    Mutex::Autolock lock(mLock);
    return mTransformHint;
}

void SurfaceControl::setTransformHint(uint32_t hint) {
    Mutex::Autolock lock(mLock);
    mTransformHint = hint;
}

void SurfaceControl::updateDefaultBufferSize(uint32_t width, uint32_t height) {
    Mutex::Autolock lock(mLock);
    mWidth = width;
    mHeight = height;
}

uint64_t SurfaceControl::resolveFrameNumber(const std::optional<uint64_t>& frameNumber) {
    if (!frameNumber.has_value()) return mFallbackFrameNumber++;
    // Far enough ahead that fallback numbers do not meet the caller's own for a while.
    mFallbackFrameNumber = *frameNumber + 100;
    return *frameNumber;
}

void SurfaceControl::hostSetBbqChild(const sp<SurfaceControl>& child) {
    Mutex::Autolock lock(mLock);
    mBbqChild = child;
}

uint32_t SurfaceControl::hostWidth() const {
    Mutex::Autolock lock(mLock);
    return mWidth;
}

uint32_t SurfaceControl::hostHeight() const {
    Mutex::Autolock lock(mLock);
    return mHeight;
}

PixelFormat SurfaceControl::hostFormat() const {
    return mFormat;
}

uint32_t SurfaceControl::hostCreateFlags() const {
    return mCreateFlags;
}

}  // namespace android
