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

#include <libgui_interface/hook/IFrameRecord.h>

namespace android::libgui_interface::hook {

// Fallback frame record: accepts every call and keeps nothing; tasks handed to it never run.
class TALVEX_EXPORT DefaultTalvexFrameRecord : public IFrameRecord {
public:
    // Returns the one fallback, built on first use and destroyed at unload.
    static DefaultTalvexFrameRecord* getInstance();

    DefaultTalvexFrameRecord();
    ~DefaultTalvexFrameRecord() override;
    DefaultTalvexFrameRecord(const DefaultTalvexFrameRecord&) = delete;
    DefaultTalvexFrameRecord& operator=(const DefaultTalvexFrameRecord&) = delete;

    bool getEnable() override { return false; }
    void clearFrameContent(int, void*) override {}
    void dumpAllRecordContent(std::string&) override {}
    void updateFrameAndGetContent(void*, const std::string&, void*) override {}
    void setLayerFrameEvent(int, unsigned long, FrameStartStatus) override {}
    void setLayerFrameEvent(int, unsigned long, FrameType) override {}
    void setLayerFrameEvent(void*, unsigned long, FrameType) override {}
    void callSurfaceFlingerByLayer(const sp<IBinder>&, int) override {}
    void addCallbackIdLocked(long) override {}
    void removeCallbackIdLocked(long) override {}
    std::unordered_map<long, long> getCallbackIdTime() override { return {}; }
    std::string getTimeString(long, long) override { return "-1"; }
    void pushTaskAndStart(std::function<void()>&&) override {}
    void ensureTaskFinish() override {}
};

}  // namespace android::libgui_interface::hook
