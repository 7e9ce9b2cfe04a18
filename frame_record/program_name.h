#pragma once

namespace android::talvex {

// Returns the running program's short name (its file name without directories), as bionic's
// `getprogname()` does. One source file per platform provides it.
const char* programName();

}  // namespace android::talvex
