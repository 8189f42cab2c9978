#include "SequencePipeline.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>

namespace fxhost {

namespace {

using Clock = std::chrono::steady_clock;

double since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// A queue between threads; pop() waits for an item and answers false once closed and empty.
template <typename T>
class Channel {
public:
    void push(T item) {
        std::lock_guard<std::mutex> lock(mMutex);
        mItems.push_back(std::move(item));
        mReady.notify_one();
    }
    bool pop(T& item) {
        std::unique_lock<std::mutex> lock(mMutex);
        mReady.wait(lock, [this] { return !mItems.empty() || mClosed; });
        if (mItems.empty()) return false;
        item = std::move(mItems.front());
        mItems.pop_front();
        return true;
    }
    void close() {
        std::lock_guard<std::mutex> lock(mMutex);
        mClosed = true;
        mReady.notify_all();
    }

private:
    std::mutex mMutex;
    std::condition_variable mReady;
    std::deque<T> mItems;
    bool mClosed = false;
};

// The first failure in list order, whichever thread meets it and whenever.
class FirstFailure {
public:
    void record(int position, std::exception_ptr error) {
        std::lock_guard<std::mutex> lock(mMutex);
        if (position < mPosition) {
            mPosition = position;
            mError = error;
        }
    }
    // Whether a failure at an earlier position means this one must not go on.
    bool before(int position) {
        std::lock_guard<std::mutex> lock(mMutex);
        return mPosition < position;
    }
    void rethrow() {
        std::lock_guard<std::mutex> lock(mMutex);
        if (mError) std::rethrow_exception(mError);
    }

private:
    std::mutex mMutex;
    int mPosition = 1 << 30;
    std::exception_ptr mError;
};

}  // namespace

SequencePipeline::SequencePipeline(Stages stages, int encoders)
    : mStages(std::move(stages)), mEncoders(encoders < 1 ? 1 : encoders) {}

PipelineTimes SequencePipeline::run(const std::vector<int>& frames) {
    const int count = static_cast<int>(frames.size());
    const auto start = Clock::now();
    PipelineTimes times;
    std::mutex timesMutex;
    // Runs a file stage and books its time, less the part spent converting pixels.
    auto fileStage = [&](const std::function<void(FrameSlot&, double&)>& stage, FrameSlot& slot,
                         double& into) {
        const auto begin = Clock::now();
        double convert = 0;
        stage(slot, convert);
        std::lock_guard<std::mutex> lock(timesMutex);
        into += since(begin) - convert;
        times.convert += convert;
    };

    // One slot decoding, one rendering and one for each encoder keep every thread fed.
    std::vector<FrameSlot> slots(static_cast<size_t>(std::min(count, mEncoders + 2)));
    Channel<FrameSlot*> freeSlots, toRender, toEncode;
    for (FrameSlot& slot : slots) freeSlots.push(&slot);
    FirstFailure failure;
    std::mutex commitMutex;
    std::condition_variable commitTurn;
    int nextCommit = 0;

    std::thread reader([&] {
        FrameSlot* slot;
        for (int position = 0; position < count && freeSlots.pop(slot); ++position) {
            if (failure.before(position)) break;
            slot->frame = frames[position];
            slot->position = position;
            try {
                fileStage(mStages.read, *slot, times.decode);
            } catch (...) {
                failure.record(position, std::current_exception());
                break;
            }
            toRender.push(slot);
        }
        toRender.close();
    });

    std::vector<std::thread> encoders;
    for (int i = 0; i < mEncoders; ++i) {
        encoders.emplace_back([&] {
            FrameSlot* slot;
            while (toEncode.pop(slot)) {
                const int position = slot->position;
                bool written = false;
                if (!failure.before(position)) {
                    try {
                        fileStage(mStages.encode, *slot, times.encode);
                        written = true;
                    } catch (...) {
                        failure.record(position, std::current_exception());
                    }
                }
                // Files go into place in list order, so that nothing after a failure is kept.
                std::unique_lock<std::mutex> lock(commitMutex);
                commitTurn.wait(lock, [&] { return nextCommit == position; });
                if (written && !failure.before(position)) {
                    try {
                        mStages.commit(*slot);
                        mStages.done(*slot);
                    } catch (...) {
                        failure.record(position, std::current_exception());
                        mStages.discard(*slot);
                    }
                } else if (written) {
                    mStages.discard(*slot);
                }
                ++nextCommit;
                commitTurn.notify_all();
                lock.unlock();
                freeSlots.push(slot);
            }
        });
    }

    FrameSlot* slot;
    for (;;) {
        const auto begin = Clock::now();
        if (!toRender.pop(slot)) break;
        times.waiting += since(begin);
        if (failure.before(slot->position)) break;
        try {
            const auto renderBegin = Clock::now();
            mStages.render(*slot);
            times.render += since(renderBegin);
        } catch (...) {
            failure.record(slot->position, std::current_exception());
            break;
        }
        // The last frame's input is not needed again; a single large frame is written without it.
        if (slot->position == count - 1) slot->input.reset();
        toEncode.push(slot);
    }
    toEncode.close();
    for (std::thread& encoder : encoders) encoder.join();
    freeSlots.close();
    reader.join();
    failure.rethrow();
    times.wall = since(start);
    return times;
}

}  // namespace fxhost
