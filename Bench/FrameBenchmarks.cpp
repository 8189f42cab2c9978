// Google Benchmark cases: the frame through the bundle and the stand-in host at three sizes,
// the effect's CPU renderer alone on the same world (on one thread and on all cores), and the
// two floors measured on the same bytes: a plain GL upload plus read-back on the same GL
// implementation, and a CPU copy of the frame's bytes in and out.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <vector>

#include <glbinding/gl/gl.h>

#include "AEOpenGLContext.h"
#include "BenchFrame.h"
#include "EffectHost.h"
#include "HueAndSaturationCPURender.h"
#include "ImageFile.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;

namespace {

// One host for the whole run, set up once with the peers' parameters: frames after the first
// pay for no load, context or shader build.
fxhost::EffectHost& sharedHost() {
    static fxhost::EffectHost* host = [] {
        auto* made = new fxhost::EffectHost(BenchFrame::bundlePath());
        made->globalSetup();
        made->paramsSetup();
        made->setParamValue(made->paramIndex("Hue Value"), BenchFrame::kHueDegrees);
        made->setParamValue(made->paramIndex("Saturation"), BenchFrame::kSaturation);
        return made;
    }();
    return *host;
}

void Frame(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0));
    const int height = static_cast<int>(state.range(1));
    fxhost::EffectHost& host = sharedHost();
    fxhost::HostWorld input(width, height, fxhost::Depth::Eight);
    fxhost::HostWorld output(width, height, fxhost::Depth::Eight);
    BenchFrame::fill(input);
    host.renderFrame(input, output);  // a change of size rebuilds the frame buffers: not timed
    for (auto _ : state) {
        if (host.renderFrame(input, output) != PF_Err_NONE) {
            state.SkipWithError("the frame failed");
            break;
        }
    }
    if (!host.violations().empty()) state.SkipWithError(host.violations().front().c_str());
    state.SetItemsProcessed(state.iterations() * width * height);
}

// The CPU renderer alone, world to world; range(2) is its thread limit (0: one a core). The bench
// frame's alpha falls from 255 to 192 down the rows, so nearly every pixel takes the premultiplied
// road; `opaque` sets every alpha to 255, as a video frame's.
void runCPUEffect(benchmark::State& state, bool opaque) {
    const int width = static_cast<int>(state.range(0));
    const int height = static_cast<int>(state.range(1));
    fxhost::HostWorld input(width, height, fxhost::Depth::Eight);
    fxhost::HostWorld output(width, height, fxhost::Depth::Eight);
    BenchFrame::fill(input);
    for (int y = 0; opaque && y < height; ++y)
        for (int x = 0; x < width; ++x)
            static_cast<uint8_t*>(input.def()->data)[static_cast<size_t>(y) * input.def()->rowbytes + 4 * x] = 255;
    HueAndSaturationCPURender render;
    render.setHue(static_cast<float>(BenchFrame::kHueDegrees));
    render.setSaturation(static_cast<float>(BenchFrame::kSaturation));
    render.setMaxThreads(static_cast<unsigned>(state.range(2)));
    for (auto _ : state) {
        render.render(*input.def(), *output.def());
        benchmark::DoNotOptimize(output.def()->data);
    }
    state.SetItemsProcessed(state.iterations() * width * height);
}
void CPUEffect(benchmark::State& state) { runCPUEffect(state, false); }
void CPUEffectOpaque(benchmark::State& state) { runCPUEffect(state, true); }

AEOpenGLContext& floorContext() {
    static AEOpenGLContext* context = new AEOpenGLContext(nullptr);
    return *context;
}

void TransferFloor(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0));
    const int height = static_cast<int>(state.range(1));
    floorContext().makeContextCurrent();
    const std::vector<uint8_t> bytes = BenchFrame::packed(width, height);
    std::vector<uint8_t> back(bytes.size());
    GLuint texture = 0, framebuffer = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    for (auto _ : state) {
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
        glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, back.data());
        benchmark::DoNotOptimize(back.data());
    }
    if (back != bytes) state.SkipWithError("the read-back differs from the upload");
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &framebuffer);
    glBindTexture(GL_TEXTURE_2D, 0);
    glDeleteTextures(1, &texture);
    state.SetItemsProcessed(state.iterations() * width * height);
}

void MemoryFloor(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0));
    const int height = static_cast<int>(state.range(1));
    const std::vector<uint8_t> bytes = BenchFrame::packed(width, height);
    std::vector<uint8_t> inside(bytes.size()), back(bytes.size());
    for (auto _ : state) {
        std::memcpy(inside.data(), bytes.data(), bytes.size());
        benchmark::ClobberMemory();
        std::memcpy(back.data(), inside.data(), bytes.size());
        benchmark::DoNotOptimize(back.data());
    }
    state.SetItemsProcessed(state.iterations() * width * height);
}

// What `fxhost render` does around every frame besides decoding and encoding: the file's pixels
// into the 8-bit world the effect gets, and the result back.
void HostConversions(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0));
    const int height = static_cast<int>(state.range(1));
    fxhost::ImageFile image(width, height, 3, OIIO::TypeDesc::UINT8);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            float* p = image.rgba(x, y);
            p[0] = static_cast<float>(x) / static_cast<float>(width);
            p[1] = static_cast<float>(y) / static_cast<float>(height);
        }
    fxhost::HostWorld world(width, height, fxhost::Depth::Eight);
    for (auto _ : state) {
        image.toWorld(world);
        image.fromWorld(world);
        benchmark::DoNotOptimize(image.rgba(0, 0));
    }
    state.SetItemsProcessed(state.iterations() * width * height);
}

void Sizes(benchmark::internal::Benchmark* b) {
    b->Args({1280, 720})->Args({1920, 1080})->Args({3840, 2160})->ArgNames({"w", "h"});
    b->UseRealTime()->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(Frame)->Apply(Sizes);
BENCHMARK(CPUEffect)
    ->Args({1280, 720, 0})
    ->Args({1920, 1080, 0})
    ->Args({3840, 2160, 0})
    ->Args({1920, 1080, 1})
    ->ArgNames({"w", "h", "threads"})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(CPUEffectOpaque)
    ->Args({1920, 1080, 0})
    ->Args({1920, 1080, 1})
    ->ArgNames({"w", "h", "threads"})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(TransferFloor)->Apply(Sizes);
BENCHMARK(MemoryFloor)->Apply(Sizes);
BENCHMARK(HostConversions)
    ->Args({1920, 1080})
    ->ArgNames({"w", "h"})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
