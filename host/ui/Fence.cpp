#define LOG_TAG "Fence"

#include <errno.h>
#include <poll.h>
#include <ui/Fence.h>

namespace android {

const sp<Fence> Fence::NO_FENCE = sp<Fence>(new Fence);

status_t Fence::wait(int timeout) {
    if (!isValid()) return NO_ERROR;
    pollfd pfd{mFenceFd.get(), POLLIN, 0};
    int ret;
    do {
        ret = poll(&pfd, 1, timeout);
    } while (ret < 0 && errno == EINTR);
    if (ret < 0) return -errno;
    return ret == 0 ? TIMED_OUT : NO_ERROR;
}

Fence::Status Fence::getStatus() {
    if (!isValid()) return Status::Invalid;
    return wait(0) == NO_ERROR ? Status::Signaled : Status::Unsignaled;
}

}  // namespace android
