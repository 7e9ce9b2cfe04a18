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

#include "sim_clock.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>

namespace talvex::simulator {
namespace {

std::atomic<bool> gSimulated{false};
std::atomic<nsecs_t> gNow{0};
std::atomic<pid_t> gPid{0};

nsecs_t machineTime(int clock) {
    static constexpr clockid_t kClocks[] = {CLOCK_REALTIME, CLOCK_MONOTONIC,
                                            CLOCK_PROCESS_CPUTIME_ID, CLOCK_THREAD_CPUTIME_ID,
                                            CLOCK_BOOTTIME};
    const clockid_t id = clock >= 0 && clock < 5 ? kClocks[clock] : CLOCK_MONOTONIC;
    timespec t{};
    clock_gettime(id, &t);
    return static_cast<nsecs_t>(t.tv_sec) * 1000000000LL + t.tv_nsec;
}

}  // namespace

void SimClock::useSimulatedTime(nsecs_t start, pid_t pid) {
    gNow = start;
    gPid = pid;
    gSimulated = true;
}

void SimClock::useRealTime() {
    gSimulated = false;
}

bool SimClock::simulated() {
    return gSimulated.load();
}

nsecs_t SimClock::now() {
    return gSimulated ? gNow.load() : machineTime(SYSTEM_TIME_MONOTONIC);
}

void SimClock::advanceTo(nsecs_t time) {
    nsecs_t now = gNow.load();
    while (time > now && !gNow.compare_exchange_weak(now, time)) {
    }
}

}  // namespace talvex::simulator

// The platform's clock and process id, for the whole process (see sim_clock.h).
extern "C" nsecs_t systemTime(int clock) {
    return talvex::simulator::SimClock::simulated() ? talvex::simulator::gNow.load()
                                                    : talvex::simulator::machineTime(clock);
}

extern "C" pid_t getpid(void) noexcept {
    if (talvex::simulator::SimClock::simulated()) return talvex::simulator::gPid.load();
    return static_cast<pid_t>(syscall(SYS_getpid));
}
