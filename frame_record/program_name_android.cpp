// bionic: the short program name, as Part 2.4 asks for.
#include <stdlib.h>

#include "frame_record/program_name.h"

namespace android::talvex {

const char* programName() {
    return getprogname();
}

}  // namespace android::talvex
