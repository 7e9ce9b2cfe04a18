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

// Host model of libgui's gui/IProducerListener.h (Android 14): what a producer is told by its
// queue. The host has no binder proxies between a producer and its queue, so the interfaces take
// the shape libgui gives them when it is built without binder.
#pragma once

#include <utils/RefBase.h>

#include <vector>

namespace android {

class ProducerListener : public virtual RefBase {
public:
    ProducerListener() {}
    virtual ~ProducerListener();

    // A buffer went back to the queue's free buffers.
    virtual void onBufferReleased() = 0;
    virtual bool needsReleaseNotify() = 0;
    // The consumer dropped the buffers of `slots`.
    virtual void onBuffersDiscarded(const std::vector<int32_t>& slots) = 0;
    virtual void onBufferDetached(int /*slot*/) {}
};

class IProducerListener : public ProducerListener {};

class BnProducerListener : public IProducerListener {};

}  // namespace android
