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

// Reading one line of a dump into the dump it belongs to. The text after the queue prefix is
// `body`; each function returns false when the line is not one the dump can hold there.
#pragma once

#include <string_view>

#include "dump_model.h"

namespace talvex::explain {

// A core dump's line: its head lines, slot lines and end line.
bool applyCoreLine(CoreDump& dump, std::string_view body, uint64_t line);

// Where a BLAST dump's reading stands: which block the next line belongs to.
struct BlastCursor {
    enum class Block { kNone, kBlast, kRecord, kListener, kDone };
    Block block = Block::kNone;
    bool inSubmitted = false;
    bool syncedSection = false;
};

// A BLAST dump's line after its start line: the BLAST state, frame record and listener blocks.
bool applyBlastLine(BlastDump& dump, BlastCursor& cursor, std::string_view body, uint64_t line);

}  // namespace talvex::explain
