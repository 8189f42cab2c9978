// The preview's one render thread: it loads the effect (whose GL context lives on the thread
// that loads it), opens the input, and renders frames that the server's threads ask for through
// a mailbox of one slot per view. A newer request for a view replaces the one waiting there,
// which is answered Replaced at once: only the newest setting is ever rendered, never a queue.
// Failures to start throw JobError with the program's exit statuses.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "FrameList.h"
#include "FrameRequest.h"
#include "FrameSource.h"
#include "ParameterSettings.h"

namespace fxhost {

class EffectHost;

// 8-bit pixels, R, G, B (and A when `channels` is 4), rows packed.
struct Pixels {
    int width = 0, height = 0, channels = 4;
    std::vector<uint8_t> bytes;
};

// What the page and scripts are told about the effect and the input.
struct PreviewSummary {
    struct Parameter {
        int index;
        std::string name;
        double min, max, defaultValue, value;  // value: at the first frame
        bool keyed;
    };
    std::string effect;
    std::vector<Parameter> parameters;
    int width = 0, height = 0;
    FrameList frames;
    FrameSource::Kind kind = FrameSource::Kind::Image;
    ParameterSettings::Curves start;  // every slider's, as FrameRequest::values
};

class PreviewRenderer {
public:
    struct Result {
        enum class Status { Done, Replaced, Closed, Failed };
        Status status = Status::Failed;
        Pixels pixels;
        double renderMs = 0;  // decoding the frame when it was not the last one, and the render
        std::string error;    // when Failed: what went wrong
        int errorStatus = 0;  // when Failed: the JobError status, which says whose fault it was
    };

    // Starts the thread and waits until the effect is set up with `settings` and the input's
    // first frame is read; throws what that throws.
    PreviewRenderer(const std::string& plugin, const ParameterSettings& settings, const std::string& input,
                    Renderer renderer = Renderer::GL);
    ~PreviewRenderer();  // close(), then waits for the frame being rendered

    const PreviewSummary& summary() const { return mSummary; }
    // The effect's parameter table, for parsing requests. Only names and ranges are read from it,
    // which the effect fixed at set-up; values are set on the render thread alone.
    const EffectHost& host() const { return *mHost; }

    // Blocks until the request is rendered, replaced by a newer one for its view, or closed.
    Result render(const FrameRequest& request);

    // Answers every waiting request Closed, and every later one too; the frame being rendered
    // is finished.
    void close();

private:
    struct Pending;
    void run(const std::string& plugin, const ParameterSettings& settings, const std::string& input,
             Renderer renderer);

    std::mutex mLock;
    std::condition_variable mWake;  // the render thread: a request, or closing
    std::map<std::string, std::shared_ptr<Pending>> mSlots;
    uint64_t mNextSequence = 0;
    bool mClosed = false;
    bool mStarted = false;
    std::string mStartError;
    int mStartStatus = 0;
    std::condition_variable mStartedSignal;

    PreviewSummary mSummary;
    const EffectHost* mHost = nullptr;
    int mDelayMs = 0;  // a test's stand-in for a slow effect: FXHOST_PREVIEW_TEST_DELAY_MS
    std::thread mThread;
};

}  // namespace fxhost
