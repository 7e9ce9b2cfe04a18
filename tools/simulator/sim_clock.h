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

// The clock the simulated world runs on, for everyone in the process. In simulated time the
// library, the host libgui and the simulator all read one clock that moves only when the
// simulator moves it, so a story gives the same log on any machine, at any load; in real time
// the clock is the machine's monotonic clock. The simulator defines the platform's
// systemTime() and getpid() for the whole process (the executable's definitions come before
// libutils' and libc's), which is how the library, built unchanged, reads the simulated clock.
#pragma once

#include <sys/types.h>
#include <utils/Timers.h>

namespace talvex::simulator {

class SimClock {
public:
    // Switches the process to simulated time, starting at `start` ns, with the stable process id
    // `pid` (logs name it, ids are made of it).
    static void useSimulatedTime(nsecs_t start, pid_t pid);
    // Switches back to the machine's clock and process id.
    static void useRealTime();
    static bool simulated();
    // The clock's time now, in ns.
    static nsecs_t now();
    // Moves the simulated clock to `time` (never backwards).
    static void advanceTo(nsecs_t time);
};

}  // namespace talvex::simulator
