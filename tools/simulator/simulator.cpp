#include "simulator.h"

#include <android-base/properties.h>
#include <android/log.h>
#include <gui/HostCompositor.h>
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <libgui_interface/hook/ITestExampleClass.h>

#include <cstring>
#include <string>

#include "logcat_sink.h"
#include "stall_scenario.h"

namespace talvex::simulator {
namespace {

using android::HostCompositor;
using android::libgui_interface::hook::createTalvexTestExampleClassFactory;
using android::libgui_interface::hook::getBufferQueueHelper;
using android::libgui_interface::hook::getFrameRecordIns;

constexpr char kUsage[] =
    "usage: talvex_simulator [--build-type=TYPE]\n"
    "  --build-type=TYPE  value of ro.build.type for this run (default userdebug;\n"
    "                     recording is on only for userdebug)\n";

struct Options {
    std::string buildType = "userdebug";
};

bool parseOptions(int argc, char** argv, Options* options) {
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        if (strncmp(arg, "--build-type=", 13) == 0) {
            options->buildType = arg + 13;
        } else {
            fprintf(stderr, "talvex_simulator: unknown argument '%s'\n%s", arg, kUsage);
            return false;
        }
    }
    return true;
}

// Logs what the compositor was told, as SurfaceFlinger would under its own tag.
void logLayerRequest(const HostCompositor::LayerRequest& request) {
    constexpr uint32_t code = HostCompositor::kLayerRequestCode;
    if (!request.interfaceOk) {
        __android_log_print(ANDROID_LOG_ERROR, "SurfaceFlinger", "code %u: bad interface token",
                            code);
        return;
    }
    __android_log_print(ANDROID_LOG_INFO, "SurfaceFlinger", "code %u%s: command %d for %s, token %s",
                        code, request.oneWay ? " (one-way)" : "", request.command,
                        request.layerName.c_str(), request.token != nullptr ? "set" : "null");
}

// What libgui does first: the greeting proves the hook path, the getters load the library.
void runHookPath() {
    createTalvexTestExampleClassFactory()->sayHello();
    getFrameRecordIns();
    getBufferQueueHelper();
}

}  // namespace

int runSimulator(int argc, char** argv, FILE* out) {
    Options options;
    if (!parseOptions(argc, argv, &options)) return 2;
    logToLogcatFormat(out);
    // The build type is fixed before the frame record is created, as on a device.
    android::base::SetProperty("ro.build.type", options.buildType);
    android::sp<HostCompositor> compositor(new HostCompositor(android::NO_ERROR, logLayerRequest));
    if (HostCompositor::registerAsSurfaceFlinger(compositor) != android::NO_ERROR) {
        fprintf(stderr, "talvex_simulator: could not register the host compositor\n");
        return 1;
    }
    runHookPath();
    runStallScenario();
    stopReadingTags();
    return 0;
}

}  // namespace talvex::simulator
