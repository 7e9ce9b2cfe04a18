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

#include "event_loop.h"

#include <utility>

#include "sim_clock.h"

namespace talvex::simulator {

void EventLoop::at(nsecs_t time, std::function<void()> action) {
    mEvents.push(Event{time, mScheduled++, std::move(action)});
}

nsecs_t EventLoop::next() const {
    return mEvents.empty() ? -1 : mEvents.top().time;
}

bool EventLoop::runNext() {
    if (mEvents.empty()) return false;
    Event event = mEvents.top();
    mEvents.pop();
    SimClock::advanceTo(event.time);
    event.action();
    return true;
}

}  // namespace talvex::simulator
