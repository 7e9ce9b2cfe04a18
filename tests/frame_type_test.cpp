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

// The frame event vocabulary: values and names cross the libgui boundary and appear in dumps.
#include <gtest/gtest.h>
#include <libgui_interface/hook/FrameType.h>

#include <climits>
#include <string>
#include <type_traits>

namespace android::libgui_interface::hook {
namespace {

static_assert(std::is_same_v<std::underlying_type_t<FrameType>, int>);

// libgui passes the values; the dumps print the names.
TEST(FrameTypeName, IsTheEnumeratorNameInValueOrderOrTheSignedDecimal) {
    std::string names;
    for (int value = -1; value <= 12; ++value) {
        names += frameTypeName(static_cast<FrameType>(value)) + " ";
    }
    EXPECT_EQ(
        "-1 onFrameAvailable acquireNextBuffer acquireAndReleaseBuffer "
        "onTransactionCompletedCommit onTransactionCompletedComplete transactionCallback "
        "transactionCommittedCallback releaseBufferCallback FakeReleaseCallback releaseBufferBBQ "
        "syncNextTransaction apply 12 ",
        names);
    EXPECT_EQ("-2147483648", frameTypeName(static_cast<FrameType>(INT_MIN)));
    const FrameType inValueOrder[] = {FrameType::onFrameAvailable,
                                      FrameType::acquireNextBuffer,
                                      FrameType::acquireAndReleaseBuffer,
                                      FrameType::onTransactionCompletedCommit,
                                      FrameType::onTransactionCompletedComplete,
                                      FrameType::transactionCallback,
                                      FrameType::transactionCommittedCallback,
                                      FrameType::releaseBufferCallback,
                                      FrameType::FakeReleaseCallback,
                                      FrameType::releaseBufferBBQ,
                                      FrameType::syncNextTransaction,
                                      FrameType::apply};
    for (int value = 0; value < 12; ++value) {
        EXPECT_EQ(value, static_cast<int>(inValueOrder[value]))
            << frameTypeName(inValueOrder[value]);
    }
}

}  // namespace
}  // namespace android::libgui_interface::hook
