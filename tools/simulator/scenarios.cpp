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

#include "scenarios.h"

#include <chrono>
#include <thread>

#include "libgui_glue.h"
#include "world.h"

namespace talvex::simulator {
namespace {

using std::chrono::milliseconds;

void startLayers(World& world) {
    for (int i = 0; i < world.options().layers; ++i) world.addLayer();
}

// Time to let frames flow before something happens: a share of the run.
std::chrono::nanoseconds share(World& world, double fraction) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::duration<double>(world.options().seconds * fraction));
}

Layer& pickLayer(World& world) {
    auto& layers = world.layers();
    return *layers[world.random()() % layers.size()];
}

void playHealthy(World& world) {
    startLayers(world);
    world.sleepFor(share(world, 0.7));
    Layer& layer = pickLayer(world);
    say("dump requested for layer %d: its frames flow, every buffer comes back", layer.layerId());
    world.requestDump(layer);
}

void playReleaseStall(World& world) {
    startLayers(world);
    world.sleepFor(share(world, 0.3));
    Layer& layer = pickLayer(world);
    // Enough frames first that the dump shows frames before the stall too.
    world.waitFor([&] { return layer.framesQueued() >= 12; });
    const uint64_t firstHeld = world.compositor().stopLatching(layer.layerId());
    say("the compositor stops latching layer %d's buffers, as when a GPU fence never signals: "
        "no completion, no release (frame %llu and on)",
        layer.layerId(), static_cast<unsigned long long>(firstHeld));
    // libgui's patch dumps a producer that waits for a slot longer than its stall bound (1 s).
    if (!world.waitFor([&] { return layer.waitingFor() > std::chrono::milliseconds(1500); })) {
        say("layer %d never ran out of buffers before the run ended", layer.layerId());
        return;
    }
    waitForDumperThread();
    say("layer %d is stalled: its producer has no free slot; the dump above says why",
        layer.layerId());
}

void playCallbackLost(World& world) {
    startLayers(world);
    world.sleepFor(share(world, 0.2));
    Layer& layer = pickLayer(world);
    const uint64_t frame = layer.framesQueued() + 3;
    say("the compositor will never deliver the completion of layer %d's frame %llu",
        layer.layerId(), static_cast<unsigned long long>(frame));
    world.compositor().loseCompletion(layer.layerId(), frame);
    if (!world.waitFor([&] { return world.compositor().lostCompletions() > 0; })) return;
    world.sleepFor(share(world, 0.2));
    say("first dump of layer %d: the lost completion's callbacks are pending", layer.layerId());
    world.requestDump(layer);
    // The second dump comes later, even in a run that is out of time.
    std::this_thread::sleep_for(share(world, 0.3));
    say("second dump of layer %d: the same callbacks, older", layer.layerId());
    world.requestDump(layer);
}

void playSync(World& world) {
    startLayers(world);
    Layer& layer = pickLayer(world);
    for (int i = 0; i < 3; ++i) {
        if (!world.sleepFor(share(world, 0.15))) return;
        say("a sync of layer %d's next frame is asked for", layer.layerId());
        layer.syncNextFrame();
    }
    world.sleepFor(world.framePeriod() * 2);
    world.requestDump(layer);
}

void playOversize(World& world) {
    startLayers(world);
    world.sleepFor(share(world, 0.2));
    Layer& layer = pickLayer(world);
    say("layer %d asks for 4096x2160 buffers on a device that cannot go over 4000", layer.layerId());
    layer.queue()->update(layer.surface(), 4096, 2160, android::PIXEL_FORMAT_RGBA_8888);
    world.sleepFor(share(world, 0.5));
    world.requestDump(layer);
}

void playChurn(World& world) {
    startLayers(world);
    // Each step one app closes and another opens, while the rest keep drawing.
    while (world.sleepFor(share(world, 0.1))) {
        auto& layers = world.layers();
        world.removeLayer(world.random()() % layers.size());
        world.addLayer();
    }
    // A gone layer's frames must not linger: the record should list the living layers only.
    Layer& layer = pickLayer(world);
    say("dump requested for layer %d: the record holds only the layers alive now", layer.layerId());
    world.requestDump(layer);
}

const Scenario kScenarios[] = {
    {"healthy", "frames flow on every layer; one layer's state is dumped on request", {}, playHealthy},
    {"release-stall",
     "the compositor stops latching one layer's buffers (a fence that never signals): no "
     "completion, no release; its producer runs out of slots and its dequeue times out",
     {},
     playReleaseStall},
    {"callback-lost",
     "the compositor drops one frame's completion; the callback waits in the listener, older at "
     "each dump",
     {},
     playCallbackLost},
    {"sync", "one layer's frames are synced into transactions of their own", {}, playSync},
    {"oversize",
     "a layer asks for 4096x2160 buffers while debug.graphics.unsupport4K is 1",
     {{"debug.graphics.unsupport4K", "1"}},
     playOversize},
    {"churn",
     "layers come and go while frames flow; the record keeps only the living ones",
     {},
     playChurn},
};

}  // namespace

const Scenario* findScenario(const std::string& name) {
    for (const Scenario& scenario : kScenarios) {
        if (name == scenario.name) return &scenario;
    }
    return nullptr;
}

}  // namespace talvex::simulator
