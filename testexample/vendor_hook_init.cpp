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

// The vendor entry, the one place that names the real classes.
#include "bufferqueue_helper/TalvexBufferQueueHelper.h"
#include "frame_record/TalvexFrameRecord.h"
#include "talvex_libgui_utils/libgui_ext_interface.h"
#include "testexample/TestExample.h"

using android::libgui_interface::hook::HookRegisterMap;
using android::libgui_interface::hook::registerClass;

extern "C" void talvex_libgui_vendor_hook_init(HookRegisterMap* map) {
    registerClass(*map, "TalvexTestExample",
                  &android::talvexgui::TalvexTestExample::createRealImplFactory);
    registerClass(*map, "TalvexFrameRecord", &android::TalvexFrameRecord::createRealImplFactory);
    registerClass(*map, "TalvexBufferQueueHelper",
                  &android::TalvexBufferQueueHelper::createRealImplFactory);
}
