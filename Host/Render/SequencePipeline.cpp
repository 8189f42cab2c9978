#include "SequencePipeline.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <deque>
#include <exception>
#include <map>
#include <mutex>
#include <thread>

namespace fxhost {

namespace {

using Clock = std::chrono::steady_clock;

double since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace

SequencePipeline::SequencePipeline(Stages stages, int encoders, bool readInOrder)
    : mStages(std::move(stages)), mEncoders(encoders < 1 ? 1 : encoders), mReadInOrder(readInOrder) {}

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

    // One slot rendering and one for each worker keep every thread fed. The frames in flight are
    // always a run of the list, [nextCommit, nextRead): the earliest of them can always move on.
    std::vector<FrameSlot> slots(static_cast<size_t>(std::min(count, mEncoders + 2)));
    std::mutex mutex;  // guards everything below
    std::condition_variable changed;
    std::vector<FrameSlot*> freeSlots;
    for (FrameSlot& slot : slots) freeSlots.push_back(&slot);
    std::map<int, FrameSlot*> decoded;  // read, by position, until the render takes them in order
    std::deque<FrameSlot*> rendered;    // in list order, until a worker writes them
    std::map<int, std::pair<FrameSlot*, bool>> encoded;  // by position: written, or skipped after a failure
    int nextRead = 0, nextRender = 0, nextCommit = 0, reading = 0, encoding = 0;
    bool renderDone = false;
    int failedAt = INT_MAX;  // the first failure in list order, whichever thread meets it and whenever
    std::exception_ptr error;
    auto fail = [&](int position, std::exception_ptr caught) {
        if (position < failedAt) {
            failedAt = position;
            error = caught;
        }
    };
    // Puts written frames in place in list order, so that nothing after a failure is kept.
    auto commitReady = [&] {
        for (auto it = encoded.find(nextCommit); it != encoded.end(); it = encoded.find(nextCommit)) {
            FrameSlot& slot = *it->second.first;
            const bool written = it->second.second;
            encoded.erase(it);
            if (written && slot.position < failedAt) {
                try {
                    mStages.commit(slot);
                    mStages.done(slot);
                } catch (...) {
                    fail(slot.position, std::current_exception());
                    mStages.discard(slot);
                }
            } else if (written) {
                mStages.discard(slot);
            }
            ++nextCommit;
            freeSlots.push_back(&slot);
        }
    };

    auto worker = [&] {
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
            if (!rendered.empty() && encoding < mEncoders) {
                FrameSlot* slot = rendered.front();
                rendered.pop_front();
                ++encoding;
                bool written = false;
                if (slot->position < failedAt) {
                    lock.unlock();
                    std::exception_ptr caught;
                    try {
                        fileStage(mStages.encode, *slot, times.encode);
                        written = true;
                    } catch (...) {
                        caught = std::current_exception();
                    }
                    lock.lock();
                    if (caught) fail(slot->position, caught);
                }
                --encoding;
                encoded.emplace(slot->position, std::make_pair(slot, written));
                commitReady();
                changed.notify_all();
            } else if (!renderDone && !freeSlots.empty() && nextRead < std::min(count, failedAt) &&
                       !(mReadInOrder && reading > 0)) {
                FrameSlot* slot = freeSlots.back();
                freeSlots.pop_back();
                slot->position = nextRead++;
                slot->frame = frames[static_cast<size_t>(slot->position)];
                ++reading;
                lock.unlock();
                std::exception_ptr caught;
                try {
                    fileStage(mStages.read, *slot, times.decode);
                } catch (...) {
                    caught = std::current_exception();
                }
                lock.lock();
                --reading;
                if (caught) {
                    fail(slot->position, caught);
                    freeSlots.push_back(slot);
                } else {
                    decoded.emplace(slot->position, slot);
                }
                changed.notify_all();
            } else if (renderDone && rendered.empty()) {
                return;  // what is still being written is its own worker's to finish
            } else {
                changed.wait(lock);
            }
        }
    };
    std::vector<std::thread> workers;
    for (int i = 0; i <= mEncoders; ++i) workers.emplace_back(worker);

    {
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
            const auto begin = Clock::now();
            changed.wait(lock, [&] { return nextRender >= std::min(count, failedAt) || decoded.count(nextRender); });
            times.waiting += since(begin);
            if (nextRender >= std::min(count, failedAt)) break;
            FrameSlot* slot = decoded[nextRender];
            decoded.erase(nextRender);
            lock.unlock();
            std::exception_ptr caught;
            try {
                const auto renderBegin = Clock::now();
                mStages.render(*slot);
                times.render += since(renderBegin);
            } catch (...) {
                caught = std::current_exception();
            }
            lock.lock();
            if (caught) {
                fail(slot->position, caught);
                freeSlots.push_back(slot);
                break;
            }
            // The last frame's input is not needed again; a single large frame is written without it.
            if (slot->position == count - 1) slot->input.reset();
            rendered.push_back(slot);
            ++nextRender;
            changed.notify_all();
        }
        renderDone = true;
        changed.notify_all();
    }
    for (std::thread& thread : workers) thread.join();
    if (error) std::rethrow_exception(error);
    times.wall = since(start);
    return times;
}

}  // namespace fxhost
