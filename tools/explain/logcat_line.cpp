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

#include "logcat_line.h"

#include <cctype>

namespace talvex::explain {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isPriority(char c) {
    switch (c) {
        case 'V':
        case 'D':
        case 'I':
        case 'W':
        case 'E':
        case 'F':
        case 'S':
        case 'A':
            return true;
        default:
            return false;
    }
}

// A cursor over the line; every scan either advances past what it matched or leaves it alone.
class Scanner {
public:
    explicit Scanner(std::string_view text) : mText(text) {}

    size_t pos() const { return mPos; }
    void reset(size_t pos) { mPos = pos; }
    bool atEnd() const { return mPos >= mText.size(); }
    char peek(size_t ahead = 0) const {
        return mPos + ahead < mText.size() ? mText[mPos + ahead] : '\0';
    }
    std::string_view rest() const { return mText.substr(std::min(mPos, mText.size())); }
    std::string_view slice(size_t from) const { return mText.substr(from, mPos - from); }

    size_t skipSpaces() {
        size_t n = 0;
        while (peek() == ' ') ++mPos, ++n;
        return n;
    }
    bool literal(char c) {
        if (peek() != c) return false;
        ++mPos;
        return true;
    }
    // At least `minDigits` digits; writes their value (saturating at 2^31) when asked.
    bool digits(size_t minDigits, int* value = nullptr) {
        size_t start = mPos;
        long long v = 0;
        while (isDigit(peek())) {
            if (v < (1LL << 31)) v = v * 10 + (peek() - '0');
            ++mPos;
        }
        if (mPos - start < minDigits) {
            mPos = start;
            return false;
        }
        if (value) *value = static_cast<int>(v < (1LL << 31) ? v : (1LL << 31) - 1);
        return true;
    }
    // A run of letters, digits and '_' (an account name or a number); false when there is none.
    bool word() {
        const size_t start = mPos;
        while (std::isalnum(static_cast<unsigned char>(peek())) || peek() == '_') ++mPos;
        return mPos > start;
    }
    bool number(int* value) {
        size_t start = mPos;
        skipSpaces();
        if (digits(1, value)) return true;
        mPos = start;
        return false;
    }

private:
    std::string_view mText;
    size_t mPos = 0;
};

// "MM-DD HH:MM:SS.fff", "YYYY-MM-DD HH:MM:SS.fff", "SSSSSSSSSS.fff" (epoch) or "  SSSS.fff"
// (monotonic), then an optional zone ("+0100", "UTC").
bool scanTimestamp(Scanner& s) {
    const size_t start = s.pos();
    s.skipSpaces();
    const size_t first = s.pos();
    if (!s.digits(1)) return s.reset(start), false;
    const size_t firstDigits = s.pos() - first;
    if (s.peek() == '-') {
        s.literal('-');
        if (firstDigits != 2 && firstDigits != 4) return s.reset(start), false;
        if (firstDigits == 4 && !(s.digits(2) && s.literal('-'))) return s.reset(start), false;
        if (!(s.digits(2) && s.literal(' ') && s.digits(2) && s.literal(':') && s.digits(2) &&
              s.literal(':') && s.digits(2))) {
            return s.reset(start), false;
        }
    } else if (s.peek() != '.') {
        return s.reset(start), false;
    }
    if (s.literal('.') && !s.digits(1)) return s.reset(start), false;
    const size_t beforeZone = s.pos();
    if (s.literal(' ')) {
        const size_t zone = s.pos();
        if ((s.literal('+') || s.literal('-')) && s.digits(4) && s.peek() == ' ') return true;
        s.reset(zone);
        while (std::isupper(static_cast<unsigned char>(s.peek()))) s.reset(s.pos() + 1);
        const size_t letters = s.pos() - zone;
        if (letters >= 2 && letters <= 5 && s.peek() == ' ') return true;
        s.reset(beforeZone);
    }
    return true;
}

// The uid `-v uid` puts before the pid: a number, or an account name of up to five characters
// ("shell", "root"), right-aligned in five columns and followed by ':' (by a blank in
// threadtime). Longer names ("u0_a123") are read too. Leaves the cursor alone when absent.
bool scanUid(Scanner& s, bool colon) {
    const size_t start = s.pos();
    s.skipSpaces();
    if (s.word() && (colon ? s.literal(':') : (s.literal(':') || s.peek() == ' '))) return true;
    s.reset(start);
    return false;
}

// Tag then ": " then the message: threadtime and tag. The tag is padded to eight with blanks.
bool scanTagColonMessage(Scanner& s, LogLine& out) {
    std::string_view rest = s.rest();
    size_t colon = rest.find(": ");
    if (colon == std::string_view::npos) {
        // An empty message leaves the colon last.
        if (rest.empty() || rest.back() != ':') return false;
        colon = rest.size() - 1;
    }
    std::string_view tag = rest.substr(0, colon);
    while (!tag.empty() && tag.back() == ' ') tag.remove_suffix(1);
    out.tag = tag;
    out.message = colon + 2 <= rest.size() ? rest.substr(colon + 2) : std::string_view();
    return true;
}

// "pid tid P tag: message" after a time (threadtime), with "uid " before the pid in the uid
// variant.
bool scanThreadtime(Scanner& s, LogLine& out) {
    const size_t start = s.pos();
    for (bool uid : {false, true}) {
        s.reset(start);
        if (uid && !scanUid(s, /*colon=*/false)) break;
        if (s.number(&out.pid) && s.number(&out.tid) && s.literal(' ') && isPriority(s.peek()) &&
            s.peek(1) == ' ') {
            out.priority = s.peek();
            s.reset(s.pos() + 2);
            if (scanTagColonMessage(s, out)) return true;
        }
    }
    s.reset(start);
    out.pid = out.tid = -1;
    return false;
}

// "P/tag(  pid): message" (brief, time; "( uid:  pid)" in the uid variant) or "P/tag: message"
// (tag).
bool scanSlashTag(Scanner& s, LogLine& out, bool allowTagFormat) {
    if (!isPriority(s.peek()) || s.peek(1) != '/') return false;
    const size_t start = s.pos();
    out.priority = s.peek();
    s.reset(s.pos() + 2);
    const std::string_view rest = s.rest();
    for (size_t open = rest.find('('); open != std::string_view::npos;
         open = rest.find('(', open + 1)) {
        Scanner inner(rest.substr(open + 1));
        int pid = -1;
        scanUid(inner, /*colon=*/true);
        if (inner.number(&pid) && inner.literal(')') && inner.literal(':')) {
            std::string_view tag = rest.substr(0, open);
            while (!tag.empty() && tag.back() == ' ') tag.remove_suffix(1);
            out.tag = tag;
            out.pid = pid;
            inner.literal(' ');
            out.message = inner.rest();
            out.format = LogFormat::kBrief;
            return true;
        }
    }
    if (allowTagFormat && scanTagColonMessage(s, out)) {
        out.format = LogFormat::kTag;
        return true;
    }
    s.reset(start);
    out.priority = 0;
    return false;
}

// "P(  pid) message  (tag)" (process) or "P(  pid:  tid) message" (thread); the uid variant puts
// "  uid:" before the pid. Two numbers are a uid and a pid when the line ends in the process
// layout's "  (tag)", else a pid and a tid: the parentheses alone cannot tell them apart.
bool scanParenPid(Scanner& s, LogLine& out) {
    if (!isPriority(s.peek()) || s.peek(1) != '(') return false;
    const size_t start = s.pos();
    const char priority = s.peek();
    s.reset(s.pos() + 2);
    int numbers[3] = {-1, -1, -1};
    size_t count = 0;
    bool named = false;  // the uid is an account name, so it is certainly there
    if (s.number(&numbers[0])) {
        count = 1;
    } else {
        s.skipSpaces();
        if (!s.word()) return s.reset(start), false;
        named = true;
    }
    while (count + (named ? 1 : 0) < 3 && s.literal(':')) {
        if (!s.number(&numbers[count++])) return s.reset(start), false;
    }
    if (!(s.literal(')') && s.literal(' '))) return s.reset(start), false;
    const std::string_view rest = s.rest();
    const size_t open = rest.rfind("  (");
    const bool tagLast = open != std::string_view::npos && rest.back() == ')';
    const bool numericUid = !named && (count == 3 || (count == 2 && tagLast));
    const int* ids = numbers + (numericUid ? 1 : 0);
    const size_t idCount = count - (numericUid ? 1 : 0);
    if (idCount == 2) {
        out.format = LogFormat::kThread;
        out.tid = ids[1];
        out.message = rest;
    } else if (idCount == 1 && tagLast) {
        out.format = LogFormat::kProcess;
        out.tag = rest.substr(open + 3, rest.size() - open - 4);
        out.message = rest.substr(0, open);
    } else {
        return s.reset(start), false;
    }
    out.priority = priority;
    out.pid = ids[0];
    return true;
}

// "[ time pid: tid P/tag ]" (long; the message follows on the next lines).
bool scanLongHeader(std::string_view line, LogLine& out) {
    if (line.size() < 4 || line.substr(0, 2) != "[ " || line.substr(line.size() - 2) != " ]") {
        return false;
    }
    Scanner s(line.substr(1, line.size() - 3));
    const size_t timeStart = s.pos();
    if (!scanTimestamp(s)) return false;
    std::string_view timestamp = s.slice(timeStart);
    while (!timestamp.empty() && timestamp.front() == ' ') timestamp.remove_prefix(1);
    const size_t afterTime = s.pos();
    int pid = -1, tid = -1;
    auto ids = [&] {
        return s.number(&pid) && s.literal(':') && s.number(&tid) && s.literal(' ') &&
               isPriority(s.peek()) && s.peek(1) == '/';
    };
    if (!ids()) {
        s.reset(afterTime);
        if (!(scanUid(s, /*colon=*/true) && ids())) return false;
    }
    out.priority = s.peek();
    s.reset(s.pos() + 2);
    std::string_view tag = s.rest();
    while (!tag.empty() && tag.back() == ' ') tag.remove_suffix(1);
    out.format = LogFormat::kLongHeader;
    out.pid = pid;
    out.tid = tid;
    out.tag = tag;
    out.timestamp = timestamp;
    return true;
}

}  // namespace

std::string_view withoutColor(std::string_view line) {
    if (line.size() > 2 && line[0] == '\x1b' && line[1] == '[') {
        size_t end = 2;
        while (end < line.size() && (isDigit(line[end]) || line[end] == ';')) ++end;
        if (end < line.size() && line[end] == 'm') line.remove_prefix(end + 1);
    }
    constexpr std::string_view kReset = "\x1b[0m";
    if (line.size() >= kReset.size() && line.substr(line.size() - kReset.size()) == kReset) {
        line.remove_suffix(kReset.size());
    }
    return line;
}

const char* logFormatName(LogFormat format) {
    switch (format) {
        case LogFormat::kRaw:
            return "raw";
        case LogFormat::kThreadtime:
            return "threadtime";
        case LogFormat::kTime:
            return "time";
        case LogFormat::kBrief:
            return "brief";
        case LogFormat::kProcess:
            return "process";
        case LogFormat::kTag:
            return "tag";
        case LogFormat::kThread:
            return "thread";
        case LogFormat::kLongHeader:
            return "long";
    }
    return "raw";
}

LogLine parseLogLine(std::string_view line) {
    line = withoutColor(line);
    LogLine out;
    if (line.empty()) return out;
    if (line[0] == '[' && scanLongHeader(line, out)) return out;

    Scanner s(line);
    if (isDigit(line[0]) || line[0] == ' ') {
        if (scanTimestamp(s)) {
            std::string_view timestamp = s.slice(0);
            while (!timestamp.empty() && timestamp.front() == ' ') timestamp.remove_prefix(1);
            const size_t afterTime = s.pos();
            if (scanThreadtime(s, out)) {
                out.format = LogFormat::kThreadtime;
                out.timestamp = timestamp;
                return out;
            }
            s.reset(afterTime);
            if (s.literal(' ') && scanSlashTag(s, out, /*allowTagFormat=*/false)) {
                out.format = LogFormat::kTime;
                out.timestamp = timestamp;
                return out;
            }
            out = LogLine();
        }
        s.reset(0);
    }
    if (scanSlashTag(s, out, /*allowTagFormat=*/true)) return out;
    if (scanParenPid(s, out)) return out;
    out = LogLine();
    out.message = line;
    return out;
}

}  // namespace talvex::explain
