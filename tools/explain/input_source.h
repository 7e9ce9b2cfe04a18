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
