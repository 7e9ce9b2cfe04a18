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

// Host model of AOSP libgui's gui/SurfaceControl.h (Android 14/15): a client's reference to one
// compositor layer, identified by its handle (an IBinder), its layer id and its name. Same
// public constructor, getters, lock and member names as AOSP; no Surface or parcelling, and no
// BLAST queue of its own (a host-only setter stands in for the child layer such a queue makes).
#pragma once

#include <binder/IBinder.h>
#include <stdint.h>
#include <sys/types.h>
#include <ui/PixelFormat.h>
#include <utils/Errors.h>
#include <utils/Mutex.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>
#include <utils/threads.h>

#include <optional>
#include <string>

namespace android {

class SurfaceComposerClient;

class SurfaceControl : public RefBase {
public:
    // Returns true if `surface` is non-null and valid.
    static bool isValid(const sp<SurfaceControl>& surface) {
        return (surface != nullptr) && surface->isValid();
    }

    // Returns true if the layer has a handle and a client.
    bool isValid() { return mHandle != nullptr && mClient != nullptr; }

    // Returns true if both refer to the same layer handle (their own, never a BLAST child's).
    static bool isSameSurface(const sp<SurfaceControl>& lhs, const sp<SurfaceControl>& rhs);

    // Returns the handle callbacks know the layer by: the BLAST child's if there is one, else
    // getLayerStateHandle().
    sp<IBinder> getHandle() const;
    // Returns the layer's own handle, the one its layer state in a transaction is keyed by.
    sp<IBinder> getLayerStateHandle() const;
    // Returns the compositor's layer id.
    int32_t getLayerId() const;
    // Returns the layer's name as given at creation.
    const std::string& getName() const;

    sp<SurfaceComposerClient> getClient() const;

    uint32_t getTransformHint() const;

    void setTransformHint(uint32_t hint);
    // Records a new default size (there is no BLAST queue here to forward it to).
    void updateDefaultBufferSize(uint32_t width, uint32_t height);

    // A copy of `other` referring to the same layer, without its BLAST child.
    explicit SurfaceControl(const sp<SurfaceControl>& other);

    SurfaceControl(const sp<SurfaceComposerClient>& client, const sp<IBinder>& handle,
                   int32_t layerId, const std::string& layerName, uint32_t width = 0,
                   uint32_t height = 0, PixelFormat format = 0, uint32_t transformHint = 0,
                   uint32_t flags = 0);

    // Returns `frameNumber` if set, and moves the fallback 100 past it; else the fallback, which
    // then counts up (from 100).
    uint64_t resolveFrameNumber(const std::optional<uint64_t>& frameNumber);

private:
    // Can't be copied, as AOSP.
    SurfaceControl& operator=(SurfaceControl& rhs);
    SurfaceControl(const SurfaceControl& rhs);

    friend class SurfaceComposerClient;

    ~SurfaceControl();

    sp<SurfaceComposerClient> mClient;
    sp<IBinder> mHandle;
    mutable Mutex mLock;
    mutable sp<SurfaceControl> mBbqChild;
    int32_t mLayerId = 0;
    std::string mName;
    uint32_t mTransformHint = 0;
    uint32_t mWidth = 0;
    uint32_t mHeight = 0;
    PixelFormat mFormat = PIXEL_FORMAT_NONE;
    uint32_t mCreateFlags = 0;
    uint64_t mFallbackFrameNumber = 100;

    // ---- Host only (not in Android 14) ----
public:
    // Sets the BLAST child whose handle getHandle() returns (AOSP makes one when a Surface is
    // asked of this layer).
    void hostSetBbqChild(const sp<SurfaceControl>& child);
    uint32_t hostWidth() const;
    uint32_t hostHeight() const;
    PixelFormat hostFormat() const;
    uint32_t hostCreateFlags() const;
};

}  // namespace android
