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

// Where a log comes from: a file, standard input ("-"), a gzip file, or the main text file of a
// bugreport zip. Bytes are streamed in chunks; nothing holds the whole input.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "line_reader.h"

namespace talvex::explain {

// Called after each chunk with the bytes read so far and the input's size (0 when unknown).
using Progress = std::function<void(uint64_t done, uint64_t total)>;

struct ReadResult {
    std::string error;    // the input could not be read at all; for a person
    std::string warning;  // it was read only in part (a gzip file cut short)
};

// Streams `path` into `reader`.
ReadResult readInput(const std::string& path, LineReader& reader, const Progress& progress);

}  // namespace talvex::explain
