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

#include <string>

#include "dump_lines.h"
#include "text_cursor.h"

namespace talvex::explain {
namespace {

bool slotHead(CoreDump& dump, TextCursor& c, uint64_t line) {
    SlotState slot;
    slot.acquired = c.lit(">");
    if (!slot.acquired) c.lit(" ");  // the blank of a held, not acquired, buffer
    std::string_view buffer;
    if (!(c.lit("[") && c.number(&slot.slot) && c.lit(":") && c.until("]", &buffer))) return false;
    slot.buffer = std::string(buffer);
    slot.line = line;
    if (c.lit(" state=")) {  // a free slot prints its state on the same line
        slot.group = SlotState::Group::kFreeSlot;
        std::string_view state = c.rest();
        while (!state.empty() && state.back() == ' ') state.remove_suffix(1);
        slot.state = std::string(state);
    } else if (!c.end()) {
        return false;
    }
    dump.slots.push_back(std::move(slot));
    return true;
}

bool slotState(CoreDump& dump, TextCursor& c) {
    if (dump.slots.empty() || dump.slots.back().group == SlotState::Group::kFreeSlot) return false;
    SlotState& slot = dump.slots.back();
    std::string_view state, handle;
    if (!c.until(" ", &state)) return false;
    c.skipSpaces();         // %-8s pads short names
    if (c.lit("frame=")) {  // a dequeued slot whose buffer is still being allocated
        slot.state = std::string(state);
        return c.number(&slot.frame) && c.end();
    }
    if (!(c.until(" id=", &handle) && c.number(&slot.bufferId) && c.lit(" frame=") &&
          c.number(&slot.frame) && c.end())) {
        return false;
    }
    slot.state = std::string(state);
    slot.handle = std::string(handle);
    if (!slot.acquired && slot.state == "FREE") slot.group = SlotState::Group::kFreeBuffer;
    return true;
}

bool slotSize(CoreDump& dump, TextCursor& c) {
    if (dump.slots.empty()) return false;
    SlotState& slot = dump.slots.back();
    c.skipSpaces();
    if (!(c.number(&slot.width) && c.lit("x"))) return false;
    c.skipSpaces();
    if (!(c.number(&slot.height) && c.lit(":"))) return false;
    c.skipSpaces();
    if (!(c.number(&slot.stride) && c.lit(","))) return false;
    c.skipSpaces();
    return c.number(&slot.format, 16) && c.lit("]") && c.end();
}

}  // namespace

bool applyCoreLine(CoreDump& dump, std::string_view body, uint64_t line) {
    TextCursor c(body);
    if (c.lit(" ---dumpBbqStateDirectly:")) return c.end();
    if (c.lit(" dumpBbqStateDirectly end---")) {
        dump.complete = true;
        return c.end();
    }
    if (c.lit("  FIFO(")) {
        return c.number(&dump.queued) && c.lit(") mMaxAcquiredBufferCount=") &&
               c.number(&dump.maxAcquired) && c.lit(" mMaxDequeuedBufferCount=") &&
               c.number(&dump.maxDequeued) && c.lit(" mDequeueBufferCannotBlock=") &&
               c.flag(&dump.dequeueCannotBlock) && c.lit(" mAsyncMode=") &&
               c.flag(&dump.asyncMode) && c.end();
    }
    if (c.lit("  default-size=[")) {
        return c.number(&dump.defaultWidth) && c.lit("x") && c.number(&dump.defaultHeight) &&
               c.lit("] default-format=") && c.number(&dump.defaultFormat) &&
               c.lit(" frame-counter=") && c.number(&dump.frameCounter) && c.end();
    }
    if (c.lit("  --Slots states--:")) return c.end();
    if (!c.lit("   ")) return false;
    if (c.lit("state=")) return slotState(dump, c);
    if (c.lit("[") && c.rest().find(':') != std::string_view::npos &&
        (c.rest().find('x') < c.rest().find(':'))) {
        return slotSize(dump, c);
    }
    TextCursor head(body.substr(3));
    return slotHead(dump, head, line);
}

}  // namespace talvex::explain
