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

// The frame record's getter, factory and fallback.
#include "talvex_libgui_utils/talvex_frame_record.h"

#include <android-base/logging.h>

#include "talvex_libgui_utils/cached_factory.h"
#include "talvex_libgui_utils/pointer_text.h"

namespace android::libgui_interface::hook {

// Set once, never reset: a fallback once cached stays for the life of the process.
static IFrameRecord* frame_record_ins = nullptr;

DefaultTalvexFrameRecord* DefaultTalvexFrameRecord::getInstance() {
    static DefaultTalvexFrameRecord instance;
    return &instance;
}

DefaultTalvexFrameRecord::DefaultTalvexFrameRecord() {
    LOG(INFO) << "create DefaultTalvexFrameRecord, this " << PointerText{this};
}

DefaultTalvexFrameRecord::~DefaultTalvexFrameRecord() {
    LOG(INFO) << "destory ~DefaultTalvexFrameRecord, this " << PointerText{this};
}

IFrameRecord* getFrameRecordIns() {
    return frame_record_ins != nullptr ? frame_record_ins : createTalvexFrameRecordFactory();
}

IFrameRecord* createTalvexFrameRecordFactory() {
    return createCachedInstance<IFrameRecord, DefaultTalvexFrameRecord>(
        frame_record_ins, "TalvexFrameRecord", "createTalvexFrameRecordFactory");
}

}  // namespace android::libgui_interface::hook
