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

#include "fuzz/frame_record_model.h"

#include <cinttypes>
#include <cstdio>
#include <sstream>

#include "fuzz/time_string_reference.h"

namespace talvex::fuzz {
namespace {

// The store trims a map that holds this many frames before it starts another.
constexpr size_t kFramesPerMap = 11;

std::string pointerText(const void* pointer) {
    char text[32];
    snprintf(text, sizeof(text), "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(pointer));
    return text;
}

std::string typeText(FrameType type) {
    static const char* const kNames[] = {"onFrameAvailable",
                                         "acquireNextBuffer",
                                         "acquireAndReleaseBuffer",
                                         "onTransactionCompletedCommit",
                                         "onTransactionCompletedComplete",
                                         "transactionCallback",
                                         "transactionCommittedCallback",
                                         "releaseBufferCallback",
                                         "FakeReleaseCallback",
                                         "releaseBufferBBQ",
                                         "syncNextTransaction",
                                         "apply"};
    const int value = static_cast<int>(type);
    return value >= 0 && value < 12 ? kNames[value] : std::to_string(value);
}

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

bool readInt64(const std::string& text, int64_t& value) {
    if (text.empty()) return false;
    char* end = nullptr;
    value = strtoll(text.c_str(), &end, 10);
    return *end == '\0';
}

// Rewrites one frame line of the dump into the model's form, checking each event's time text.
bool readFrameLine(const std::string& line, std::string& out, std::string& error) {
    const std::string eventsLabel = " Events: ";
    const std::string statusLabel = " StartStatus:";
    const std::string startLabel = " startTime:";
    const size_t events = line.find(eventsLabel);
    const size_t status = line.rfind(statusLabel);
    const size_t startTime = line.rfind(startLabel);
    int64_t start = 0;
    if (events == std::string::npos || status == std::string::npos || startTime < status ||
        !readInt64(line.substr(startTime + startLabel.size()), start) || start <= 0) {
        error = "malformed frame line: " + line;
        return false;
    }
    out += line.substr(0, events + eventsLabel.size());
    size_t at = events + eventsLabel.size();
    while (at < status) {
        const size_t open = line.find('(', at);
        const size_t close = line.find(')', at);
        if (open == std::string::npos || close == std::string::npos || close < open ||
            close + 1 >= line.size() || line[close + 1] != ' ') {
            error = "malformed event in: " + line;
            return false;
        }
        std::string fields[3];
        std::istringstream inner(line.substr(open + 1, close - open - 1));
        for (std::string& field : fields) std::getline(inner, field, '/');
        int64_t time = 0;
        if (!readInt64(fields[1], time) || fields[2] != referenceTimeString(start, time)) {
            error = "event time text \"" + fields[2] + "\" does not match its times in: " + line;
            return false;
        }
        out += line.substr(at, open - at) + "(" + fields[0] + ") ";
        at = close + 2;
    }
    if (at != status) {
        error = "events overrun the start status in: " + line;
        return false;
    }
    out += line.substr(status, startTime - status) + "\n";
    return true;
}

}  // namespace

void FrameRecordModel::update(int layerId, const Identity& identity, const std::string& name,
                              const void* queue) {
    Layer& layer = mLayers[layerId];
    layer.identity = identity;
    layer.name = name;
    layer.queue = queue;
}

void FrameRecordModel::clear(int layerId, const void* queue) {
    auto it = mLayers.find(layerId);
    if (it != mLayers.end() && it->second.queue == queue) mLayers.erase(it);
}

void FrameRecordModel::start(int layerId, unsigned long frameNumber,
                             const FrameStartStatus& status) {
    auto it = mLayers.find(layerId);
    if (it == mLayers.end() || frameNumber == 0 || it->second.queue == nullptr) return;
    Layer& layer = it->second;
    for (auto* frames : {&layer.normal, &layer.synced}) {
        if (frames->size() >= kFramesPerMap) frames->erase(frames->begin());
    }
    (status.sync ? layer.synced : layer.normal)[frameNumber].status = status;
}

void FrameRecordModel::event(int layerId, unsigned long frameNumber, FrameType type) {
    auto it = mLayers.find(layerId);
    if (it == mLayers.end()) return;
    Layer& layer = it->second;
    auto frame = layer.normal.find(frameNumber);
    if (frame == layer.normal.end()) {
        frame = layer.synced.find(frameNumber);
        if (frame == layer.synced.end()) return;
    }
    frame->second.events.emplace_back(type, layer.eventCount++);
}

std::map<int, std::string> FrameRecordModel::render() const {
    std::map<int, std::string> blocks;
    for (const auto& [id, layer] : mLayers) {
        std::ostringstream text;
        text << "LayerId:" << id << " BlastBufferQueue Name:" << layer.name
             << " SurfaceControl Name:" << layer.identity.surfaceControlName << "\n"
             << " SurfaceControl:" << pointerText(layer.identity.surfaceControl)
             << " mBlastBufferQueue:" << pointerText(layer.queue)
             << " mLayerHandle:" << pointerText(layer.identity.layerHandle) << "\n";
        for (const auto& [heading, frames] :
             {std::make_pair(" Synced Frame Event Record:\n", &layer.synced),
              std::make_pair(" Normal Frame Event Record:\n", &layer.normal)}) {
            text << heading;
            for (const auto& [number, frame] : *frames) {
                text << "  FrameNumber:" << number << " Events: ";
                for (const auto& [type, index] : frame.events) {
                    text << typeText(type) << "(" << index << ") ";
                }
                text << " StartStatus: sync:" << frame.status.sync << " wait:" << frame.status.wait
                     << " numAvailable:" << frame.status.numAvailable
                     << " numAcquired:" << frame.status.numAcquired << "\n";
            }
        }
        blocks[id] = text.str();
    }
    return blocks;
}

std::map<int, std::string> readDump(const std::string& dump, const std::string& programName,
                                    std::string& error) {
    std::map<int, std::string> blocks;
    std::istringstream in(dump);
    std::string line;
    const std::string header = "---Dump Process " + programName + " All Frame Record START, Size:";
    if (!std::getline(in, line) || !startsWith(line, header)) {
        error = "no header: " + line;
        return blocks;
    }
    const std::string size = line.substr(header.size());
    std::string* block = nullptr;
    bool ended = false;
    while (std::getline(in, line)) {
        if (ended) {
            error = "text after the trailer: " + line;
            return blocks;
        }
        if (line == "---Dump All Frame Record END---") {
            ended = true;
        } else if (startsWith(line, "LayerId:")) {
            const int id = atoi(line.c_str() + 8);
            if (blocks.count(id) != 0) {
                error = "layer printed twice: " + line;
                return blocks;
            }
            block = &blocks[id];
            *block += line + "\n";
        } else if (block == nullptr) {
            error = "line outside a layer: " + line;
            return blocks;
        } else if (startsWith(line, "  FrameNumber:")) {
            if (!readFrameLine(line, *block, error)) return blocks;
        } else {
            *block += line + "\n";
        }
    }
    if (!ended || dump.back() != '\n') {
        error = "no trailer";
    } else if (size != std::to_string(blocks.size()) + "---") {
        error = "header counts " + size + " but the dump holds " + std::to_string(blocks.size());
    }
    return blocks;
}

}  // namespace talvex::fuzz
