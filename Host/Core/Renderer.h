// Which of an effect's renderers serves a load: its GL pass or its own CPU renderer. `Auto` takes the
// CPU renderer where GL would run on a software rasteriser or not at all, and GL on a hardware GPU;
// an effect without a CPU renderer gets GL under `Auto`, and is refused under `CPU`.
#pragma once

#include <string>

namespace fxhost {

enum class Renderer { Auto, GL, CPU };

// "auto", "gl" or "cpu"; parseRenderer throws std::invalid_argument naming the word otherwise.
Renderer parseRenderer(const std::string& word);
const char* rendererName(Renderer renderer);

// What `Auto` stands for on this machine, and why in a few words ("no GPU: /dev/dri has no render
// node", "GPU: NVIDIA ..."). Decided once per process without making a GL context.
struct AutoRenderer {
    Renderer renderer;
    std::string why;
};
const AutoRenderer& autoRenderer();

// What FXHOST_RENDERER asks of the modules that run inside other programs (frei0r, GStreamer):
// "gl", "cpu" or "auto"; unset or empty is Auto. Throws std::runtime_error naming the variable for
// any other word.
Renderer rendererFromEnvironment();

// `requested` with Auto resolved as above.
Renderer resolveRenderer(Renderer requested);

}  // namespace fxhost
