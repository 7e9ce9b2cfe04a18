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

// The buffer-queue helper's getter, factory and fallback.
#include "talvex_libgui_utils/talvex_bufferqueue_helper.h"

#include <android-base/logging.h>

#include "talvex_libgui_utils/cached_factory.h"
#include "talvex_libgui_utils/pointer_text.h"

namespace android::libgui_interface::hook {

// Set once, never reset: a fallback once cached stays for the life of the process.
static IBufferQueueHelper* buffer_queue_helper_ins = nullptr;

DefaultTalvexBufferQueueHelper* DefaultTalvexBufferQueueHelper::getInstance() {
    static DefaultTalvexBufferQueueHelper instance;
    return &instance;
}

DefaultTalvexBufferQueueHelper::DefaultTalvexBufferQueueHelper() {
    LOG(INFO) << "create DefaultTalvexBufferQueueHelper, this " << PointerText{this};
}

DefaultTalvexBufferQueueHelper::~DefaultTalvexBufferQueueHelper() {
    LOG(INFO) << "destory ~DefaultTalvexBufferQueueHelper, this " << PointerText{this};
}

IBufferQueueHelper* getBufferQueueHelper() {
    return buffer_queue_helper_ins != nullptr ? buffer_queue_helper_ins
                                              : createTalvexBufferQueueHelperFactory();
}

IBufferQueueHelper* createTalvexBufferQueueHelperFactory() {
    return createCachedInstance<IBufferQueueHelper, DefaultTalvexBufferQueueHelper>(
        buffer_queue_helper_ins, "TalvexBufferQueueHelper", "createTalvexBufferQueueHelperFactory");
}

}  // namespace android::libgui_interface::hook
