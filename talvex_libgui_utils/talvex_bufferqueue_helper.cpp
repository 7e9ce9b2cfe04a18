// The buffer-queue helper's getter, factory and fallback.
#include "talvex_libgui_utils/talvex_bufferqueue_helper.h"

#include <android-base/logging.h>

#include "talvex_libgui_utils/cached_factory.h"
#include "talvex_libgui_utils/pointer_text.h"

namespace android::libgui_interface::hook {

// Set once, never reset: a fallback once cached stays for the life of the process.
static IBufferQueueHelper* buffer_queue_helper_ins = nullptr;

DefaultTalvexBufferQueueHelper* DefaultTalvexBufferQueueHelper::getInstance() {
    static DefaultTalvexBufferQueueHelper instance;
    return &instance;
}

DefaultTalvexBufferQueueHelper::DefaultTalvexBufferQueueHelper() {
    LOG(INFO) << "create DefaultTalvexBufferQueueHelper, this " << PointerText{this};
}

DefaultTalvexBufferQueueHelper::~DefaultTalvexBufferQueueHelper() {
    LOG(INFO) << "destory ~DefaultTalvexBufferQueueHelper, this " << PointerText{this};
}

IBufferQueueHelper* getBufferQueueHelper() {
    return buffer_queue_helper_ins != nullptr ? buffer_queue_helper_ins
                                              : createTalvexBufferQueueHelperFactory();
}

IBufferQueueHelper* createTalvexBufferQueueHelperFactory() {
    return createCachedInstance<IBufferQueueHelper, DefaultTalvexBufferQueueHelper>(
        buffer_queue_helper_ins, "TalvexBufferQueueHelper", "createTalvexBufferQueueHelperFactory");
}

}  // namespace android::libgui_interface::hook
