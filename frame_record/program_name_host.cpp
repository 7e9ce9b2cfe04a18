// glibc has no getprogname(); its short invocation name is the same text.
#include <errno.h>

#include "frame_record/program_name.h"

namespace android::talvex {

const char* programName() {
    return program_invocation_short_name;
}

}  // namespace android::talvex
