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

// Host model of AOSP libgui's gui/CompositorTiming.h (Android 14/15): when the compositor expects
// to composite next. Same members and defaults; the constructor from a vsync's timing is not
// modelled (nothing on host computes one).
#pragma once

#include <utils/Timers.h>

namespace android::gui {

struct CompositorTiming {
    static constexpr nsecs_t kDefaultVsyncPeriod = 16'666'667;

    CompositorTiming() = default;

    // When compositing of the next frame is expected to start.
    nsecs_t deadline = 0;

    // The vsync period.
    nsecs_t interval = kDefaultVsyncPeriod;

    // From composition start to present.
    nsecs_t presentLatency = kDefaultVsyncPeriod;
};

}  // namespace android::gui
