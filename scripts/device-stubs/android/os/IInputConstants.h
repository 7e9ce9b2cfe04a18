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

// STUB (hand-written): stands in for the AIDL-generated C++ header of android.os.IInputConstants
// (frameworks/native/libs/input/android/os/IInputConstants.aidl), for a check that reads no
// libs/input. libgui's SurfaceComposerClient.cpp includes it and names none of its constants: the
// interface class only; syntax checks only.
#pragma once
#include <binder/IInterface.h>
namespace android::os {
class IInputConstants : public ::android::IInterface {
public:
    DECLARE_META_INTERFACE(InputConstants)
};
}  // namespace android::os
