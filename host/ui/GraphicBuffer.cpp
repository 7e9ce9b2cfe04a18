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

#define LOG_TAG "GraphicBuffer"

#include <ui/GraphicBuffer.h>
#include <unistd.h>

#include <atomic>

namespace android {

uint64_t GraphicBuffer::getUniqueId() {
    static std::atomic<uint32_t> nextId{0};
    return (static_cast<uint64_t>(getpid()) << 32) | nextId.fetch_add(1);
}

GraphicBuffer::GraphicBuffer() : mId(getUniqueId()) {}

GraphicBuffer::GraphicBuffer(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                             uint32_t inLayerCount, uint64_t inUsage, std::string requestorName)
    : mId(getUniqueId()), mRequestorName(std::move(requestorName)) {
    const uint32_t bpp = bytesPerPixel(inFormat);
    if (inWidth == 0 || inHeight == 0 || inLayerCount == 0 || bpp == 0 || inWidth > INT32_MAX ||
        inHeight > INT32_MAX) {
        mInitCheck = BAD_VALUE;
        return;
    }
    // Rows padded to 16 pixels, a common gralloc alignment.
    const uint32_t alignedStride = (inWidth + 15u) & ~15u;
    const size_t bytes = static_cast<size_t>(alignedStride) * inHeight * bpp * inLayerCount;
    mPixels.reset(new (std::nothrow) uint8_t[bytes]());
    // The handle carries the id in its two ints, as gralloc handles carry buffer metadata.
    native_handle_t* h = native_handle_create(0, 2);
    if (mPixels == nullptr || h == nullptr) {
        if (h != nullptr) native_handle_delete(h);
        mPixels.reset();
        mInitCheck = NO_MEMORY;
        return;
    }
    h->data[0] = static_cast<int>(mId >> 32);
    h->data[1] = static_cast<int>(mId & 0xffffffffu);
    handle = h;
    width = static_cast<int>(inWidth);
    height = static_cast<int>(inHeight);
    stride = static_cast<int>(alignedStride);
    format = inFormat;
    layerCount = inLayerCount;
    usage = inUsage;
    usage_deprecated = static_cast<int>(inUsage);
    mInitCheck = NO_ERROR;
}

GraphicBuffer::~GraphicBuffer() {
    if (handle != nullptr) {
        native_handle_delete(const_cast<native_handle_t*>(handle));
    }
}

bool GraphicBuffer::needsReallocation(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                                      uint32_t inLayerCount, uint64_t inUsage) const {
    if (static_cast<int>(inWidth) != width || static_cast<int>(inHeight) != height) return true;
    if (inFormat != format || inLayerCount != layerCount) return true;
    return (usage & inUsage) != inUsage;
}

}  // namespace android
