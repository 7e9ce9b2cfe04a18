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

#include "dumper_wait.h"

#include <libgui_interface/hook/IFrameRecord.h>

#include <chrono>
#include <future>
#include <memory>

namespace talvex::simulator {

using android::libgui_interface::hook::getFrameRecordIns;

void waitForDumperThread() {
    // libgui's own barrier waits 100 ms at most; a dump under a sanitizer may take longer.
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    getFrameRecordIns()->pushTaskAndStart([done] { done->set_value(); });
    finished.wait_for(std::chrono::seconds(10));
}

}  // namespace talvex::simulator
