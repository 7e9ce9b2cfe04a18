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

#include "dump_parser.h"

#include <algorithm>
#include <cstring>

#include "text_cursor.h"

namespace talvex::explain {

struct CorePrefix {
    std::string_view name, key, body;
    uint64_t uniqueId = 0;
    int api = 0, pid = 0;
};

namespace {

constexpr std::string_view kHelperTag = "TalvexBufferQueueHelper";
constexpr std::string_view kRecordMarker = "Talvex-Graphics:";
constexpr std::string_view kTriggerText =
    "dumpStateAndFrameRecord call blastbufferqueue check: dumpflag:";
constexpr std::string_view kLimiterText = "Not Support over 4k, change width:";
constexpr std::string_view kBlastStart =
    "Talvex-Graphics:dumpBlastStateAndFrameRecordLocked Start, nowTime:";
// The header formats of enough lines to name the log's format; after them only lines that may
// be the library's are split, which keeps long logs fast.
constexpr uint64_t kFormatSampleLines = 4096;
// The longest message liblog writes; a longer one is cut to it.
constexpr size_t kLogMessageLimit = 1023;
// Past this many, warnings are counted, not kept: binary junk must not fill memory.
constexpr size_t kMaxWarnings = 1000;

bool contains(std::string_view text, std::string_view needle) {
    return memmem(text.data(), text.size(), needle.data(), needle.size()) != nullptr;
}

// A line worth splitting: it names the library (tag or text), or carries a queue prefix.
bool mayBeLibraryLine(std::string_view line) {
    return contains(line, "](") || contains(line, "Talvex") || contains(line, "Not Support") ||
           contains(line, "blastbufferqueue check");
}

// What a line shows to a person in a warning: at most 80 characters, control bytes as '?'.
std::string excerpt(std::string_view text) {
    std::string out(text.substr(0, 80));
    for (char& c : out) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
    }
    if (text.size() > 80) out += "...";
    return out;
}

// "[%s](id:%lx,api:%d,p:%d,c:%lu)": the first "](id:" after which the rest of the prefix
// follows, since a queue name may itself hold "](".
std::optional<CorePrefix> parseCorePrefix(std::string_view message) {
    for (size_t at = message.find("](id:"); at != std::string_view::npos;
         at = message.find("](id:", at + 1)) {
        TextCursor c(message.substr(at + 5));
        CorePrefix p;
        uint64_t creator = 0;
        if (c.number(&p.uniqueId, 16) && c.lit(",api:") && c.number(&p.api) && c.lit(",p:") &&
            c.number(&p.pid) && c.lit(",c:") && c.number(&creator) && c.lit(")")) {
            p.name = message.substr(1, at - 1);
            p.body = c.rest();
            // The queue's name and id: api and pid may change while the dump is printed.
            const size_t idEnd = message.find(',', at);
            p.key = message.substr(0, idEnd);
            return p;
        }
    }
    return std::nullopt;
}

struct BlastPrefix {
    std::string_view name, body;
    uint32_t framesAvailable = 0, acquired = 0;
};

// "[%s](f:%u,a:%u) ", then the dump's own line.
std::optional<BlastPrefix> parseBlastPrefix(std::string_view message) {
    for (size_t at = message.find("](f:"); at != std::string_view::npos;
         at = message.find("](f:", at + 1)) {
        TextCursor c(message.substr(at + 4));
        BlastPrefix p;
        if (c.number(&p.framesAvailable) && c.lit(",a:") && c.number(&p.acquired) && c.lit(")")) {
            c.lit(" ");
            p.name = message.substr(1, at - 1);
            p.body = c.rest();
            return p;
        }
    }
    return std::nullopt;
}

std::string blastKey(int pid, std::string_view name) {
    return std::to_string(pid) + '\n' + std::string(name);
}

}  // namespace

void DumpParser::addLine(std::string_view line, size_t droppedBytes) {
    ++mLine;
    mResult.bytes += line.size() + droppedBytes + 1;
    if (droppedBytes) {
        warn(mLine, "a line of " + std::to_string(line.size() + droppedBytes) +
                        " bytes, far longer than any log entry: only its first " +
                        std::to_string(line.size()) + " are read");
    }
    if (line.empty()) {
        mInLongEntry = false;  // a blank line ends a long-format entry
        return;
    }
    const std::string_view plain = withoutColor(line);
    if (plain.size() > 2 && plain[0] == '[' && plain[1] == ' ') {
        LogLine header = parseLogLine(plain);
        if (header.format == LogFormat::kLongHeader) {
            ++mFormatCounts[static_cast<size_t>(LogFormat::kLongHeader)];
            mInLongEntry = true;
            mLongPid = header.pid;
            mLongTid = header.tid;
            mLongTag = std::string(header.tag);
            mLongTimestamp = std::string(header.timestamp);
            return;
        }
    }
    const bool candidate = mayBeLibraryLine(line);
    if (mInLongEntry) {
        if (candidate) {
            handleMessage(plain, Meta{mLongPid, mLongTid, mLongTag, mLongTimestamp});
        }
        return;
    }
    if (!candidate && mLine > kFormatSampleLines) return;
    const LogLine parsed = parseLogLine(line);
    ++mFormatCounts[static_cast<size_t>(parsed.format)];
    if (candidate) {
        handleMessage(parsed.message, Meta{parsed.pid, parsed.tid, parsed.tag, parsed.timestamp});
    }
}

Origin DumpParser::originOf(const Meta& meta) const {
    Origin origin;
    origin.firstLine = origin.lastLine = mLine;
    origin.pid = meta.pid;
    origin.tid = meta.tid;
    origin.timestamp = std::string(meta.timestamp);
    return origin;
}

void DumpParser::warn(uint64_t line, std::string text) {
    if (mResult.warnings.size() >= kMaxWarnings) {
        ++mDroppedWarnings;
        return;
    }
    mResult.warnings.push_back({line, std::move(text)});
}

void DumpParser::handleMessage(std::string_view message, const Meta& meta) {
    mMessageSize = message.size();
    if (message.size() > 1 && message[0] == '[') {
        if (auto core = parseCorePrefix(message)) {
            coreLine(*core, meta);
            return;
        }
        if (auto blast = parseBlastPrefix(message)) {
            blastLine(blast->name, blast->framesAvailable, blast->acquired, blast->body, meta);
            return;
        }
    }
    // A dump line whose queue prefix is not where the message starts sits in a layout this
    // reader does not know: say so rather than lose it in silence.
    if (message.empty() || message[0] != '[') {
        const size_t at = std::min(message.find("](id:"), message.find("](f:"));
        if (at != std::string_view::npos) {
            warn(mLine, "a dump line in a log layout not recognised, not read: " +
                            excerpt(message.substr(0, at)));
            return;
        }
    }
    otherLibraryLine(message, meta);
}

void DumpParser::otherLibraryLine(std::string_view message, const Meta& meta) {
    TextCursor c(message);
    if (c.lit(kTriggerText)) {
        TriggerLine t{originOf(meta)};
        if (c.flag(&t.dumpFlag) && c.lit(", enableCallback:") && c.flag(&t.enableCallback) &&
            c.end()) {
            mResult.triggers.push_back(std::move(t));
        } else {
            warn(mLine, "unreadable dump trigger line: " + excerpt(message));
        }
        return;
    }
    if (c.lit(kLimiterText)) {
        LimiterLine l{originOf(meta)};
        if (c.number(&l.width) && c.lit("->") && c.number(&l.cappedWidth) && c.lit(" height:") &&
            c.number(&l.height) && c.lit("->") && c.number(&l.cappedHeight) && c.end()) {
            mResult.limiters.push_back(std::move(l));
        } else {
            warn(mLine, "unreadable buffer size limiter line: " + excerpt(message));
        }
        return;
    }
    if (c.lit(kRecordMarker)) {
        CompositorLine l{originOf(meta)};
        if (c.lit("callSurfaceFlingerByLayer async over: #")) {
            if (c.number(&l.layerId) && c.end()) {
                mResult.compositorLines.push_back(std::move(l));
            } else {
                warn(mLine, "unreadable compositor request line: " + excerpt(message));
            }
        } else if (c.lit("get defaultServiceManager failed")) {
            l.kind = CompositorLine::Kind::kNoServiceManager;
            mResult.compositorLines.push_back(std::move(l));
        } else if (c.lit("serviceManager get SurfaceFlinger failed")) {
            l.kind = CompositorLine::Kind::kNoCompositor;
            mResult.compositorLines.push_back(std::move(l));
        }
        return;  // construction and progress lines carry nothing to rebuild
    }
    if (meta.tag == kHelperTag) warn(mLine, "unrecognised line of the helper: " + excerpt(message));
}

void DumpParser::closeTruncated(const char* what, const std::string& name, const Origin& origin,
                                const char* why) {
    warn(origin.firstLine, std::string("the ") + what + " of \"" + name +
                               "\" that starts here is cut short (" + why + "); kept up to line " +
                               std::to_string(origin.lastLine));
}

void DumpParser::coreLine(const CorePrefix& prefix, const Meta& meta) {
    const std::string_view name = prefix.name, key = prefix.key, body = prefix.body;
    auto open = mOpenCores.find(key);
    if (body.substr(0, 25) == " ---dumpBbqStateDirectly:") {
        if (open != mOpenCores.end()) {
            const CoreDump& old = mResult.coreDumps[open->second];
            closeTruncated("core dump", old.name, old.origin, "a new dump of it began");
            mOpenCores.erase(open);
        }
        open = mOpenCores.end();
    } else if (open == mOpenCores.end()) {
        warn(mLine, "core dump line of \"" + std::string(name) +
                        "\" without its start line; read from here");
    }
    if (open == mOpenCores.end()) {
        CoreDump dump;
        dump.origin = originOf(meta);
        dump.name = std::string(name);
        dump.uniqueId = prefix.uniqueId;
        dump.creatorPid = prefix.uniqueId >> 32;
        if (dump.origin.pid < 0) dump.origin.pid = static_cast<int>(dump.creatorPid);
        mResult.coreDumps.push_back(std::move(dump));
        open = mOpenCores.emplace(std::string(key), mResult.coreDumps.size() - 1).first;
    }
    CoreDump& dump = mResult.coreDumps[open->second];
    dump.origin.lastLine = mLine;
    // The producer may connect or disconnect while the dump is printed: the last line holds.
    dump.connectedApi = prefix.api;
    dump.connectedPid = prefix.pid;
    if (!applyCoreLine(dump, body, mLine)) {
        warn(mLine, "unrecognised line in the core dump of \"" + dump.name + "\": " + excerpt(body));
    }
    if (dump.complete) mOpenCores.erase(open);
}

void DumpParser::blastLine(std::string_view name, uint32_t f, uint32_t a, std::string_view body,
                           const Meta& meta) {
    const std::string key = blastKey(meta.pid, name);
    auto open = mOpenBlasts.find(key);
    TextCursor start(body);
    const bool isStart = start.lit(kBlastStart);
    if (isStart) {
        if (open != mOpenBlasts.end()) {
            const BlastDump& old = mResult.blastDumps[open->second.index];
            closeTruncated("BLAST dump", old.queueName, old.origin, "a new dump of it began");
            mOpenBlasts.erase(open);
        }
        open = mOpenBlasts.end();
    } else if (open == mOpenBlasts.end()) {
        warn(mLine, "BLAST dump line of \"" + std::string(name) +
                        "\" without its start line; read from here");
    }
    if (open == mOpenBlasts.end()) {
        BlastDump dump;
        dump.origin = originOf(meta);
        dump.queueName = std::string(name);
        dump.framesAvailable = f;
        dump.acquired = a;
        mResult.blastDumps.push_back(std::move(dump));
        open = mOpenBlasts.emplace(key, OpenBlast{mResult.blastDumps.size() - 1, {}}).first;
    }
    BlastDump& dump = mResult.blastDumps[open->second.index];
    dump.origin.lastLine = mLine;
    if (isStart) {
        if (!(start.number(&dump.nowTime) && start.end())) {
            warn(mLine, "unreadable time in the BLAST dump start line: " + excerpt(body));
        }
        return;
    }
    if (!applyBlastLine(dump, open->second.cursor, body, mLine)) {
        // liblog cuts a message at 1023 bytes; what could be read of it was kept.
        warn(mLine, (mMessageSize == kLogMessageLimit
                         ? "line cut short by the log's " + std::to_string(kLogMessageLimit) +
                               "-byte limit in the BLAST dump of \""
                         : "unrecognised line in the BLAST dump of \"") +
                        dump.queueName + "\": " + excerpt(body));
    }
    if (dump.complete) mOpenBlasts.erase(open);
}

Analysis DumpParser::finish() {
    for (const auto& [key, index] : mOpenCores) {
        const CoreDump& dump = mResult.coreDumps[index];
        closeTruncated("core dump", dump.name, dump.origin, "its end line is missing");
    }
    for (const auto& [key, open] : mOpenBlasts) {
        const BlastDump& dump = mResult.blastDumps[open.index];
        closeTruncated("BLAST dump", dump.queueName, dump.origin, "its end line is missing");
    }
    mOpenCores.clear();
    mOpenBlasts.clear();
    std::stable_sort(mResult.warnings.begin(), mResult.warnings.end(),
                     [](const Warning& l, const Warning& r) { return l.line < r.line; });
    if (mDroppedWarnings) {
        mResult.warnings.push_back(
            {0, std::to_string(mDroppedWarnings) + " more warnings not shown"});
    }

    mResult.lines = mLine;
    // Raw only when no line had a header: a bugreport's long preamble before its logcat is
    // not a raw log.
    size_t best = 0;
    for (size_t i = 1; i < mFormatCounts.size(); ++i) {
        if (mFormatCounts[i] > (best ? mFormatCounts[best] : 0)) best = i;
    }
    mResult.format = logFormatName(static_cast<LogFormat>(best));
    if (mLine == 0) {
        mResult.warnings.push_back({0, "the input is empty"});
    } else if (best == static_cast<size_t>(LogFormat::kRaw)) {
        mResult.warnings.insert(mResult.warnings.begin(),
                                {1,
                                 "no logcat header recognised; every line is read as a bare "
                                 "message (logcat -v raw)"});
    }
    return std::move(mResult);
}

}  // namespace talvex::explain
