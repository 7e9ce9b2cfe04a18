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

// Host model of AOSP libui's ui/GraphicBuffer.h (Android 14/15). AOSP's GraphicBuffer is an
// ANativeWindowBuffer (public `width`, `height`, `stride`, `format`, `usage`, `layerCount`,
// `handle`) counted by RefBase; the model keeps those public fields with AOSP's types and the
// process-unique id (pid in the upper 32 bits). Allocation is plain memory instead of gralloc:
// an allocated buffer owns a native handle (no fds) and its pixels.
#pragma once

#include <cutils/native_handle.h>
#include <stdint.h>
#include <ui/PixelFormat.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>

#include <memory>
#include <string>

namespace android {

class GraphicBuffer : public RefBase {
public:
    // Gralloc usage bits, as AOSP's GraphicBuffer enum spells them.
    enum {
        USAGE_SW_READ_NEVER = 0x0,
        USAGE_SW_READ_RARELY = 0x2,
        USAGE_SW_READ_OFTEN = 0x3,
        USAGE_SW_READ_MASK = 0xF,
        USAGE_SW_WRITE_NEVER = 0x0,
        USAGE_SW_WRITE_RARELY = 0x20,
        USAGE_SW_WRITE_OFTEN = 0x30,
        USAGE_SW_WRITE_MASK = 0xF0,
        USAGE_PROTECTED = 0x4000,
        USAGE_HW_TEXTURE = 0x100,
        USAGE_HW_RENDER = 0x200,
        USAGE_HW_2D = 0x400,
        USAGE_HW_COMPOSER = 0x800,
        USAGE_HW_VIDEO_ENCODER = 0x10000,
        USAGE_HW_MASK = 0x71F00,
    };

    // An empty buffer: no handle, zero size, but a fresh id.
    GraphicBuffer();

    // Allocates a `inWidth` x `inHeight` buffer of `inFormat`; initCheck() says whether it worked
    // (BAD_VALUE for a zero dimension, layer count or an unknown format).
    GraphicBuffer(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat, uint32_t inLayerCount,
                  uint64_t inUsage, std::string requestorName = "<Unknown>");

    GraphicBuffer(const GraphicBuffer&) = delete;
    GraphicBuffer& operator=(const GraphicBuffer&) = delete;

    // Returns NO_ERROR if the buffer is allocated, else the allocation error.
    status_t initCheck() const { return mInitCheck; }

    uint32_t getWidth() const { return static_cast<uint32_t>(width); }
    uint32_t getHeight() const { return static_cast<uint32_t>(height); }
    uint32_t getStride() const { return static_cast<uint32_t>(stride); }
    uint64_t getUsage() const { return usage; }
    PixelFormat getPixelFormat() const { return format; }
    uint32_t getLayerCount() const { return layerCount; }
    // Returns the id, unique in the process: (pid << 32) | a per-process counter.
    uint64_t getId() const { return mId; }
    uint32_t getGenerationNumber() const { return mGenerationNumber; }
    void setGenerationNumber(uint32_t generation) { mGenerationNumber = generation; }
    const std::string& getRequestorName() const { return mRequestorName; }

    // Returns true if `inWidth` x `inHeight` of `inFormat` differs from this buffer (AOSP's test
    // for reallocation in dequeueBuffer).
    bool needsReallocation(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                           uint32_t inLayerCount, uint64_t inUsage) const;

    // HOST-ONLY: the pixel memory (stride * height * bytesPerPixel bytes), or null if empty.
    uint8_t* hostPixels() const { return mPixels.get(); }

    // The fields of AOSP's ANativeWindowBuffer, public as there.
    int width = 0;
    int height = 0;
    int stride = 0;
    int format = 0;
    int usage_deprecated = 0;
    uint32_t layerCount = 0;
    const native_handle_t* handle = nullptr;
    uint64_t usage = 0;

protected:
    ~GraphicBuffer() override;

private:
    static uint64_t getUniqueId();

    const uint64_t mId;
    std::string mRequestorName;
    status_t mInitCheck = NO_INIT;
    uint32_t mGenerationNumber = 0;
    std::unique_ptr<uint8_t[]> mPixels;
};

}  // namespace android
