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

// The simulator's event queue in simulated time: what happens next, at which time. Events at the
// same time run in the order they were scheduled, so a story runs the same way every time.
#pragma once

#include <utils/Timers.h>

#include <cstdint>
#include <functional>
#include <queue>
#include <vector>

namespace talvex::simulator {

class EventLoop {
public:
    // Runs `action` when the clock reaches `time` (at once, in order, if it has already).
    void at(nsecs_t time, std::function<void()> action);
    // The time of the next event, or -1 if there is none.
    nsecs_t next() const;
    // Moves the clock to the next event and runs it; returns false if there is none.
    bool runNext();
    bool empty() const { return mEvents.empty(); }

private:
    struct Event {
        nsecs_t time;
        uint64_t order;
        std::function<void()> action;
    };
    struct Later {
        bool operator()(const Event& a, const Event& b) const {
            return a.time != b.time ? a.time > b.time : a.order > b.order;
        }
    };
    std::priority_queue<Event, std::vector<Event>, Later> mEvents;
    uint64_t mScheduled = 0;
};

}  // namespace talvex::simulator
