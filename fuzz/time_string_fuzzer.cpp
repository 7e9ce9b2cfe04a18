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

// libFuzzer harness: the time-difference text over the whole int64 range, from the formatter the
// dumps write with and from `IFrameRecord::getTimeString` through the hook getter, against a
// plain printf rendering of the same arithmetic. The input is two little-endian int64s, `from`
// then `to`; shorter inputs are padded with zeros.
#include <android-base/logging.h>
#include <libgui_interface/hook/IFrameRecord.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "frame_record/time_string.h"
#include "fuzz/time_string_reference.h"

namespace {

int64_t readInt64(const uint8_t* data, size_t size, size_t offset) {
    uint8_t bytes[8] = {};
    if (offset < size) memcpy(bytes, data + offset, std::min<size_t>(8, size - offset));
    uint64_t value = 0;
    for (int i = 7; i >= 0; --i) value = value << 8 | bytes[i];
    return static_cast<int64_t>(value);
}

void expectSame(const char* what, const std::string& actual, const std::string& expected, long from,
                long to) {
    if (actual == expected) return;
    fprintf(stderr, "%s(%ld, %ld) gave \"%s\", expected \"%s\"\n", what, from, to, actual.c_str(),
            expected.c_str());
    abort();
}

android::libgui_interface::hook::IFrameRecord* gRecord = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The hook module's lines, the unload line among them, are of no interest here; the host's
    // default logger would read a tag that is gone by unload.
    android::base::SetLogger([](android::base::LogId, android::base::LogSeverity, const char*,
                                const char*, unsigned int, const char*) {});
    gRecord = android::libgui_interface::hook::getFrameRecordIns();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const long from = static_cast<long>(readInt64(data, size, 0));
    const long to = static_cast<long>(readInt64(data, size, 8));
    const std::string expected = talvex::fuzz::referenceTimeString(from, to);

    char buffer[android::talvex::kMaxTimeStringLength];
    const char* end = android::talvex::writeTimeString(buffer, from, to);
    const std::string written(buffer, static_cast<size_t>(end - buffer));
    expectSame("writeTimeString", written, expected, from, to);

    expectSame("getTimeString", gRecord->getTimeString(from, to), expected, from, to);
    return 0;
}
