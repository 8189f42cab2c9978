#include "RenderJob.h"

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <thread>
#include <exception>
#include <future>
#include <regex>

#include "FramePattern.h"

namespace fxhost {

namespace {

void require(PF_Err err, EffectHost& host, const char* command) {
    if (err) {
        std::string message = std::string(command) + " failed with " + errorName(err);
        if (host.outData().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE) {
            message += ": " + std::string(host.outData().return_msg);
        }
        throw JobError(JobError::kEffect, message);
    }
    if (!host.violations().empty()) {
        throw JobError(JobError::kHostFault, "host fault: " + host.violations().front());
    }
}

// Runs an image step, giving its failure the exit status for image files.
template <typename Step>
auto imageStep(Step step) -> decltype(step()) {
    try {
        return step();
    } catch (const std::runtime_error& e) {
        throw JobError(JobError::kImage, e.what());
    }
}

// Keeps `world` when it already has the size, so buffers live from frame to frame.
void ensureWorld(std::unique_ptr<HostWorld>& world, int width, int height) {
    if (!world || world->width() != width || world->height() != height) {
        world.reset();  // the old buffer goes before the new one comes
        world.reset(new HostWorld(width, height, Depth::Eight));
    }
}

// The file's frame read into the slot's input world.
void readFrame(const std::string& path, FrameSlot& slot, double& convertSeconds) {
    imageStep([&] {
        ImageReader reader(path);
        ensureWorld(slot.input, reader.width(), reader.height());
        slot.spec = reader.spec();
        slot.loss = reader.read(*slot.input, slot.extra);
        convertSeconds += reader.convertSeconds();
    });
}

void showProgress(int done, int total) {
    constexpr int kBarWidth = 40;
    const int filled = total ? done * kBarWidth / total : kBarWidth;
    std::fprintf(stderr, "\r[%s%s] %d/%d", std::string(filled, '#').c_str(),
                 std::string(kBarWidth - filled, '.').c_str(), done, total);
    if (done == total) std::fputc('\n', stderr);
    std::fflush(stderr);
}

}  // namespace

RenderJob::RenderJob(const std::string& plugin, const ParameterSettings& settings,
                     const OutputOptions& options) try
    : mHost(plugin), mOptions(options) {
    require(mHost.globalSetup(), mHost, "PF_Cmd_GLOBAL_SETUP");
    require(mHost.paramsSetup(), mHost, "PF_Cmd_PARAMS_SETUP");
    try {
        settings.apply(mHost);
    } catch (const std::invalid_argument& e) {
        throw JobError(JobError::kUsage, e.what());
    }
} catch (const JobError&) {
    throw;
} catch (const std::runtime_error& e) {
    throw JobError(JobError::kUsage, e.what());
}

void RenderJob::render(HostWorld& input, std::unique_ptr<HostWorld>& output, int frame) {
    mHost.setTime(frame * static_cast<A_long>(mHost.inData().time_step));
    PF_RenderRequest request = PF_RenderRequest();
    request.rect = PF_LRect{0, 0, input.width(), input.height()};
    request.channel_mask = PF_ChannelMask_ARGB;
    PF_PreRenderOutput layout = PF_PreRenderOutput();
    require(mHost.smartPreRender(request, layout, &input), mHost, "PF_Cmd_SMART_PRE_RENDER");
    const int width = layout.result_rect.right - layout.result_rect.left;
    const int height = layout.result_rect.bottom - layout.result_rect.top;
    if (width <= 0 || height <= 0) {
        throw JobError(JobError::kEffect, "the effect asked for an empty output");
    }
    ensureWorld(output, width, height);
    require(mHost.smartRender(&input, output.get()), mHost, "PF_Cmd_SMART_RENDER");
}

void RenderJob::renderSequence(const std::string& input, const std::string& output,
                               const std::vector<int>& frames) {
    const FramePattern in(input), out(output);
    if (frames.size() > 1 && !out.isSequence()) {
        throw JobError(JobError::kUsage, "OUTPUT needs a frame number (%04d or ####) to hold " +
                                             std::to_string(frames.size()) + " frames");
    }
    const bool progress = isatty(STDERR_FILENO);
    const int total = static_cast<int>(frames.size());
    int done = 0;
    SequencePipeline::Stages stages;
    stages.read = [&](FrameSlot& slot, double& convert) { readFrame(in.name(slot.frame), slot, convert); };
    stages.render = [&](FrameSlot& slot) { render(*slot.input, slot.output, slot.frame); };
    stages.encode = [&](FrameSlot& slot, double& convert) {
        imageStep([&] {
            ImageWriter::encode(out.name(slot.frame), slot.spec, *slot.output, slot.extra, mOptions.write,
                                &convert);
        });
    };
    stages.commit = [&](FrameSlot& slot) { imageStep([&] { ImageWriter::commit(out.name(slot.frame)); }); };
    stages.discard = [&](FrameSlot& slot) { ImageWriter::discard(out.name(slot.frame)); };
    stages.done = [&](const FrameSlot&) {
        if (progress) showProgress(++done, total);
    };
    const int threads = mOptions.threads > 0
                            ? mOptions.threads
                            : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    const PipelineTimes times = SequencePipeline(stages, threads).run(frames);
    std::printf("Rendered %d frame%s in %.3f s (%.2f frames per second)\n", total, total == 1 ? "" : "s",
                times.wall, times.wall > 0 ? total / times.wall : 0.0);
    if (mOptions.times && total > 0) {
        const double ms = 1000.0 / total;
        std::fprintf(stderr,
                     "per frame: decode %.1f ms, convert %.1f ms, render %.1f ms, encode %.1f ms, "
                     "render thread waiting %.1f ms, wall %.1f ms\n",
                     times.decode * ms, times.convert * ms, times.render * ms, times.encode * ms,
                     times.waiting * ms, times.wall * ms);
    }
}

void RenderJob::renderSheet(const std::string& input, const std::string& output, const std::string& vary) {
    std::smatch match;
    static const std::regex kVary("(.+)=([^:]+):([^:]+):([0-9]+)");
    if (!std::regex_match(vary, match, kVary)) {
        throw JobError(JobError::kUsage, "--vary takes NAME=FROM:TO:COUNT, not \"" + vary + "\"");
    }
    int index;
    double from, to;
    try {
        index = ParameterSettings::resolve(mHost, match[1].str());
        from = ParameterSettings::parseValue(mHost, index, match[2].str());
        to = ParameterSettings::parseValue(mHost, index, match[3].str());
    } catch (const std::invalid_argument& e) {
        throw JobError(JobError::kUsage, e.what());
    }
    const int count = match[4].length() <= 3 ? std::stoi(match[4].str()) : 0;
    if (count < 1 || count > 256) {
        throw JobError(JobError::kUsage, "--vary COUNT must be from 1 to 256");
    }

    FrameSlot source;
    double convert = 0;
    readFrame(input, source, convert);
    constexpr int kGap = 4;
    constexpr uint8_t kGapArgb[4] = {255, 31, 31, 31};  // opaque dark grey between tiles
    const int columns = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
    const int rows = (count + columns - 1) / columns;
    const int tileW = source.input->width(), tileH = source.input->height();
    HostWorld sheet(columns * tileW + (columns + 1) * kGap, rows * tileH + (rows + 1) * kGap, Depth::Eight);
    PF_LayerDef* sheetDef = sheet.def();
    for (int y = 0; y < sheet.height(); ++y) {
        uint8_t* p = static_cast<uint8_t*>(sheetDef->data) + static_cast<size_t>(y) * sheetDef->rowbytes;
        for (int x = 0; x < sheet.width(); ++x) std::copy(kGapArgb, kGapArgb + 4, p + 4 * x);
    }
    std::unique_ptr<HostWorld> tile;
    for (int i = 0; i < count; ++i) {
        const double value = count == 1 ? from : from + (to - from) * i / (count - 1);
        mHost.setParamValue(index, value);
        render(*source.input, tile, 0);
        const int ox = kGap + (i % columns) * (tileW + kGap), oy = kGap + (i / columns) * (tileH + kGap);
        const PF_LayerDef* tileDef = tile->def();
        const size_t rowBytes = 4 * static_cast<size_t>(std::min(tileW, tile->width()));
        for (int y = 0; y < std::min(tileH, tile->height()); ++y) {
            std::memcpy(
                static_cast<uint8_t*>(sheetDef->data) + static_cast<size_t>(oy + y) * sheetDef->rowbytes +
                    4 * ox,
                static_cast<const uint8_t*>(tileDef->data) + static_cast<size_t>(y) * tileDef->rowbytes,
                rowBytes);
        }
        std::printf("tile %d (row %d, column %d): %s = %g\n", i + 1, i / columns + 1, i % columns + 1,
                    mHost.params()[index].name, value);
    }
    imageStep([&] { ImageWriter::write(output, source.spec, sheet, {}, mOptions.write); });
}

}  // namespace fxhost
