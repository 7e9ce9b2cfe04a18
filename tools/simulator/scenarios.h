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

#include <string>
#include <utility>
#include <vector>

namespace talvex::simulator {

class World;

// One story the simulator can play.
struct Scenario {
    const char* name;
    // One line saying what happens, logged when the run starts.
    const char* story;
    // System properties the run sets before the library reads them.
    std::vector<std::pair<const char*, const char*>> properties;
    // Plays the story on `world` (its layers, compositor and clock).
    void (*play)(World& world);
};

// Returns the scenario called `name`, or null.
const Scenario* findScenario(const std::string& name);

// Plays a random story on `world`, from its seed (a campaign's stories).
void playRandomStory(World& world);

}  // namespace talvex::simulator
