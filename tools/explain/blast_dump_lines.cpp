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

using Block = BlastCursor::Block;

// "INVALID_ID" or "bufferId:%lu framenumber:%lu".
bool parseReleaseId(std::string_view text, ReleaseId* id) {
    if (text == "INVALID_ID") {
        *id = ReleaseId{true, 0, 0};
        return true;
    }
    TextCursor c(text);
    id->invalid = false;
    return c.lit("bufferId:") && c.number(&id->bufferId) && c.lit(" framenumber:") &&
           c.number(&id->frameNumber) && c.atEnd();
}

bool blastStateLine(BlastState& b, BlastCursor& cursor, TextCursor& c, uint64_t line) {
    std::string_view a, p;
    if (cursor.inSubmitted && c.lit("   Id:")) {
        SubmittedBuffer s;
        s.line = line;
        if (!(c.until(", Item:", &a) && parseReleaseId(a, &s.id) && c.number(&s.frame) &&
              c.lit(", mApi:") && c.number(&s.api) && c.lit(", mSlot:") && c.number(&s.slot) &&
              c.atEnd())) {
            return false;
        }
        b.submitted.push_back(s);
        return true;
    }
    cursor.inSubmitted = false;
    if (c.lit("mName:")) {
        if (!c.untilLast(", mQueuedBufferTrace:", &a)) return false;
        b.name = std::string(a);
        b.queuedBufferTrace = std::string(c.rest());
        return true;
    }
    if (c.lit("mSurfaceControlsWithPendingCallback:")) {
        return forEachBracketed(c.rest(), [&](std::string_view item) {
            const size_t open = item.rfind('(');
            if (open == std::string_view::npos || item.back() != ')') return false;
            b.surfacesWithPendingCallback.emplace_back(
                std::string(item.substr(0, open)),
                std::string(item.substr(open + 1, item.size() - open - 2)));
            return true;
        });
    }
    if (c.lit("mSurfaceControl:")) {
        if (!(c.untilLast("(", &a) && c.untilLast(")", &p) && c.atEnd())) return false;
        b.surfaceControlName = std::string(a);
        b.surfaceControl = std::string(p);
        return true;
    }
    if (c.lit("mMaxAcquiredBuffers:")) {
        return c.number(&b.maxAcquiredBuffers) && c.lit(", mProducerId:") &&
               c.number(&b.producerId) && c.lit(", mCurrentMaxAcquiredBufferCount:") &&
               c.number(&b.currentMaxAcquired) && c.atEnd();
    }
    if (c.lit("mSubmitted:")) {
        cursor.inSubmitted = true;
        return c.atEnd();
    }
    if (c.lit("mPendingRelease:")) {
        return forEachBracketed(c.rest(), [&](std::string_view item) {
            ReleaseId id;
            if (!parseReleaseId(item, &id)) return false;
            b.pendingRelease.push_back(id);
            return true;
        });
    }
    if (c.lit("mTransactionReadyCallback:")) {
        return c.flag(&b.transactionReadyCallback) && c.lit(", mSyncTransaction:") &&
               c.until(", mAcquireSingleBuffer:", &a) &&
               (b.syncTransaction = std::string(a), c.flag(&b.acquireSingleBuffer)) && c.atEnd();
    }
    if (c.lit("mPendingTransactions:")) {
        return forEachBracketed(c.rest(), [&](std::string_view item) {
            TextCursor i(item);
            uint64_t frame = 0;
            if (!(i.lit("framenumber:") && i.number(&frame) && i.lit("-transaction:"))) {
                return false;
            }
            b.pendingTransactions.emplace_back(frame, std::string(i.rest()));
            return true;
        });
    }
    if (c.lit("mLastAcquiredFrameNumber:")) {
        return c.number(&b.lastAcquiredFrame) && c.lit(", mLastAppliedFrameNumber:") &&
               c.number(&b.lastAppliedFrame) && c.lit(", mAppliedLastTransaction:") &&
               c.flag(&b.appliedLastTransaction) && c.atEnd();
    }
    if (c.lit("mSyncedFrameNumbers:")) {
        for (c.skipSpaces(); !c.atEnd(); c.skipSpaces()) {
            uint64_t frame = 0;
            if (!c.number(&frame)) return false;
            b.syncedFrames.push_back(frame);
        }
        return true;
    }
    if (c.lit("---Dump BlastBufferQueue State END---")) {
        b.complete = true;
        cursor.block = Block::kNone;
        return c.atEnd();
    }
    return false;
}

// "name(index/time/age) " repeated; the events before a broken one are kept.
bool parseEvents(std::string_view text, std::vector<FrameEvent>* events) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    TextCursor c(text);
    while (!c.end()) {
        std::string_view name, age;
        FrameEvent event;
        if (!(c.until("(", &name) && c.number(&event.index) && c.lit("/") &&
              c.number(&event.time) && c.lit("/") && c.until(") ", &age))) {
            return false;
        }
        const std::optional<int> type = frameTypeValue(name);
        if (type) {
            event.type = *type;
        } else {
            TextCursor n(name);
            if (!(n.number(&event.type) && n.atEnd())) return false;
        }
        events->push_back(event);
    }
    return true;
}

bool frameLine(FrameRecordLayer& layer, const BlastCursor& cursor, TextCursor& c, uint64_t line) {
    FrameRecordFrame frame;
    frame.synced = cursor.syncedSection;
    frame.line = line;
    if (!(c.number(&frame.number) && c.lit(" Events: "))) return false;
    // A line cut short (the log's line limit) keeps the frame and the events read, marked cut:
    // its later steps are unknown.
    std::string_view events = c.rest();
    const bool whole =
        c.untilLast(" StartStatus: sync:", &events) && c.flag(&frame.sync) && c.lit(" wait:") &&
        c.flag(&frame.wait) && c.lit(" numAvailable:") && c.number(&frame.numAvailable) &&
        c.lit(" numAcquired:") && c.number(&frame.numAcquired) && c.lit(" startTime:") &&
        c.number(&frame.startTime) && c.atEnd() && parseEvents(events, &frame.events);
    if (!whole) {
        frame.events.clear();
        parseEvents(events, &frame.events);
        frame.cut = true;
    }
    layer.frames.push_back(std::move(frame));
    return whole;
}

bool frameRecordLine(FrameRecord& r, BlastCursor& cursor, TextCursor& c, uint64_t line) {
    std::string_view a, p, h;
    if (c.lit("LayerId:")) {
        FrameRecordLayer layer;
        layer.line = line;
        if (!(c.number(&layer.id) && c.until(" BlastBufferQueue Name:", &a) && a.empty() &&
              c.untilLast(" SurfaceControl Name:", &a))) {
            return false;
        }
        layer.queueName = std::string(a);
        layer.surfaceControlName = std::string(c.rest());
        r.layers.push_back(std::move(layer));
        return true;
    }
    if (r.layers.empty()) {
        if (c.lit("---Dump All Frame Record END---")) {
            r.complete = true;
            cursor.block = Block::kNone;
            return c.atEnd();
        }
        return false;
    }
    FrameRecordLayer& layer = r.layers.back();
    if (c.lit(" SurfaceControl:")) {
        if (!(c.until(" mBlastBufferQueue:", &a) && c.until(" mLayerHandle:", &p))) return false;
        h = c.rest();
        layer.surfaceControl = std::string(a);
        layer.blastQueue = std::string(p);
        layer.layerHandle = std::string(h);
        return true;
    }
    if (c.lit(" Synced Frame Event Record:")) return cursor.syncedSection = true, c.atEnd();
    if (c.lit(" Normal Frame Event Record:")) return cursor.syncedSection = false, c.atEnd();
    if (c.lit("  FrameNumber:")) return frameLine(layer, cursor, c, line);
    if (c.lit("---Dump All Frame Record END---")) {
        r.complete = true;
        cursor.block = Block::kNone;
        return c.atEnd();
    }
    return false;
}

bool callbackLine(ListenerState& l, TextCursor& c, uint64_t line) {
    PendingCallback cb;
    cb.line = line;
    std::string_view kind, age;
    if (!(c.number(&cb.id) && c.lit(",") && c.until(",", &kind) &&
          (kind == "complete" || kind == "commit") && c.number(&cb.addTime) && c.lit("/") &&
          c.until("), Cb:", &age) && c.flag(&cb.hasFunction) && c.lit(" SurfaceControls:"))) {
        return false;
    }
    cb.onComplete = kind == "complete";
    // Once its id, kind and time are read the callback is kept, even if its surfaces are cut
    // short: its age is what matters.
    std::string_view rest = c.rest();
    bool whole = true;
    while (!rest.empty() && whole) {
        TextCursor item(rest);
        std::string_view handle, sc;
        whole = item.lit(" [handle:") && item.until(",sc:", &handle) && item.until(",name:", &sc);
        // A name runs to the "]" before the next item, or to the end of the line.
        std::string_view tail = item.rest();
        size_t next = tail.find("] [handle:");
        if (next == std::string_view::npos) {
            whole = whole && !tail.empty() && tail.back() == ']';
            next = tail.size() - 1;
        }
        if (whole) {
            cb.surfaces.push_back(
                {std::string(handle), std::string(sc), std::string(tail.substr(0, next))});
            rest = tail.substr(next + 1);
        }
    }
    cb.cut = !whole;
    l.callbacks.push_back(std::move(cb));
    return whole;
}

bool releaseLine(ListenerState& l, TextCursor& c) {
    while (!c.end()) {
        std::string_view id;
        ReleaseCallback r;
        // The last item's blank is lost when a copy trims line ends.
        if (!(c.lit("[") && c.until(", cb:", &id) && parseReleaseId(id, &r.id) &&
              c.flag(&r.hasTarget) && (c.lit("] ") || (c.lit("]") && c.atEnd())))) {
            return false;  // what was read is kept; the declared count tells it is short
        }
        l.releases.push_back(r);
    }
    return true;
}

bool listenerLine(ListenerState& l, BlastCursor& cursor, TextCursor& c, uint64_t line) {
    if (c.lit("CallbackId: (")) return callbackLine(l, c, line);
    if (c.lit("ReleaseCallbackId:")) {
        l.releaseLine = line;
        c.lit(" ");
        return releaseLine(l, c);
    }
    if (c.lit("---Dump Current Process All Callback Over, NowBaseTime:")) {
        l.complete = true;
        cursor.block = Block::kDone;
        return c.number(&l.now) && c.lit("---") && c.atEnd();
    }
    return false;
}

}  // namespace

bool applyBlastLine(BlastDump& dump, BlastCursor& cursor, std::string_view body, uint64_t line) {
    TextCursor c(body);
    if (body.empty()) return true;  // an empty piece between two line breaks
    if (c.lit("---Dump BlastBufferQueue State START---")) {
        dump.hasBlast = true;
        dump.blast = BlastState();
        cursor.block = Block::kBlast;
        return c.atEnd();
    }
    if (c.lit("---Dump Process ")) {
        std::string_view program;
        FrameRecord record;
        if (!(c.untilLast(" All Frame Record START, Size:", &program) &&
              c.number(&record.declaredLayers) && c.lit("---") && c.atEnd())) {
            return false;
        }
        record.program = std::string(program);
        dump.record = std::move(record);
        cursor.block = Block::kRecord;
        return true;
    }
    if (c.lit("---Dump Current Process All Callback START, Callbacks:")) {
        ListenerState l;
        if (!(c.number(&l.declaredCallbacks) && c.lit("/") && c.number(&l.declaredReleases) &&
              c.lit("/") && c.number(&l.declaredTimes) && c.lit("---") && c.atEnd())) {
            return false;
        }
        dump.listener = std::move(l);
        cursor.block = Block::kListener;
        return true;
    }
    switch (cursor.block) {
        case Block::kBlast:
            return blastStateLine(dump.blast, cursor, c, line);
        case Block::kRecord:
            return frameRecordLine(*dump.record, cursor, c, line);
        case Block::kListener: {
            const bool ok = listenerLine(*dump.listener, cursor, c, line);
            if (dump.listener->complete) dump.complete = true;
            return ok;
        }
        case Block::kNone:
        case Block::kDone:
            return false;
    }
    return false;
}

}  // namespace talvex::explain
