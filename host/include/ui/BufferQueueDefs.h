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

// Host model of libui's ui/BufferQueueDefs.h (Android 14): the slot count every buffer queue has,
// and the dequeue result flags.
#pragma once

namespace android {
namespace BufferQueueDefs {

static constexpr int NUM_BUFFER_SLOTS = 64;

enum {
    // The dequeued slot's buffer must be fetched again with requestBuffer().
    BUFFER_NEEDS_REALLOCATION = 1,
    // Every buffer the producer holds must be dropped.
    RELEASE_ALL_BUFFERS = 2,
};

}  // namespace BufferQueueDefs
}  // namespace android
