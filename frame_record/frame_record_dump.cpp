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

// The frame record dump: the whole record as text.
#include <array>
#include <charconv>
#include <cstdint>

#include "frame_record/TalvexFrameRecord.h"
#include "frame_record/program_name.h"
#include "frame_record/time_string.h"

namespace android {

namespace {

using libgui_interface::hook::FrameType;
using libgui_interface::hook::frameTypeName;

// Rough sizes of one printed item, to reserve the text once instead of growing it.
constexpr size_t kLayerTextEstimate = 256;
constexpr size_t kFrameTextEstimate = 128;
constexpr size_t kEventTextEstimate = 96;

// Appends [begin, end) as one block (an iterator-pair append goes through the slower replace).
void appendRange(std::string& text, const char* begin, const char* end) {
    text.append(begin, static_cast<size_t>(end - begin));
}

// Appends an integer in decimal.
template <typename Integer>
void appendDecimal(std::string& text, Integer value) {
    char buffer[24];
    appendRange(text, buffer, std::to_chars(buffer, buffer + sizeof(buffer), value).ptr);
}

// Appends a pointer as "0x" and lowercase hex; null is "0x0" (a stream's showbase would print 0).
void appendPointer(std::string& text, const void* pointer) {
    char buffer[2 + 16] = {'0', 'x'};
    appendRange(
        text, buffer,
        std::to_chars(buffer + 2, buffer + sizeof(buffer), reinterpret_cast<uintptr_t>(pointer), 16)
            .ptr);
}

// The longest event text after the name: "(", index (20), "/", time (20), "/", time string, ") ".
constexpr size_t kMaxEventTailLength = 1 + 20 + 1 + 20 + 1 + talvex::kMaxTimeStringLength + 2;

// Appends the name of `type`: the enumerator's name for 0 to 11, else the decimal.
void appendTypeName(std::string& text, FrameType type) {
    // Built once from frameTypeName(), the one name table, so the dump never allocates a name.
    static const std::array<std::string, 12> kNames = [] {
        std::array<std::string, 12> names;
        for (size_t i = 0; i < names.size(); ++i) names[i] = frameTypeName(FrameType(i));
        return names;
    }();
    const int value = static_cast<int>(type);
    if (value >= 0 && static_cast<size_t>(value) < kNames.size()) {
        text += kNames[static_cast<size_t>(value)];
    } else {
        appendDecimal(text, value);
    }
}

// Appends one event, name(index/time/getTimeString(startTime, time)) and a space; all after the
// name is built in one buffer, so the text grows twice per event.
void appendEvent(std::string& text, const TalvexFrameRecord::Event& event, int64_t startTime) {
    appendTypeName(text, event.type);
    char buffer[kMaxEventTailLength];
    char* p = buffer;
    *p++ = '(';
    p = std::to_chars(p, p + 20, event.index).ptr;
    *p++ = '/';
    p = std::to_chars(p, p + 20, event.time).ptr;
    *p++ = '/';
    // The text of getTimeString(startTime, time), written in place.
    p = talvex::writeTimeString(p, startTime, event.time);
    *p++ = ')';
    *p++ = ' ';
    appendRange(text, buffer, p);
}

// Appends one frame line: number, events (each ending in a space), then the start status.
void appendFrame(std::string& text, unsigned long frameNumber,
                 const TalvexFrameRecord::FrameEvent& frame) {
    const TalvexFrameRecord::FrameStartStatus& status = frame.mStartStatus;
    text += "  FrameNumber:";
    appendDecimal(text, frameNumber);
    text += " Events: ";
    for (const TalvexFrameRecord::Event& event : frame.mEvents) {
        appendEvent(text, event, status.startTime);
    }
    text += " StartStatus: sync:";
    text += status.sync ? '1' : '0';
    text += " wait:";
    text += status.wait ? '1' : '0';
    text += " numAvailable:";
    appendDecimal(text, status.numAvailable);
    text += " numAcquired:";
    appendDecimal(text, status.numAcquired);
    text += " startTime:";
    appendDecimal(text, status.startTime);
    text += '\n';
}

// Returns a size that the text of `contents` will most likely fit in.
size_t estimateTextSize(const std::unordered_map<int, TalvexFrameRecord::RecordContent>& contents) {
    size_t size = kLayerTextEstimate;
    for (const auto& [layerId, content] : contents) {
        size += kLayerTextEstimate + content.mName.size() + content.mSurfaceControlName.size();
        for (const auto* frames : {&content.mSyncedFrameEvents, &content.mNormalFrameEvents}) {
            for (const auto& [frameNumber, frame] : *frames) {
                size += kFrameTextEstimate + frame.mEvents.size() * kEventTextEstimate;
            }
        }
    }
    return size;
}

}  // namespace

void TalvexFrameRecord::dumpAllRecordContent(std::string& out) {
    if (!mEnable) return;
    // Held until the last line, so the dump shows one moment of the record.
    std::lock_guard<std::mutex> lock(mMutex);

    // Written straight after what the caller already has: one reservation, and no second copy of
    // a text that runs to hundreds of kilobytes.
    out.reserve(out.size() + estimateTextSize(mRecordContents));
    out += "---Dump Process ";
    out += talvex::programName();
    out += " All Frame Record START, Size:";
    appendDecimal(out, mRecordContents.size());
    out += "---\n";
    for (const auto& [layerId, content] : mRecordContents) {
        out += "LayerId:";
        appendDecimal(out, layerId);
        out += " BlastBufferQueue Name:";
        out += content.mName;
        out += " SurfaceControl Name:";
        out += content.mSurfaceControlName;
        out += "\n SurfaceControl:";
        appendPointer(out, content.mSurfaceControl);
        out += " mBlastBufferQueue:";
        appendPointer(out, content.mBlastBufferQueue);
        out += " mLayerHandle:";
        appendPointer(out, content.mLayerHandle);
        // Synced before normal, deliberately; frames in ascending number within each.
        out += "\n Synced Frame Event Record:\n";
        for (const auto& [frameNumber, frame] : content.mSyncedFrameEvents) {
            appendFrame(out, frameNumber, frame);
        }
        out += " Normal Frame Event Record:\n";
        for (const auto& [frameNumber, frame] : content.mNormalFrameEvents) {
            appendFrame(out, frameNumber, frame);
        }
    }
    out += "---Dump All Frame Record END---\n";
}

}  // namespace android
