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

#include <nlohmann/json.hpp>

#include "explain.h"
#include "report.h"

namespace talvex::explain {

using nlohmann::json;

void to_json(json& j, const Origin& o) {
    j = json{{"first_line", o.firstLine},
             {"last_line", o.lastLine},
             {"pid", o.pid},
             {"tid", o.tid},
             {"timestamp", o.timestamp}};
}

void to_json(json& j, const ReleaseId& id) {
    j = id.invalid ? json("INVALID_ID")
                   : json{{"buffer_id", id.bufferId}, {"frame_number", id.frameNumber}};
}

void to_json(json& j, const SlotState& s) {
    static const char* kGroups[] = {"active", "free_buffer", "free_slot"};
    j = json{{"slot", s.slot},          {"group", kGroups[static_cast<int>(s.group)]},
             {"acquired", s.acquired},  {"state", s.state},
             {"buffer", s.buffer},      {"handle", s.handle},
             {"buffer_id", s.bufferId}, {"frame", s.frame},
             {"width", s.width},        {"height", s.height},
             {"stride", s.stride},      {"format", s.format},
             {"line", s.line}};
}

void to_json(json& j, const CoreDump& d) {
    j = json{{"origin", d.origin},
             {"name", d.name},
             {"unique_id", d.uniqueId},
             {"connected_api", d.connectedApi},
             {"connected_pid", d.connectedPid},
             {"creator_pid", d.creatorPid},
             {"queued", d.queued},
             {"max_acquired", d.maxAcquired},
             {"max_dequeued", d.maxDequeued},
             {"dequeue_cannot_block", d.dequeueCannotBlock},
             {"async_mode", d.asyncMode},
             {"default_size", {d.defaultWidth, d.defaultHeight}},
             {"default_format", d.defaultFormat},
             {"frame_counter", d.frameCounter},
             {"slots", d.slots},
             {"complete", d.complete}};
}

void to_json(json& j, const FrameRecordFrame& f) {
    json events = json::array();
    for (const FrameEvent& e : f.events) {
        events.push_back({{"step", frameTypeName(e.type)},
                          {"value", e.type},
                          {"index", e.index},
                          {"time_ns", e.time}});
    }
    j = json{{"frame", f.number},
             {"synced", f.synced},
             {"events", events},
             {"sync", f.sync},
             {"wait", f.wait},
             {"num_available", f.numAvailable},
             {"num_acquired", f.numAcquired},
             {"start_time_ns", f.startTime},
             {"line", f.line}};
}

void to_json(json& j, const FrameRecordLayer& l) {
    j = json{{"layer_id", l.id},
             {"queue_name", l.queueName},
             {"surface_control_name", l.surfaceControlName},
             {"surface_control", l.surfaceControl},
             {"blast_queue", l.blastQueue},
             {"layer_handle", l.layerHandle},
             {"frames", l.frames},
             {"line", l.line}};
}

void to_json(json& j, const BlastDump& d) {
    j = json{{"origin", d.origin},
             {"queue_name", d.queueName},
             {"frames_available", d.framesAvailable},
             {"acquired", d.acquired},
             {"now_ns", d.nowTime},
             {"complete", d.complete}};
    if (d.hasBlast) {
        const BlastState& b = d.blast;
        json submitted = json::array();
        for (const SubmittedBuffer& s : b.submitted) {
            submitted.push_back({{"id", s.id},
                                 {"frame", s.frame},
                                 {"api", s.api},
                                 {"slot", s.slot},
                                 {"line", s.line}});
        }
        json pending = json::array();
        for (const auto& [frame, transaction] : b.pendingTransactions) {
            pending.push_back({{"frame", frame}, {"transaction", transaction}});
        }
        json surfaces = json::array();
        for (const auto& [name, address] : b.surfacesWithPendingCallback) {
            surfaces.push_back({{"name", name}, {"address", address}});
        }
        j["blast"] = json{{"name", b.name},
                          {"queued_buffer_trace", b.queuedBufferTrace},
                          {"surface_control_name", b.surfaceControlName},
                          {"surface_control", b.surfaceControl},
                          {"max_acquired_buffers", b.maxAcquiredBuffers},
                          {"producer_id", b.producerId},
                          {"current_max_acquired", b.currentMaxAcquired},
                          {"submitted", submitted},
                          {"pending_release", b.pendingRelease},
                          {"transaction_ready_callback", b.transactionReadyCallback},
                          {"sync_transaction", b.syncTransaction},
                          {"acquire_single_buffer", b.acquireSingleBuffer},
                          {"pending_transactions", pending},
                          {"last_acquired_frame", b.lastAcquiredFrame},
                          {"last_applied_frame", b.lastAppliedFrame},
                          {"applied_last_transaction", b.appliedLastTransaction},
                          {"surfaces_with_pending_callback", surfaces},
                          {"synced_frames", b.syncedFrames},
                          {"complete", b.complete}};
    }
    if (d.record) {
        j["frame_record"] = json{{"program", d.record->program},
                                 {"declared_layers", d.record->declaredLayers},
                                 {"layers", d.record->layers},
                                 {"complete", d.record->complete}};
    }
    if (d.listener) {
        const ListenerState& l = *d.listener;
        json callbacks = json::array();
        for (const PendingCallback& c : l.callbacks) {
            json surfaces = json::array();
            for (const LayerRef& s : c.surfaces) {
                surfaces.push_back(
                    {{"handle", s.handle}, {"surface_control", s.surfaceControl}, {"name", s.name}});
            }
            callbacks.push_back(
                {{"id", c.id},
                 {"kind", c.onComplete ? "complete" : "commit"},
                 {"add_time_ns", c.addTime},
                 {"age_ns", c.addTime && l.now ? json(elapsed(c.addTime, l.now)) : json()},
                 {"has_function", c.hasFunction},
                 {"surfaces", surfaces},
                 {"line", c.line}});
        }
        json releases = json::array();
        for (const ReleaseCallback& r : l.releases) {
            releases.push_back({{"id", r.id}, {"has_target", r.hasTarget}});
        }
        j["listener"] =
            json{{"declared_counts", {l.declaredCallbacks, l.declaredReleases, l.declaredTimes}},
                 {"callbacks", callbacks},
                 {"release_callbacks", releases},
                 {"release_line", l.releaseLine},
                 {"now_ns", l.now},
                 {"complete", l.complete}};
    }
}

void writeJson(const Analysis& a, std::ostream& out) {
    json j;
    j["version"] = kJsonSchemaVersion;
    j["input"] = {{"lines", a.lines}, {"bytes", a.bytes}, {"format", a.format}};
    j["core_dumps"] = a.coreDumps;
    j["blast_dumps"] = a.blastDumps;
    j["triggers"] = json::array();
    for (const TriggerLine& t : a.triggers) {
        j["triggers"].push_back({{"origin", t.origin},
                                 {"dump_flag", t.dumpFlag},
                                 {"enable_callback", t.enableCallback}});
    }
    j["limiter"] = json::array();
    for (const LimiterLine& l : a.limiters) {
        j["limiter"].push_back({{"origin", l.origin},
                                {"requested", {l.width, l.height}},
                                {"capped", {l.cappedWidth, l.cappedHeight}}});
    }
    j["compositor_requests"] = json::array();
    static const char* kKinds[] = {"sent", "no_service_manager", "no_compositor"};
    for (const CompositorLine& c : a.compositorLines) {
        j["compositor_requests"].push_back({{"origin", c.origin},
                                            {"result", kKinds[static_cast<int>(c.kind)]},
                                            {"layer_id", c.layerId}});
    }
    j["findings"] = json::array();
    for (const Finding& f : a.findings) {
        j["findings"].push_back({{"kind", f.kind},
                                 {"pid", f.pid},
                                 {"layer", f.layer},
                                 {"frames", f.frames},
                                 {"callbacks", f.callbacks},
                                 {"summary", f.summary},
                                 {"evidence_lines", f.evidence}});
    }
    j["latencies"] = json::array();
    for (const LayerLatency& l : a.latencies) {
        json steps = json::array();
        for (const StepLatency& s : l.steps) {
            steps.push_back({{"from", s.from},
                             {"to", s.to},
                             {"samples", s.samples},
                             {"median_ns", s.median},
                             {"p90_ns", s.p90},
                             {"max_ns", s.max}});
        }
        j["latencies"].push_back({{"pid", l.pid}, {"layer", l.layer}, {"steps", steps}});
    }
    j["warnings"] = json::array();
    for (const Warning& w : a.warnings)
        j["warnings"].push_back({{"line", w.line}, {"text", w.text}});
    // Text from a log may hold bytes that are not UTF-8: replace them rather than fail.
    out << j.dump(2, ' ', false, json::error_handler_t::replace) << "\n";
}

}  // namespace talvex::explain
