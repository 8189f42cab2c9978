// The pipeline with several frames in flight: frames rendered and put in place in list order
// whatever order their reads and writes finish in, a movie read and written one frame at a time,
// and a failure in any stage stopping the list where a plain loop would.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "SequencePipeline.h"

using fxhost::FrameSlot;

namespace {

struct Case {
    const char* name;
    int encoders;
    bool readInOrder;
    int slowFrame;  // its read, and its write, wait until a later frame's has finished; -1 for none
    char failIn;    // 'r'ead, re'n'der, 'e'ncode, 'c'ommit, or 0
    int failFrame;
};

}  // namespace

TEST(SequencePipeline, KeepsListOrderWithFramesInFlightAndStopsAtTheFirstFailure) {
    const std::vector<int> frames = {10, 11, 12, 13, 14, 15, 16};
    const Case cases[] = {
        {"slow read and write, several in flight", 2, false, 11, 0, -1},
        {"slow first frame, one encoder", 1, false, 10, 0, -1},
        {"a movie: read and written one frame at a time", 1, true, 12, 0, -1},
        {"read fails while later frames are read", 2, false, 11, 'r', 13},
        {"render fails", 2, false, -1, 'n', 12},
        {"encode fails", 3, false, -1, 'e', 14},
        {"commit fails after a later frame is written", 2, false, 11, 'c', 11},
        {"the first frame fails", 2, true, -1, 'r', 10},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::mutex mutex;
        std::condition_variable changed;
        std::vector<int> read, rendered, written, done;
        bool readPassed = false, writePassed = false;
        // The slow frame waits for a later frame to pass the same stage, and says whether one did; a
        // stage that must take one frame at a time is given less time to show that none does.
        auto slow = [&](const FrameSlot& slot, const std::vector<int>& passed, bool alone) {
            std::unique_lock<std::mutex> lock(mutex);
            return slot.frame == c.slowFrame &&
                   changed.wait_for(lock, std::chrono::milliseconds(alone ? 300 : 5000), [&] {
                       return std::any_of(passed.begin(), passed.end(), [&](int f) { return f > slot.frame; });
                   });
        };
        auto pass = [&](char stage, const FrameSlot& slot, std::vector<int>& into) {
            std::lock_guard<std::mutex> lock(mutex);
            if (c.failIn == stage && slot.frame == c.failFrame) {
                throw std::runtime_error("frame " + std::to_string(slot.frame) + " broke");
            }
            into.push_back(slot.frame);
            changed.notify_all();
        };
        fxhost::SequencePipeline::Stages stages;
        stages.read = [&](FrameSlot& slot, double&) {
            readPassed |= slow(slot, read, c.readInOrder);
            fxhost::HostWorld::ensure(slot.input, 1, 1);
            const float argb[4] = {255, static_cast<float>(slot.frame), 0, 0};
            slot.input->fill(argb);
            pass('r', slot, read);
        };
        stages.render = [&](FrameSlot& slot) {
            pass('n', slot, rendered);
            fxhost::HostWorld::ensure(slot.output, 1, 1);
            float argb[4];
            slot.input->getPixel(0, 0, argb);
            slot.output->fill(argb);
        };
        stages.encode = [&](FrameSlot& slot, double&) {
            writePassed |= slow(slot, written, c.encoders == 1);
            float argb[4];
            slot.output->getPixel(0, 0, argb);
            EXPECT_EQ(argb[1], slot.frame) << "frame " << slot.frame << " written from another frame's pixels";
            pass('e', slot, written);
        };
        stages.commit = [&](FrameSlot& slot) { pass('c', slot, done); };
        stages.discard = [](FrameSlot&) {};
        stages.done = [](const FrameSlot&) {};

        std::string error;
        try {
            fxhost::SequencePipeline(stages, c.encoders, c.readInOrder).run(frames);
        } catch (const std::runtime_error& e) {
            error = e.what();
        }
        const auto failing = std::find(frames.begin(), frames.end(), c.failFrame);
        EXPECT_EQ(done, std::vector<int>(frames.begin(), failing));
        EXPECT_EQ(error, c.failIn ? "frame " + std::to_string(c.failFrame) + " broke" : "");
        EXPECT_TRUE(std::is_sorted(rendered.begin(), rendered.end()));
        if (c.slowFrame >= 0) {
            EXPECT_EQ(readPassed, !c.readInOrder) << "a later frame read while frame " << c.slowFrame << " was";
            EXPECT_EQ(writePassed, c.encoders > 1) << "a later frame written while frame " << c.slowFrame << " was";
        }
    }
}
