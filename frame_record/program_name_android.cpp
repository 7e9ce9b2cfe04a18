// bionic: the short program name the dump's header prints.
#include <stdlib.h>

#include "frame_record/program_name.h"

namespace android::talvex {

const char* programName() {
    return getprogname();
}

}  // namespace android::talvex
