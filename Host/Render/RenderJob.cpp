#include "RenderJob.h"

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <thread>
#include <exception>
#include <future>
#include <regex>

#include "Console.h"
#include "FramePattern.h"
#include "FrameSink.h"
#include "ImageLibrary.h"
#include "MovieFile.h"
#include "MovieSource.h"

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

// The bundle's own standard output (its driver report) is kept off the host's.
HostOptions hostOptions(Renderer renderer) {
    HostOptions options;
    options.bundleOutput = Console::bundleOutput();
    options.renderer = renderer;
    return options;
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
    : mHost(plugin, hostOptions(options.renderer)), mOptions(options) {
    require(mHost.globalSetup(), mHost, "PF_Cmd_GLOBAL_SETUP");
    // The GL pass cannot take frames larger than the driver's textures; the CPU renderer has no such bound.
    if (mHost.glContext() && mHost.renderer() == Renderer::GL) mMaxTextureSize = mHost.glContext()->maxTextureSize();
    Console::detail("renderer: %s (%s)\n", rendererName(mHost.renderer()), mHost.rendererReason().c_str());
    require(mHost.paramsSetup(), mHost, "PF_Cmd_PARAMS_SETUP");
    try {
        settings.apply(mHost);
    } catch (const std::invalid_argument& e) {
        throw JobError(JobError::kUsage, e.what());
    }
} catch (const JobError&) {
    throw;
} catch (const std::runtime_error& e) {
    // A bundle that cannot be loaded, or no GL context: host trouble, not a bad argument.
    throw JobError(JobError::kTrouble, e.what());
}

SourceOptions RenderJob::sourceOptions() const {
    SourceOptions options;
    options.strictDepth = mOptions.strictDepth;
    options.maxTextureSize = mMaxTextureSize;
    return options;
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
    HostWorld::ensure(output, width, height);
    require(mHost.smartRender(&input, output.get()), mHost, "PF_Cmd_SMART_RENDER");
}

void RenderJob::renderSequence(const std::string& input, const std::string& output,
                               const std::vector<int>& frames, ProgressLog& log,
                               std::unique_ptr<MovieReader> opened) {
    const std::unique_ptr<FrameSource> source = FrameSource::open(input, sourceOptions(), std::move(opened));
    SinkOptions sinkOptions;
    sinkOptions.write = mOptions.write;
    sinkOptions.movie = mOptions.movie;
    if (const auto* movie = dynamic_cast<const MovieSource*>(source.get())) {
        sinkOptions.sourceMovie = movie->reader().path();
        sinkOptions.sourceStream = movie->reader().streamIndex();
    }
    const std::unique_ptr<FrameSink> sink = FrameSink::open(output, sinkOptions);
    const bool progress = isatty(STDERR_FILENO) && Console::level() == Console::Level::Normal;
    const int total = static_cast<int>(frames.size());
    int done = 0;
    SequencePipeline::Stages stages;
    stages.read = [&](FrameSlot& slot, double& convert) { source->read(slot.frame, slot, convert); };
    stages.render = [&](FrameSlot& slot) { render(*slot.input, slot.output, slot.frame); };
    stages.encode = [&](FrameSlot& slot, double& convert) { sink->encode(slot, convert); };
    stages.commit = [&](FrameSlot& slot) { sink->commit(slot); };
    stages.discard = [&](FrameSlot& slot) { sink->discard(slot); };
    stages.done = [&](const FrameSlot& slot) {
        ++done;
        log.frameDone(slot.frame);
        if (progress) showProgress(done, total);
        Console::detail("frame %d: %s -> %s, %dx%d, %d channel(s), %s\n", slot.frame,
                        source->name(slot.frame).c_str(), sink->name(slot.frame).c_str(), slot.header.width,
                        slot.header.height, slot.header.channels, slot.header.type.c_str());
    };
    // A movie is encoded in frame order, one frame at a time; its codec runs threads of its own.
    const int threads = sink->ordered() ? 1
                        : mOptions.threads > 0
                            ? mOptions.threads
                            : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    source->check(frames);
    if (sink->ordered()) log.allOrNothing(output);
    log.begin(total);
    PipelineTimes times;
    try {
        times = SequencePipeline(stages, threads, source->ordered()).run(frames);
        const auto finishBegin = std::chrono::steady_clock::now();
        sink->finish();
        const double finishing =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - finishBegin).count();
        times.encode += finishing;
        times.wall += finishing;
    } catch (...) {
        sink->abandon();
        throw;
    }
    log.end();
    Console::note("Rendered %d frame%s in %.3f s (%.2f frames per second)\n", total, total == 1 ? "" : "s",
                  times.wall, times.wall > 0 ? total / times.wall : 0.0);
    if (mOptions.times && total > 0) {
        const double ms = 1000.0 / total;
        std::fprintf(stderr,
                     "per frame: decode %.1f ms, convert %.1f ms, render %.1f ms, encode %.1f ms, "
                     "render thread waiting %.1f ms, wall %.1f ms\n",
                     times.decode * ms, times.convert * ms, times.render * ms, times.encode * ms,
                     times.waiting * ms, times.wall * ms);
        struct rusage usage;
        getrusage(RUSAGE_SELF, &usage);
        std::fprintf(stderr, "memory: host worlds at most %.1f MiB, peak resident %.1f MiB\n",
                     HostWorld::peakBytes() / 1048576.0, usage.ru_maxrss / 1024.0);
    }
}

void RenderJob::renderSheet(const std::string& input, const std::string& output, const std::string& vary,
                            int tileWidth, int frame) {
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
        throw JobError(JobError::kUsage, "--vary " + vary + ": " + e.what());
    }
    const int count = match[4].length() <= 3 ? std::stoi(match[4].str()) : 0;
    if (count < 1 || count > 256) {
        throw JobError(JobError::kUsage, "--vary COUNT must be from 1 to 256");
    }

    // A sheet is one picture rendered again and again; which frame of many it should be is for
    // fxhost render to pick, rather than the first being taken without a word.
    const bool movie = MovieFile::isMovie(input);
    if (movie || FramePattern(input).isSequence()) {
        throw JobError(JobError::kUsage, "sheet takes one image, not " +
                                             std::string(movie ? "a movie" : "a sequence") + " ('" + input +
                                             "'); write the frame as an image first: fxhost render --frames N " +
                                             input + " frame.png");
    }
    FrameSlot source;
    double convert = 0;
    const std::unique_ptr<FrameSource> frames = FrameSource::open(input, sourceOptions());
    frames->read(frames->frames().first(), source, convert);
    constexpr int kGap = 4, kSheetWidth = 1920;
    const float kGapArgb[4] = {255.0f, 31.0f, 31.0f, 31.0f};  // opaque dark grey
    const int columns = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
    const int rows = (count + columns - 1) / columns;
    const int inputW = source.input->width(), inputH = source.input->height();
    const int tileW = tileWidth > 0
                          ? tileWidth
                          : std::max(16, std::min(inputW, (kSheetWidth - (columns + 1) * kGap) / columns));
    const int tileH =
        std::max(1, static_cast<int>(std::lround(static_cast<double>(inputH) * tileW / inputW)));
    HostWorld sheet(columns * tileW + (columns + 1) * kGap, rows * tileH + (rows + 1) * kGap, Depth::Eight);
    sheet.fill(kGapArgb);
    std::unique_ptr<HostWorld> tile;
    for (int i = 0; i < count; ++i) {
        const double value = count == 1 ? from : from + (to - from) * i / (count - 1);
        mHost.setParamValue(index, value);
        render(*source.input, tile, frame);
        const int ox = kGap + (i % columns) * (tileW + kGap), oy = kGap + (i / columns) * (tileH + kGap);
        char label[128];
        std::snprintf(label, sizeof label, "%s = %g", mHost.params()[index].name, value);
        const int fontSize = std::max(10, std::min(tileH / 8, tileW / 16));
        // Scaled (or copied, at the rendered size) and labelled by the image library.
        const std::string unlabelled = imageStep(
            [&] { return ImageLibrary::codec().pasteTile(sheet, ox, oy, tileW, tileH, *tile, label, fontSize); });
        if (!unlabelled.empty()) Console::warnOnce("tiles are not labelled: " + unlabelled);
        Console::note("tile %d (row %d, column %d): %s\n", i + 1, i / columns + 1, i % columns + 1, label);
    }
    imageStep([&] { ImageWriter::write(output, source.header, sheet, {}, mOptions.write); });
}

}  // namespace fxhost
