#pragma once

namespace talvex::simulator {

// Plays libgui's patched BLASTBufferQueue for one layer: frames that pass through every step,
// and one frame whose transaction the compositor commits but never completes. Then dumps the
// frame record on its dumper thread, prints the pending callbacks' ages and names the layer to
// the compositor, as libgui's dump path does.
void runStallScenario();

}  // namespace talvex::simulator
