#include "PreviewRenderer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>

#include "HostGLContext.h"
#include "LibAv.h"
#include "RenderJob.h"

namespace fxhost {

struct PreviewRenderer::Pending {
    FrameRequest request;
    uint64_t sequence = 0;
    bool answered = false;
    Result result;
    std::condition_variable answeredSignal;
};

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// A proxy's input: the world scaled down by area averaging, so that a proxy looks like the frame.
std::unique_ptr<HostWorld> scaledWorld(const HostWorld& world, double scale) {
    const int width = std::max(1, static_cast<int>(std::lround(world.width() * scale)));
    const int height = std::max(1, static_cast<int>(std::lround(world.height() * scale)));
    auto scaled = std::make_unique<HostWorld>(width, height, Depth::Eight);
    const av::ScaleContext context(sws_getContext(world.width(), world.height(), AV_PIX_FMT_ARGB, width,
                                                  height, AV_PIX_FMT_ARGB, SWS_AREA, nullptr, nullptr,
                                                  nullptr));
    if (!context) throw JobError(JobError::kImage, "cannot scale the frame for a proxy");
    const uint8_t* source[4] = {static_cast<const uint8_t*>(world.def()->data)};
    const int sourceStride[4] = {world.rowbytes()};
    uint8_t* target[4] = {static_cast<uint8_t*>(scaled->def()->data)};
    const int targetStride[4] = {scaled->rowbytes()};
    sws_scale(context.get(), source, sourceStride, 0, world.height(), target, targetStride);
    return scaled;
}

// A world's A, R, G, B bytes as R, G, B(, A): what image files and browsers hold.
Pixels pixelsOf(const HostWorld& world, int channels) {
    Pixels pixels;
    pixels.width = world.width();
    pixels.height = world.height();
    pixels.channels = channels;
    pixels.bytes.resize(static_cast<size_t>(world.width()) * world.height() * channels);
    uint8_t* to = pixels.bytes.data();
    for (int y = 0; y < world.height(); ++y) {
        const uint8_t* from =
            static_cast<const uint8_t*>(world.def()->data) + static_cast<size_t>(y) * world.rowbytes();
        for (int x = 0; x < world.width(); ++x, from += 4) {
            *to++ = from[1];
            *to++ = from[2];
            *to++ = from[3];
            if (channels == 4) *to++ = from[0];
        }
    }
    return pixels;
}

}  // namespace

PreviewRenderer::PreviewRenderer(const std::string& plugin, const ParameterSettings& settings,
                                 const std::string& input, Renderer renderer) {
    const char* delay = std::getenv("FXHOST_PREVIEW_TEST_DELAY_MS");
    if (delay) mDelayMs = std::max(0, std::atoi(delay));
    mThread = std::thread(&PreviewRenderer::run, this, plugin, settings, input, renderer);
    std::unique_lock<std::mutex> hold(mLock);
    mStartedSignal.wait(hold, [this] { return mStarted; });
    if (mStartStatus != 0) {
        hold.unlock();
        mThread.join();
        throw JobError(mStartStatus, mStartError);
    }
}

PreviewRenderer::~PreviewRenderer() {
    close();
    if (mThread.joinable()) mThread.join();
}

void PreviewRenderer::close() {
    std::lock_guard<std::mutex> hold(mLock);
    mClosed = true;
    for (auto& slot : mSlots) {
        slot.second->answered = true;
        slot.second->result.status = Result::Status::Closed;
        slot.second->answeredSignal.notify_all();
    }
    mSlots.clear();
    mWake.notify_all();
}

PreviewRenderer::Result PreviewRenderer::render(const FrameRequest& request) {
    auto pending = std::make_shared<Pending>();
    pending->request = request;
    std::unique_lock<std::mutex> hold(mLock);
    if (mClosed) {
        Result closed;
        closed.status = Result::Status::Closed;
        return closed;
    }
    pending->sequence = ++mNextSequence;
    // The input and the rendered frame are two views: each has a slot of its own.
    std::shared_ptr<Pending>& slot = mSlots[request.view + (request.before ? "|before" : "|after")];
    if (slot) {
        slot->answered = true;
        slot->result.status = Result::Status::Replaced;
        slot->answeredSignal.notify_all();
    }
    slot = pending;
    mWake.notify_all();
    pending->answeredSignal.wait(hold, [&] { return pending->answered; });
    return std::move(pending->result);
}

void PreviewRenderer::run(const std::string& plugin, const ParameterSettings& settings,
                          const std::string& input, Renderer renderer) {
    std::unique_ptr<RenderJob> job;
    std::unique_ptr<FrameSource> source;
    FrameSlot frame;
    bool loaded = false;                                   // frame.frame is read whole
    std::map<double, std::unique_ptr<HostWorld>> proxies;  // the read frame's scaled inputs
    std::unique_ptr<HostWorld> output;
    {
        int status = 0;
        std::string error;
        try {
            OutputOptions jobOptions;
            jobOptions.renderer = renderer;
            job = std::make_unique<RenderJob>(plugin, settings, jobOptions);
            EffectHost& host = job->host();
            SourceOptions options;
            if (host.glContext() && host.renderer() == Renderer::GL) options.maxTextureSize = host.glContext()->maxTextureSize();
            source = FrameSource::open(input, options);
            mSummary.frames = source->frames();
            mSummary.kind = source->kind();
            double convert = 0;
            source->read(mSummary.frames.first(), frame, convert);
            frame.frame = mSummary.frames.first();
            loaded = true;
            mSummary.width = frame.input->width();
            mSummary.height = frame.input->height();
            mSummary.effect = host.effectName();
            mSummary.start = settings.resolve(host);
            for (size_t i = 1; i < host.params().size(); ++i) {
                const PF_ParamDef& param = host.params()[i];
                if (param.param_type != PF_Param_FLOAT_SLIDER) continue;
                const PF_FloatSliderDef& slider = param.u.fs_d;
                const ParameterCurve& curve =
                    mSummary.start.emplace(static_cast<int>(i), ParameterCurve(slider.dephault)).first->second;
                mSummary.parameters.push_back({static_cast<int>(i), param.name, slider.valid_min,
                                               slider.valid_max, slider.dephault,
                                               curve.at(mSummary.frames.first()), curve.keyed()});
            }
            mHost = &host;
        } catch (const JobError& e) {
            status = e.status();
            error = e.what();
        } catch (const std::exception& e) {
            status = 1;
            error = e.what();
        }
        std::lock_guard<std::mutex> hold(mLock);
        mStarted = true;
        mStartStatus = status;
        mStartError = error;
        mStartedSignal.notify_all();
        if (status != 0) return;
    }

    for (;;) {
        std::shared_ptr<Pending> pending;
        {
            std::unique_lock<std::mutex> hold(mLock);
            mWake.wait(hold, [this] { return mClosed || !mSlots.empty(); });
            if (mClosed) break;
            // Views take turns: the request that has waited longest goes first.
            auto oldest = std::min_element(mSlots.begin(), mSlots.end(), [](const auto& a, const auto& b) {
                return a.second->sequence < b.second->sequence;
            });
            pending = oldest->second;
            mSlots.erase(oldest);
            if (mDelayMs > 0) {
                mWake.wait_for(hold, std::chrono::milliseconds(mDelayMs), [this] { return mClosed; });
            }
        }

        const FrameRequest& request = pending->request;
        Result result;
        const Clock::time_point start = Clock::now();
        try {
            if (!loaded || request.frame != frame.frame) {
                proxies.clear();
                loaded = false;  // a failed read may leave the slot half filled
                double convert = 0;
                source->read(request.frame, frame, convert);
                frame.frame = request.frame;
                loaded = true;
            }
            const int channels = frame.header.alphaChannel >= 0 || frame.header.channels == 4 ? 4 : 3;
            HostWorld* in = frame.input.get();
            if (request.scale < 1) {
                if (proxies.size() >= 4 && !proxies.count(request.scale))
                    proxies.clear();  // scripts may ask any scale
                std::unique_ptr<HostWorld>& proxy = proxies[request.scale];
                if (!proxy) proxy = scaledWorld(*frame.input, request.scale);
                in = proxy.get();
            }
            if (request.before) {
                result.pixels = pixelsOf(*in, channels);
            } else {
                for (const PreviewSummary::Parameter& parameter : mSummary.parameters) {
                    job->host().setParamCurve(parameter.index, request.values.at(parameter.index));
                }
                job->render(*in, output, request.frame);
                result.pixels = pixelsOf(*output, channels);
            }
            result.status = Result::Status::Done;
        } catch (const JobError& e) {
            result.error = e.what();
            result.errorStatus = e.status();
        } catch (const std::exception& e) {
            result.error = e.what();
            result.errorStatus = 1;
        }
        result.renderMs = millisecondsSince(start);

        std::lock_guard<std::mutex> hold(mLock);
        pending->result = std::move(result);
        pending->answered = true;
        pending->answeredSignal.notify_all();
    }
    // The effect is set down and its GL context destroyed on the thread that made them.
    job.reset();
}

}  // namespace fxhost
