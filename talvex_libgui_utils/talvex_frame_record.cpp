// The frame record's getter, factory and fallback.
#include "talvex_libgui_utils/talvex_frame_record.h"

#include <android-base/logging.h>

#include "talvex_libgui_utils/cached_factory.h"
#include "talvex_libgui_utils/pointer_text.h"

namespace android::libgui_interface::hook {

// Set once, never reset: a fallback once cached stays for the life of the process.
static IFrameRecord* frame_record_ins = nullptr;

DefaultTalvexFrameRecord* DefaultTalvexFrameRecord::getInstance() {
    static DefaultTalvexFrameRecord instance;
    return &instance;
}

DefaultTalvexFrameRecord::DefaultTalvexFrameRecord() {
    LOG(INFO) << "create DefaultTalvexFrameRecord, this " << PointerText{this};
}

DefaultTalvexFrameRecord::~DefaultTalvexFrameRecord() {
    LOG(INFO) << "destory ~DefaultTalvexFrameRecord, this " << PointerText{this};
}

IFrameRecord* getFrameRecordIns() {
    return frame_record_ins != nullptr ? frame_record_ins : createTalvexFrameRecordFactory();
}

IFrameRecord* createTalvexFrameRecordFactory() {
    return createCachedInstance<IFrameRecord, DefaultTalvexFrameRecord>(
        frame_record_ins, "TalvexFrameRecord", "createTalvexFrameRecordFactory");
}

}  // namespace android::libgui_interface::hook
