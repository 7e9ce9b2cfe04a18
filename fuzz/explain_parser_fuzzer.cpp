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

// libFuzzer harness: any bytes through the line reader, the dump parser, the findings and every
// output; the input is split in two chunks at a point the input chooses.
#include <cstddef>
#include <cstdint>
#include <sstream>

#include "dump_parser.h"
#include "explain.h"
#include "line_reader.h"
#include "report.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace talvex::explain;
    const char* text = reinterpret_cast<const char*>(data);
    const size_t split = size ? data[0] % (size + 1) : 0;
    DumpParser parser;
    LineReader reader([&](std::string_view line, size_t dropped) { parser.addLine(line, dropped); });
    reader.add(text, split);
    reader.add(text + split, size - split);
    reader.finish();
    Analysis analysis = parser.finish();
    addFindings(analysis, Thresholds{});
    std::ostringstream sink;
    writeTextReport(analysis, sink);
    writeJson(analysis, sink);
    writeTrace(analysis, sink);
    writeHtml(analysis, "fuzz", sink);
    return 0;
}
