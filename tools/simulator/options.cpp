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

#include "options.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "scenarios.h"

namespace talvex::simulator {
namespace {

constexpr char kUsage[] =
    "usage: talvex_simulator [options]\n"
    "Plays libgui around libgui_talvex_utils.so: layers render frames through BLAST buffer\n"
    "queues to a stand-in compositor while the library records and dumps them.\n"
    "  --scenario=NAME     healthy | release-stall | callback-lost | sync | oversize | churn\n"
    "                      (default release-stall)\n"
    "  --layers=N          layers drawing at once, 1..16 (default 2)\n"
    "  --fps=N             frames per second each layer renders, 1..240 (default 60)\n"
    "  --seconds=S         how long frames flow, 0.2..600 (default 3); release-stall ends\n"
    "                      at its dump, and a slow machine may add a little\n"
    "  --seed=N            seeds the frame timing and the scenario's choices (default 1)\n"
    "  --build-type=TYPE   ro.build.type: userdebug (records) or user (records nothing)\n"
    "  --out=FILE          also write the log to FILE\n"
    "  --help              this text\n";

bool parseInt(const std::string& text, long min, long max, long* value) {
    char* end = nullptr;
    errno = 0;
    const long parsed = strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno != 0 || parsed < min || parsed > max) return false;
    *value = parsed;
    return true;
}

// Applies one option's value; returns false with `error` set if the value is not acceptable.
bool applyValue(const std::string& name, const std::string& value, Options* options,
                std::string* error) {
    long number = 0;
    if (name == "scenario") {
        if (findScenario(value) == nullptr) {
            *error = "unknown scenario '" + value + "' (try --help)";
            return false;
        }
        options->scenario = value;
    } else if (name == "layers") {
        if (!parseInt(value, 1, 16, &number)) {
            *error = "--layers wants a whole number from 1 to 16, not '" + value + "'";
            return false;
        }
        options->layers = static_cast<int>(number);
    } else if (name == "fps") {
        if (!parseInt(value, 1, 240, &number)) {
            *error = "--fps wants a whole number from 1 to 240, not '" + value + "'";
            return false;
        }
        options->fps = static_cast<int>(number);
    } else if (name == "seconds") {
        char* end = nullptr;
        const double parsed = strtod(value.c_str(), &end);
        if (value.empty() || *end != '\0' || !(parsed >= 0.2 && parsed <= 600)) {
            *error = "--seconds wants a number from 0.2 to 600, not '" + value + "'";
            return false;
        }
        options->seconds = parsed;
    } else if (name == "seed") {
        char* end = nullptr;
        errno = 0;
        const unsigned long long parsed = strtoull(value.c_str(), &end, 10);
        if (value.empty() || value[0] == '-' || *end != '\0' || errno != 0) {
            *error = "--seed wants a non-negative whole number, not '" + value + "'";
            return false;
        }
        options->seed = parsed;
    } else if (name == "build-type") {
        if (value != "userdebug" && value != "user") {
            *error = "--build-type is userdebug or user, not '" + value + "'";
            return false;
        }
        options->buildType = value;
    } else if (name == "out") {
        if (value.empty()) {
            *error = "--out wants a file name";
            return false;
        }
        options->outPath = value;
    }
    return true;
}

bool isKnownOption(const std::string& name) {
    for (const char* known : {"scenario", "layers", "fps", "seconds", "seed", "build-type", "out"}) {
        if (name == known) return true;
    }
    return false;
}

}  // namespace

const char* usageText() {
    return kUsage;
}

ParseResult parseOptions(int argc, const char* const* argv, Options* options, std::string* error) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") return ParseResult::kHelp;
        if (arg.rfind("--", 0) != 0 || arg.size() == 2) {
            *error = "unexpected argument '" + arg + "' (options start with --; try --help)";
            return ParseResult::kError;
        }
        std::string name = arg.substr(2);
        std::string value;
        const size_t equals = name.find('=');
        if (equals != std::string::npos) {
            value = name.substr(equals + 1);
            name.resize(equals);
        }
        if (!isKnownOption(name)) {
            *error = "unknown option '--" + name + "' (try --help)";
            return ParseResult::kError;
        }
        if (equals == std::string::npos) {
            if (i + 1 >= argc) {
                *error = "option '--" + name + "' needs a value (try --help)";
                return ParseResult::kError;
            }
            value = argv[++i];
        }
        if (!applyValue(name, value, options, error)) return ParseResult::kError;
    }
    return ParseResult::kRun;
}

}  // namespace talvex::simulator
