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

#include <gui/SurfaceControl.h>
#include <utils/StrongPointer.h>
#include <utils/Timers.h>

#include <atomic>
#include <cstdint>
#include <vector>

namespace talvex::simulator {

// Returns once every task handed to the frame record's dumper thread so far has run (at most
// ten seconds).
void waitForDumperThread();

// The TransactionCompletedListener's part: times every callback id it registers and forgets
// it when the callback runs, under the listener's lock. Call once before any queue exists.
void patchTransactionCompletedListener();

// The listener received the compositor's commit of `frameNumber` on `surface`.
void listenerTransactionCommitted(const android::sp<android::SurfaceControl>& surface,
                                  uint64_t frameNumber);
// The listener received the completion of `frameNumber` on `surface` (before it runs the
// queue's callback).
void listenerTransactionCompleted(const android::sp<android::SurfaceControl>& surface,
                                  uint64_t frameNumber);
}  // namespace talvex::simulator
