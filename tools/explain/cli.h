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

// The command line of talvex-explain, as a function the tests call like main does.
#pragma once

#include <ostream>

#include "../exit_codes.h"

namespace talvex::explain {

// Runs the tool: the report goes to `out`, warnings, errors and progress to `err`. Progress is
// shown only when `errIsTerminal`. Returns an ExitCode (docs/explain.md): kExitReport when there
// are findings, kExitFailed when the input cannot be read or an output file cannot be written.
int runExplain(int argc, const char* const* argv, std::ostream& out, std::ostream& err,
               bool errIsTerminal);

}  // namespace talvex::explain
