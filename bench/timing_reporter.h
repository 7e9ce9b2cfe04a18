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

#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace talvex::bench {

// Shows the table as usual and keeps each benchmark's real time per iteration (the median of
// repetitions, if any), so a program can print ratios against a floor measured in the same run.
class TimingReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) continue;
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
            mNanos[run.run_name.str()] =
                run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
        }
        ConsoleReporter::ReportRuns(runs);
    }

protected:
    // Returns the time per iteration of benchmark `name` in ns, or 0 if it did not run.
    double get(const std::string& name) const {
        auto it = mNanos.find(name);
        return it == mNanos.end() ? 0 : it->second;
    }

private:
    std::map<std::string, double> mNanos;
};

}  // namespace talvex::bench
