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

#include <CLI/CLI.hpp>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <sstream>

namespace talvex::simulator {
namespace {

constexpr char kDescription[] =
    "Plays libgui around libgui_talvex_utils.so: layers render frames through BLAST buffer\n"
    "queues to a stand-in compositor while the library records and dumps them.\n"
    "Exit: 0 ran, nothing to report; 1 a campaign missed a finding or made one up; 2 the\n"
    "story could not run or an output file could not be written; 3 bad command line.";

// The stories --scenario names; scenarios.cpp plays them.
constexpr const char* kScenarios[] = {"healthy",  "release-stall", "callback-lost", "sync",
                                      "oversize", "churn",         "random"};

// A decimal whole number in [min, max] and nothing after it.
bool parseWhole(const std::string& text, long long min, long long max, long long* value) {
    char* end = nullptr;
    errno = 0;
    const long long parsed = strtoll(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno != 0 || parsed < min || parsed > max) return false;
    *value = parsed;
    return true;
}

// strtoull takes "-1" (and " -1") as 2^64-1: a seed starts with a digit.
bool parseSeed(const std::string& text, uint64_t* value) {
    if (text.empty() || !std::isdigit(static_cast<unsigned char>(text[0]))) return false;
    char* end = nullptr;
    errno = 0;
    const unsigned long long parsed = strtoull(text.c_str(), &end, 10);
    if (*end != '\0' || errno != 0) return false;
    *value = parsed;
    return true;
}

// A number in [min, max]; NaN fails the range test.
bool parseReal(const std::string& text, double min, double max, double* value) {
    char* end = nullptr;
    const double parsed = strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(parsed >= min && parsed <= max)) return false;
    *value = parsed;
    return true;
}

template <typename T>
std::string show(const T& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

// Adds an option whose value `accept` checks and stores. A value it refuses ends the parse with
// "--name wants WANTS, not 'VALUE'": CLI11's own wording would not say what the option wants.
CLI::Option* addValue(CLI::App& app, const std::string& flags, const char* typeName,
                      const std::string& help, const std::string& wants,
                      std::function<bool(const std::string&)> accept) {
    const std::string name = flags.substr(flags.rfind(',') + 1);
    CLI::Option* option = app.add_option_function<std::string>(
        flags,
        [name, wants, accept = std::move(accept)](const std::string& text) {
            if (accept(text)) return;
            throw CLI::ValidationError(name + " wants " + wants +
                                       (text.empty() ? "" : ", not '" + text + "'"));
        },
        help);
    option->type_name(typeName);
    return option;
}

// Declares every option on `app`; each stores its value into `o` as it is read.
void describe(CLI::App& app, Options* o) {
    const Options defaults;
    // A later value overrides an earlier one, so a script can append to a command line.
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);

    std::string scenarios;
    for (const char* name : kScenarios) {
        scenarios += std::string(scenarios.empty() ? "" : ", ") + name;
    }
    addValue(app, "--scenario", "NAME", "the story: " + scenarios, "one of " + scenarios,
             [o](const std::string& text) {
                 for (const char* name : kScenarios) {
                     if (text != name) continue;
                     o->scenario = text;
                     return true;
                 }
                 return false;
             })
        ->default_str(defaults.scenario);
    const auto whole = [](int* field, long long min, long long max) {
        return [field, min, max](const std::string& text) {
            long long value = 0;
            if (!parseWhole(text, min, max, &value)) return false;
            *field = static_cast<int>(value);
            return true;
        };
    };
    addValue(app, "--layers", "N", "layers drawing at once, 1..64", "a whole number from 1 to 64",
             whole(&o->layers, 1, 64))
        ->default_str(show(defaults.layers));
    addValue(app, "--fps", "N", "frames per second each layer renders, 1..240",
             "a whole number from 1 to 240", whole(&o->fps, 1, 240))
        ->default_str(show(defaults.fps));
    addValue(app, "--seconds", "S",
             "how long frames flow, 0.2..600 (release-stall ends at its dump)",
             "a number from 0.2 to 600",
             [o](const std::string& text) { return parseReal(text, 0.2, 600, &o->seconds); })
        ->default_str(show(defaults.seconds));
    addValue(app, "--seed", "N", "seeds the frame timing and the story's choices",
             "a whole number from 0 to 18446744073709551615",
             [o](const std::string& text) { return parseSeed(text, &o->seed); })
        ->default_str(show(defaults.seed));
    addValue(app, "--build-type", "TYPE",
             "ro.build.type: userdebug (records) or user (records nothing)", "userdebug or user",
             [o](const std::string& text) {
                 if (text != "userdebug" && text != "user") return false;
                 o->buildType = text;
                 return true;
             })
        ->default_str(defaults.buildType);
    const auto file = [](std::string* field) {
        return [field](const std::string& text) {
            *field = text;
            return !text.empty();
        };
    };
    addValue(app, "--out", "FILE", "also write the log to FILE", "a file name", file(&o->outPath));
    addValue(app, "--truth", "FILE", "write the story's ground truth (what it did) as JSON to FILE",
             "a file name", file(&o->truthPath));
    app.add_flag("--realtime", o->realtime, "play on wall-clock threads instead of simulated time");
    addValue(app, "--campaign", "N",
             "N random stories from --seed, each one scored, up to 1000000; 0: off",
             "a number of stories from 1 to 1000000 (0: off)", whole(&o->campaign, 0, 1000000))
        ->default_str(show(defaults.campaign));
    addValue(app, "-j,--jobs", "N", "campaign stories run at once, 1..64",
             "a whole number from 1 to 64", whole(&o->jobs, 1, 64))
        ->default_str(show(defaults.jobs));
    addValue(app, "--stuck-ms", "N",
             "a campaign scores stuck frames as talvex-explain --stuck-ms N does",
             "milliseconds from 0 to 9.2e12",
             [o](const std::string& text) { return parseReal(text, 0, 9.2e12, &o->stuckMs); })
        ->default_str(show(defaults.stuckMs));
}

// Options that make sense only with --campaign, or only without it.
struct Pairing {
    const char* option;
    const char* refusal;
};
constexpr Pairing kOneStoryOnly[] = {
    {"--scenario",
     "--scenario picks one story; --campaign plays random ones: give one or the other"},
    {"--truth",
     "--truth is one story's ground truth; --campaign scores its own: give one or the other"},
    {"--realtime",
     "--realtime plays one story on wall-clock threads; --campaign plays in simulated time: give "
     "one or the other"},
};
constexpr Pairing kCampaignOnly[] = {
    {"--jobs", "--jobs wants --campaign N: it sets how many of its stories run at once"},
    {"--stuck-ms",
     "--stuck-ms wants --campaign N: it is the threshold the campaign scores against"},
};

}  // namespace

const char* usageText() {
    static const std::string text = [] {
        CLI::App app{kDescription, "talvex_simulator"};
        Options options;
        describe(app, &options);
        return app.help();
    }();
    return text.c_str();
}

ParseResult parseOptions(int argc, const char* const* argv, Options* options, std::string* error) {
    CLI::App app{kDescription, "talvex_simulator"};
    describe(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        return ParseResult::kHelp;
    } catch (const CLI::ValidationError& e) {
        *error = e.what();
        return ParseResult::kError;
    } catch (const CLI::ParseError& e) {
        // CLI11's own reasons (an unknown option, a missing value): one line, pointing at --help.
        *error = e.what();
        for (char& ch : *error) {
            if (ch == '\n') ch = ' ';
        }
        *error += " (try --help)";
        return ParseResult::kError;
    }
    const auto refuse = [&](const auto& pairings) {
        for (const Pairing& pairing : pairings) {
            if (app.count(pairing.option) > 0) {
                *error = pairing.refusal;
                return true;
            }
        }
        return false;
    };
    // --campaign 0 is no campaign: as if it were not given.
    const bool campaign = options->campaign > 0;
    if (campaign ? refuse(kOneStoryOnly) : refuse(kCampaignOnly)) return ParseResult::kError;
    return ParseResult::kRun;
}

}  // namespace talvex::simulator
