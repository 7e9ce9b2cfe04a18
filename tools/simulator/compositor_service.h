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

#include <binder/IBinder.h>
#include <gui/HostCompositor.h>
#include <utils/StrongPointer.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace talvex::simulator {

// The compositor's knowledge of live layers: which surface a layer handle belongs to.
class LayerNames {
public:
    void add(const android::sp<android::IBinder>& handle, const std::string& surfaceName);
    void remove(const android::sp<android::IBinder>& handle);
    // Returns the surface name of the live layer whose handle is `handle`, or "".
    std::string nameOf(const android::sp<android::IBinder>& handle);

private:
    std::mutex mMutex;
    std::map<android::IBinder*, std::string> mNames;  // guarded by mMutex
};

// Registers the compositor stand-in as "SurfaceFlinger" in the host service manager. Each
// request naming a layer is logged under the tag "SurfaceFlinger", with the surface `names`
// knows for the request's token. Returns null (with a line on stderr) on failure.
android::sp<android::HostCompositor> registerCompositorService(
    const std::shared_ptr<LayerNames>& names);

}  // namespace talvex::simulator
