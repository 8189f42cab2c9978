#include "RenderJob.h"

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
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

ImageFile readImage(const std::string& path) {
    try {
        return ImageFile::read(path);
    } catch (const std::runtime_error& e) {
        throw JobError(JobError::kImage, e.what());
    }
}

void writeImage(const ImageFile& image, const std::string& path) {
    try {
        image.write(path);
    } catch (const std::runtime_error& e) {
        throw JobError(JobError::kImage, e.what());
    }
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

RenderJob::RenderJob(const std::string& plugin, const ParameterSettings& settings) try : mHost(plugin) {
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

ImageFile RenderJob::render(const ImageFile& input, int frame) {
    mHost.setTime(frame * static_cast<A_long>(mHost.inData().time_step));
    HostWorld source(input.width(), input.height(), Depth::Eight);
    input.toWorld(source);

    PF_RenderRequest request = PF_RenderRequest();
    request.rect = PF_LRect{0, 0, input.width(), input.height()};
    request.channel_mask = PF_ChannelMask_ARGB;
    PF_PreRenderOutput layout = PF_PreRenderOutput();
    require(mHost.smartPreRender(request, layout, &source), mHost, "PF_Cmd_SMART_PRE_RENDER");
    const int width = layout.result_rect.right - layout.result_rect.left;
    const int height = layout.result_rect.bottom - layout.result_rect.top;
    if (width <= 0 || height <= 0) {
        throw JobError(JobError::kEffect, "the effect asked for an empty output");
    }

    HostWorld result(width, height, Depth::Eight);
    require(mHost.smartRender(&source, &result), mHost, "PF_Cmd_SMART_RENDER");
    ImageFile output(width, height, input.channels(), input.type());
    output.fromWorld(result);
    return output;
}

void RenderJob::renderSequence(const std::string& input, const std::string& output,
                               const std::vector<int>& frames, ProgressLog& log) {
    const FramePattern in(input), out(output);
    const bool progress = isatty(STDERR_FILENO);
    const int total = static_cast<int>(frames.size());
    log.begin(total);
    const auto start = std::chrono::steady_clock::now();
    // Decoding the next frame and encoding the last one run on threads of their own while the
    // effect renders on this one, frame after frame. Failures are reported as a plain loop would
    // meet them: writing frame k-1 before reading frame k before rendering frame k; nothing after
    // the first failure is written.
    std::future<ImageFile> reading;
    if (total) reading = std::async(std::launch::async, readImage, in.name(frames[0]));
    std::future<void> writing;
    auto finishWriting = [&](int index) {
        if (!writing.valid()) return;
        writing.get();
        log.frameDone(frames[index]);
        if (progress) showProgress(index + 1, total);
    };
    for (int index = 0; index < total; ++index) {
        const int frame = frames[index];
        std::exception_ptr failure;
        ImageFile result;
        try {
            ImageFile source = reading.get();
            if (index + 1 < total) reading = std::async(std::launch::async, readImage, in.name(frames[index + 1]));
            result = render(source, frame);
        } catch (...) {
            failure = std::current_exception();
        }
        finishWriting(index - 1);
        if (failure) std::rethrow_exception(failure);
        writing = std::async(
            std::launch::async, [&out, frame](ImageFile image) { writeImage(image, out.name(frame)); },
            std::move(result));
    }
    finishWriting(total - 1);
    log.end();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("Rendered %d frame%s in %.3f s (%.2f frames per second)\n", total, total == 1 ? "" : "s",
                seconds, seconds > 0 ? total / seconds : 0.0);
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

    const ImageFile source = readImage(input);
    constexpr int kGap = 4;
    const int columns = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
    const int rows = (count + columns - 1) / columns;
    const int tileW = source.width(), tileH = source.height();
    ImageFile sheet(columns * tileW + (columns + 1) * kGap, rows * tileH + (rows + 1) * kGap,
                    source.channels(), source.type());
    for (int y = 0; y < sheet.height(); ++y) {
        for (int x = 0; x < sheet.width(); ++x) {
            float* p = sheet.rgba(x, y);
            p[0] = p[1] = p[2] = 0.12f;
        }
    }
    for (int i = 0; i < count; ++i) {
        const double value = count == 1 ? from : from + (to - from) * i / (count - 1);
        mHost.setParamValue(index, value);
        const ImageFile tile = render(source, 0);
        const int ox = kGap + (i % columns) * (tileW + kGap), oy = kGap + (i / columns) * (tileH + kGap);
        for (int y = 0; y < std::min(tileH, tile.height()); ++y) {
            for (int x = 0; x < std::min(tileW, tile.width()); ++x) {
                std::copy(tile.rgba(x, y), tile.rgba(x, y) + 4, sheet.rgba(ox + x, oy + y));
            }
        }
        std::printf("tile %d (row %d, column %d): %s = %g\n", i + 1, i / columns + 1, i % columns + 1,
                    mHost.params()[index].name, value);
    }
    writeImage(sheet, output);
}

}  // namespace fxhost
