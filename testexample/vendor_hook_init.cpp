// The vendor entry, the one place that names the real classes.
#include "bufferqueue_helper/TalvexBufferQueueHelper.h"
#include "frame_record/TalvexFrameRecord.h"
#include "talvex_libgui_utils/libgui_ext_interface.h"
#include "testexample/TestExample.h"

using android::libgui_interface::hook::HookRegisterMap;
using android::libgui_interface::hook::registerClass;

extern "C" void talvex_libgui_vendor_hook_init(HookRegisterMap* map) {
    registerClass(*map, "TalvexTestExample",
                  &android::talvexgui::TalvexTestExample::createRealImplFactory);
    registerClass(*map, "TalvexFrameRecord", &android::TalvexFrameRecord::createRealImplFactory);
    registerClass(*map, "TalvexBufferQueueHelper",
                  &android::TalvexBufferQueueHelper::createRealImplFactory);
}
