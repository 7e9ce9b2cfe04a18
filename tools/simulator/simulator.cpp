/*
 * Copyright (C) 2026 The libgui_talvex_utils Authors
 *
 * Licensed under the Apache License, Version 2.0 (the "License");
 * you may not use this file except in compliance with the License.
 * You may obtain a copy of the License at
 *
 *      http://www.apache.org/licenses/LICENSE-2.0
 *
 * Unless required by applicable law or agreed to in writing, software
 * distributed under the License is distributed on an "AS IS" BASIS,
 * WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
 * See the License for the specific language governing permissions and
 * limitations under the License.
 */

#include "simulator.h"

#include <android-base/properties.h>
#include <android/log.h>
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <libgui_interface/hook/ITestExampleClass.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include "../exit_codes.h"
#include "campaign.h"
#include "compositor_service.h"
#include "dumper_wait.h"
#include "logcat_sink.h"
#include "options.h"
#include "scenarios.h"
#include "sim_clock.h"
#include "truth.h"
#include "world.h"

namespace talvex::simulator {
namespace {

using android::libgui_interface::hook::createTalvexTestExampleClassFactory;
using android::libgui_interface::hook::getBufferQueueHelper;
using android::libgui_interface::hook::getFrameRecordIns;

// What libgui does first: the greeting proves the hook path, the getters load the library.
void runHookPath() {
    createTalvexTestExampleClassFactory()->sayHello();
    getFrameRecordIns();
    getBufferQueueHelper();
}

// The process id a story in simulated time runs as, and when its clock starts (a phone up for a
// quarter of an hour): both fixed, so that every run of a seed writes the same log.
constexpr pid_t kSimulatedPid = 4242;
constexpr nsecs_t kSimulatedStart = 900LL * 1000000000LL;

int play(const Options& options, const Scenario& scenario) {
    // Fixed before the library reads them, as on a device.
    android::base::SetProperty("ro.build.type", options.buildType);
    for (const auto& [key, value] : scenario.properties) android::base::SetProperty(key, value);

    auto names = std::make_shared<LayerNames>();
    android::sp<android::HostCompositor> service = registerCompositorService(names);
    if (service == nullptr) return kExitFailed;
    runHookPath();
    say("scenario %s (seed %llu, %d layers, %d fps, %.1f s, %s): %s", scenario.name,
        static_cast<unsigned long long>(options.seed), options.layers, options.fps, options.seconds,
        options.buildType.c_str(), scenario.story);
    if (!getFrameRecordIns()->getEnable()) {
        say("recording is off on a %s build: the frame record keeps nothing",
            options.buildType.c_str());
    }
    Truth truth;
    {
        World world(options, *names);
        scenario.play(world);
        waitForDumperThread();
        truth = world.truth();
    }
    say("scenario %s over", scenario.name);
    if (!options.truthPath.empty()) {
        FILE* file = fopen(options.truthPath.c_str(), "w");
        if (file == nullptr) {
            fprintf(stderr, "talvex_simulator: cannot write '%s': %s\n", options.truthPath.c_str(),
                    strerror(errno));
            return kExitFailed;
        }
        const std::string text = truth.json();
        const bool written = fwrite(text.data(), 1, text.size(), file) == text.size();
        if (fclose(file) != 0 || !written) {
            fprintf(stderr, "talvex_simulator: cannot write '%s'\n", options.truthPath.c_str());
            return kExitFailed;
        }
    }
    return kExitNothingToReport;
}

}  // namespace

int runSimulator(int argc, const char* const* argv, FILE* out) {
    // Until a story routes the log, a line has nowhere to go: the library's unload line at the
    // exit of a run that played nothing (--help, a bad option, a campaign's own process) would
    // only clutter the screen.
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    Options options;
    std::string error;
    switch (parseOptions(argc, argv, &options, &error)) {
        case ParseResult::kHelp:
            fputs(usageText(), out);
            return kExitNothingToReport;
        case ParseResult::kError:
            fprintf(stderr, "talvex_simulator: %s\n", error.c_str());
            return kExitUsage;
        case ParseResult::kRun:
            break;
    }
    return options.campaign > 0 ? runCampaign(options, out) : playStory(options, out);
}

int playStory(const Options& options, FILE* out) {
    FILE* file = nullptr;
    if (!options.outPath.empty()) {
        file = fopen(options.outPath.c_str(), "w");
        if (file == nullptr) {
            fprintf(stderr, "talvex_simulator: cannot write '%s': %s\n", options.outPath.c_str(),
                    strerror(errno));
            return kExitFailed;
        }
    }
    // In simulated time the clock and the process id are the simulator's from the first line on.
    if (!options.realtime) SimClock::useSimulatedTime(kSimulatedStart, kSimulatedPid);
    logToLogcatFormat(out, file);
    const int status = play(options, *findScenario(options.scenario));
    // Lines of the unload that follows no longer go to the file.
    logToLogcatFormat(out, nullptr);
    if (file != nullptr) fclose(file);
    stopReadingTags();
    return status;
}

}  // namespace talvex::simulator
