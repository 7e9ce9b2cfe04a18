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

}  // namespace talvex::simulator
