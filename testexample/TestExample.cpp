// The test example class.
#include "testexample/TestExample.h"

#include <android-base/logging.h>

namespace android::talvexgui {

void* TalvexTestExample::createRealImplFactory() {
    static TalvexTestExample instance;
    // The getters read the pointer back as the interface.
    return static_cast<libgui_interface::hook::ITestExampleClass*>(&instance);
}

void TalvexTestExample::sayHello() {
    LOG(INFO) << "Talvex-Graphics: TalvexTestExample "
              << "sayHello";
}

}  // namespace android::talvexgui
