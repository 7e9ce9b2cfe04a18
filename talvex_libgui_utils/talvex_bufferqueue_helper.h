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

#pragma once

#include <libgui_interface/hook/IBufferQueueHelper.h>

namespace android::libgui_interface::hook {

// Fallback buffer-queue helper: every operation returns at once.
class TALVEX_EXPORT DefaultTalvexBufferQueueHelper : public IBufferQueueHelper {
public:
    // Returns the one fallback, built on first use and destroyed at unload.
    static DefaultTalvexBufferQueueHelper* getInstance();

    DefaultTalvexBufferQueueHelper();
    ~DefaultTalvexBufferQueueHelper() override;
    DefaultTalvexBufferQueueHelper(const DefaultTalvexBufferQueueHelper&) = delete;
    DefaultTalvexBufferQueueHelper& operator=(const DefaultTalvexBufferQueueHelper&) = delete;

    void setBBQDumpFlag(void*, bool) override {}
    void registerBBQDumpCallback(void*, void*) override {}
    void clearRegisteredCallback(void*) override {}
    void dumpBQAllFrameState(void*) override {}
    void dumpBQAllFrameStateCalledByBlast(void*, void*) override {}
    void resetBBQRequestSize(void*, void*, void*, int, int) override {}
};

}  // namespace android::libgui_interface::hook
