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

#include "input_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>
#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

namespace talvex::explain {
namespace {

constexpr size_t kChunk = 1 << 20;

ReadResult failed(std::string why) {
    ReadResult result;
    result.error = std::move(why);
    return result;
}

bool endsWith(std::string_view s, std::string_view suffix) {
    return s.size() >= suffix.size() && s.substr(s.size() - suffix.size()) == suffix;
}

// The bugreport's main text: the entry main_entry.txt names, else the largest bugreport*.txt,
// else the largest .txt.
std::string mainEntryName(zip_t* zip) {
    if (zip_file_t* f = zip_fopen(zip, "main_entry.txt", 0)) {
        char name[512] = {};
        const zip_int64_t n = zip_fread(f, name, sizeof(name) - 1);
        zip_fclose(f);
        std::string entry(name, n > 0 ? static_cast<size_t>(n) : 0);
        while (!entry.empty() && (entry.back() == '\n' || entry.back() == '\r')) entry.pop_back();
        if (!entry.empty() && zip_name_locate(zip, entry.c_str(), 0) >= 0) return entry;
    }
    std::string best;
    zip_uint64_t bestSize = 0;
    bool bestIsBugreport = false;
    const zip_int64_t count = zip_get_num_entries(zip, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        zip_stat_t st;
        if (zip_stat_index(zip, static_cast<zip_uint64_t>(i), 0, &st) != 0 || !st.name) continue;
        const std::string name = st.name;
        if (!endsWith(name, ".txt")) continue;
        const std::string base = name.substr(name.rfind('/') + 1);
        const bool isBugreport = base.rfind("bugreport", 0) == 0;
        if (best.empty() || (isBugreport && !bestIsBugreport) ||
            (isBugreport == bestIsBugreport && st.size > bestSize)) {
            best = name;
            bestSize = st.size;
            bestIsBugreport = isBugreport;
        }
    }
    return best;
}

std::string readZip(const std::string& path, LineReader& reader, const Progress& progress) {
    int error = 0;
    std::unique_ptr<zip_t, decltype(&zip_discard)> zip(zip_open(path.c_str(), ZIP_RDONLY, &error),
                                                       &zip_discard);
    if (!zip) return "cannot open it as a zip archive (libzip error " + std::to_string(error) + ")";
    const std::string entry = mainEntryName(zip.get());
    if (entry.empty()) return "the zip archive holds no .txt file to read";
    zip_stat_t st;
    zip_stat(zip.get(), entry.c_str(), 0, &st);
    zip_file_t* file = zip_fopen(zip.get(), entry.c_str(), 0);
    if (!file) return "cannot read " + entry + " in the zip archive";
    std::vector<char> buffer(kChunk);
    uint64_t done = 0;
    std::string result;
    for (;;) {
        const zip_int64_t n = zip_fread(file, buffer.data(), buffer.size());
        if (n < 0) {
            result = "reading " + entry + " in the zip archive failed";
            break;
        }
        if (n == 0) break;
        reader.add(buffer.data(), static_cast<size_t>(n));
        done += static_cast<uint64_t>(n);
        if (progress) progress(done, st.valid & ZIP_STAT_SIZE ? st.size : 0);
    }
    zip_fclose(file);
    return result;
}

}  // namespace

ReadResult readInput(const std::string& path, LineReader& reader, const Progress& progress) {
    const bool isStdin = path == "-";
    const int fd = isStdin ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return failed(std::string("cannot open it: ") + strerror(errno));
    struct stat st {};
    if (fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
        close(fd);
        return failed("it is a directory; give a log file");
    }
    const uint64_t total = S_ISREG(st.st_mode) ? static_cast<uint64_t>(st.st_size) : 0;
    char magic[4] = {};
    if (!isStdin && pread(fd, magic, sizeof(magic), 0) == 4 && memcmp(magic, "PK\3\4", 4) == 0) {
        close(fd);
        return failed(readZip(path, reader, progress));
    }
    // zlib reads gzip files and passes anything else through unchanged.
    gzFile gz = gzdopen(fd, "rb");
    if (!gz) {
        close(fd);
        return failed("cannot read it");
    }
    gzbuffer(gz, kChunk);
    std::vector<char> buffer(kChunk);
    uint64_t done = 0;
    for (;;) {
        const int n = gzread(gz, buffer.data(), static_cast<unsigned>(buffer.size()));
        if (n < 0) {
            int code = 0;
            const std::string why = gzerror(gz, &code);
            gzclose(gz);
            return failed("reading it failed: " + why);
        }
        if (n == 0) break;
        // A zip must be seekable: say so rather than read its bytes as text.
        if (isStdin && done == 0 && n >= 4 && memcmp(buffer.data(), "PK\3\4", 4) == 0) {
            gzclose(gz);
            return failed(
                "a bugreport .zip cannot be read from standard input; give its file name");
        }
        reader.add(buffer.data(), static_cast<size_t>(n));
        done += static_cast<uint64_t>(n);
        if (progress) progress(done, total);
    }
    // A gzip file cut short reads as far as it goes, then reports it.
    int code = Z_OK;
    const char* why = gzerror(gz, &code);
    ReadResult result;
    if (code == Z_BUF_ERROR) result.warning = std::string("the gzip data ends early: ") + why;
    gzclose(gz);
    return result;
}

}  // namespace talvex::explain
