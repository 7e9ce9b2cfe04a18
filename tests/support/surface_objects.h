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

// Builders of surfaces that tests on the host and on a device share.

#include <binder/Binder.h>
#include <gui/SurfaceComposerClient.h>
#include <gui/SurfaceControl.h>
#include <stdint.h>
#include <utils/StrongPointer.h>

#include <string>

namespace talvex::test {

// Returns a SurfaceControl for layer `layerId` named `name`, with a fresh BBinder as its handle.
inline android::sp<android::SurfaceControl> makeSurfaceControl(int32_t layerId,
                                                               const std::string& name) {
    using namespace android;
    sp<SurfaceComposerClient> client(new SurfaceComposerClient());
    sp<IBinder> handle(new BBinder());
    return sp<SurfaceControl>(new SurfaceControl(client, handle, layerId, name));
}

}  // namespace talvex::test
