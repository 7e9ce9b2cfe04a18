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

// Locking mistakes on the host models of libgui that the clang builds must refuse to compile, as
// libgui's own annotations make the device build refuse them; one per value of
// LOCK_ANNOTATION_CASE, and the same operations done right (case 0), which must compile. The
// cases stand where the library's helper stands: the friend libgui's patch names.
#include <gui/SurfaceComposerClient.h>

#include <mutex>

namespace android {

class TalvexBufferQueueHelper {
public:
    static size_t run(TransactionCompletedListener& listener) {
#if MODEL_LOCK_ANNOTATION_CASE == 0
        std::lock_guard<std::mutex> lock(listener.mMutex);
        listener.addCallbackFunctionLocked(nullptr, {}, CallbackId::Type::ON_COMPLETE);
        return listener.mCallbacks.size() + listener.mReleaseBufferCallbacks.size();
#elif MODEL_LOCK_ANNOTATION_CASE == 1  // reads the callbacks without the listener's lock
        return listener.mCallbacks.size();
#elif MODEL_LOCK_ANNOTATION_CASE == 2  // reads the release callbacks without it
        return listener.mReleaseBufferCallbacks.size();
#elif MODEL_LOCK_ANNOTATION_CASE == 3  // registers through the *Locked function without it
        return listener.addCallbackFunctionLocked(nullptr, {}, CallbackId::Type::ON_COMMIT).id;
#endif
    }
};

}  // namespace android
