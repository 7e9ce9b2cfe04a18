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

#include <algorithm>

#include "dumper_wait.h"
#include "sim_clock.h"
#include "world.h"

namespace talvex::simulator {
namespace {

void startLayers(World& world) {
    for (int i = 0; i < world.options().layers; ++i) world.addLayer();
}

// Time to let frames flow before something happens: a share of the run.
nsecs_t share(World& world, double fraction) {
    return static_cast<nsecs_t>(world.options().seconds * fraction * 1e9);
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
    world.sleepFor(share(world, 0.3));
}

void playReleaseStall(World& world) {
    startLayers(world);
    world.sleepFor(share(world, 0.3));
    Layer& layer = pickLayer(world);
    // Enough frames first that the dump shows frames before the stall too.
    world.waitFor([&] { return layer.framesQueued() >= 12; });
    const uint64_t firstHeld = world.stopLatching(layer);
    say("the compositor stops latching layer %d's buffers, as when a GPU fence never signals: "
        "no completion, no release (frame %llu and on)",
        layer.layerId(), static_cast<unsigned long long>(firstHeld));
    // libgui's patch dumps a producer that waits for a slot longer than its stall bound.
    if (!world.waitFor([&] { return world.dumpsOf(layer) > 0; })) {
        say("layer %d never ran out of buffers before the run ended", layer.layerId());
        return;
    }
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
    world.loseCompletion(layer, frame);
    if (!world.waitFor([&] { return world.compositor().lostCompletions() > 0; })) return;
    world.sleepFor(share(world, 0.2));
    say("first dump of layer %d: the lost completion's callbacks are pending", layer.layerId());
    world.requestDump(layer);
    world.sleepFor(share(world, 0.3));
    say("second dump of layer %d: the same callbacks, older", layer.layerId());
    world.requestDump(layer);
}

void playSync(World& world) {
    startLayers(world);
    Layer& layer = pickLayer(world);
    for (int i = 0; i < 3; ++i) {
        if (!world.sleepFor(share(world, 0.15))) return;
        say("a sync of layer %d's next frame is asked for", layer.layerId());
        world.syncNextFrame(layer);
    }
    world.sleepFor(world.framePeriod() * 2);
    world.requestDump(layer);
}

void playOversize(World& world) {
    startLayers(world);
    world.sleepFor(share(world, 0.2));
    Layer& layer = pickLayer(world);
    say("layer %d asks for 4096x2160 buffers on a device that cannot go over 4000", layer.layerId());
    world.requestSize(layer, 4096, 2160);
    world.sleepFor(share(world, 0.3));
    // A relayout asks again for the same size: capped again.
    say("layer %d asks for 4096x2160 buffers again", layer.layerId());
    world.requestSize(layer, 4096, 2160);
    world.sleepFor(share(world, 0.3));
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
     "completion, no release; its producer runs out of slots and libgui's patch dumps its queue",
     {},
     playReleaseStall},
    {"callback-lost",
     "the compositor drops one frame's completion; its callbacks wait in the listener, older at "
     "each dump",
     {},
     playCallbackLost},
    {"sync", "one layer's frames are synced into transactions of their own", {}, playSync},
    {"oversize",
     "a layer asks twice for 4096x2160 buffers while debug.graphics.unsupport4K is 1",
     {{"debug.graphics.unsupport4K", "1"}},
     playOversize},
    {"churn",
     "layers come and go while frames flow; the record keeps only the living ones",
     {},
     playChurn},
    {"random",
     "the seed draws the story: layers at mixed rates come and go while stalls, lost "
     "completions, syncs, held transactions, oversized requests and dumps strike at random",
     {{"debug.graphics.unsupport4K", "1"}},
     playRandomStory},
};

}  // namespace

const Scenario* findScenario(const std::string& name) {
    for (const Scenario& scenario : kScenarios) {
        if (name == scenario.name) return &scenario;
    }
    return nullptr;
}

// A random story: several layers at mixed rates, and at random times any of the faults and
// events at once, as the seed picks them.
void playRandomStory(World& world) {
    std::mt19937_64& random = world.random();
    const auto pick = [&random](int from, int to) {  // inclusive
        return from + static_cast<int>(random() % static_cast<uint64_t>(to - from + 1));
    };
    static constexpr int kRates[] = {30, 60, 90, 120};
    const int layers = pick(1, 4);
    for (int i = 0; i < layers; ++i) world.addLayer(kRates[pick(0, 3)]);
    const int steps = pick(2, 8);
    const nsecs_t step = static_cast<nsecs_t>(world.options().seconds * 1e9) / (steps + 1);
    for (int i = 0; i < steps; ++i) {
        if (!world.sleepFor(step / 2 + static_cast<nsecs_t>(random() % static_cast<uint64_t>(step))))
            break;
        auto& all = world.layers();
        if (all.empty()) {
            world.addLayer(kRates[pick(0, 3)]);
            continue;
        }
        Layer& layer = *all[random() % all.size()];
        switch (pick(0, 8)) {
            case 0:
                world.stopLatching(layer);
                break;
            case 1:
                world.loseCompletion(layer,
                                     layer.framesQueued() + static_cast<uint64_t>(pick(1, 4)));
                break;
            case 2:
                world.requestDump(layer);
                break;
            case 3:
                world.syncNextFrame(layer);
                break;
            case 4:
                world.holdTransaction(layer,
                                      layer.framesQueued() + static_cast<uint64_t>(pick(1, 6)));
                break;
            case 5:
                world.requestSize(layer, pick(0, 1) ? 4096 : 1080, pick(0, 1) ? 4200 : 2400);
                break;
            case 6:
                if (all.size() > 1) world.removeLayer(random() % all.size());
                break;
            case 7:
                world.addLayer(kRates[pick(0, 3)]);
                break;
            default:
                break;
        }
    }
    // Every layer is dumped once at the end, as a bug report would.
    world.sleepFor(step);
    for (auto& layer : world.layers()) world.requestDump(*layer);
}

}  // namespace talvex::simulator
