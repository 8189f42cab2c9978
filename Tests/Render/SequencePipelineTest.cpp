// The pipeline's promises with several frames in flight: frames rendered and put in place in list
// order whatever order their reads finish in, a movie's constraints (one read, one write at a time,
// in order), and a failure stopping the list where a plain loop would.
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
using fxhost::HostWorld;
using fxhost::SequencePipeline;

namespace {

// What the stages saw, recorded from every thread.
struct Trace {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<int> readsDone, rendered, encodesBegun, done;
    int reading = 0, mostReading = 0, encoding = 0, mostEncoding = 0;
    bool slowOverlapped = false;
};

struct Case {
    const char* name;
    int encoders;
    bool readInOrder;
    int slowFrame;  // its read waits until a later frame's read has finished; -1 for none
    char failIn;    // 'r'ead, re'n'der, 'e'ncode, 'c'ommit, or 0
    int failFrame;
};

}  // namespace

TEST(SequencePipeline, KeepsListOrderWithFramesInFlightAndStopsAtTheFirstFailure) {
    const std::vector<int> frames = {10, 11, 12, 13, 14, 15, 16};
    const Case cases[] = {
        {"slow read, several in flight", 2, false, 11, 0, -1},
        {"slow first read, one encoder", 1, false, 10, 0, -1},
        {"a movie: reads and writes one at a time", 1, true, -1, 0, -1},
        {"read fails while later frames are read", 2, false, 11, 'r', 13},
        {"render fails", 2, false, -1, 'n', 12},
        {"encode fails", 3, false, -1, 'e', 14},
        {"commit fails", 2, false, -1, 'c', 11},
        {"the first frame fails", 2, true, -1, 'r', 10},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Trace t;
        auto failAt = [&](char stage, const FrameSlot& slot) {
            if (c.failIn == stage && slot.frame == c.failFrame) {
                throw std::runtime_error("frame " + std::to_string(slot.frame) + " broke");
            }
        };
        SequencePipeline::Stages stages;
        stages.read = [&](FrameSlot& slot, double&) {
            {
                std::unique_lock<std::mutex> lock(t.mutex);
                t.mostReading = std::max(t.mostReading, ++t.reading);
                if (slot.frame == c.slowFrame) {
                    t.slowOverlapped = t.changed.wait_for(lock, std::chrono::seconds(5), [&] {
                        return std::any_of(t.readsDone.begin(), t.readsDone.end(), [&](int f) { return f > c.slowFrame; });
                    });
                }
            }
            HostWorld::ensure(slot.input, 2, 1);
            const float argb[4] = {255, static_cast<float>(slot.frame), 0, 0};
            slot.input->fill(argb);
            std::lock_guard<std::mutex> lock(t.mutex);
            --t.reading;
            failAt('r', slot);
            t.readsDone.push_back(slot.frame);
            t.changed.notify_all();
        };
        stages.render = [&](FrameSlot& slot) {
            failAt('n', slot);
            t.rendered.push_back(slot.frame);
            HostWorld::ensure(slot.output, 2, 1);
            float argb[4];
            slot.input->getPixel(1, 0, argb);
            slot.output->fill(argb);
        };
        stages.encode = [&](FrameSlot& slot, double&) {
            {
                std::lock_guard<std::mutex> lock(t.mutex);
                t.encodesBegun.push_back(slot.frame);
                t.mostEncoding = std::max(t.mostEncoding, ++t.encoding);
            }
            float argb[4];
            slot.output->getPixel(0, 0, argb);
            EXPECT_EQ(argb[1], slot.frame) << "frame " << slot.frame << " was written from another frame's pixels";
            std::lock_guard<std::mutex> lock(t.mutex);
            --t.encoding;
            failAt('e', slot);
        };
        stages.commit = [&](FrameSlot& slot) { failAt('c', slot); };
        stages.discard = [](FrameSlot&) {};
        stages.done = [&](const FrameSlot& slot) { t.done.push_back(slot.frame); };

        std::string error;
        try {
            SequencePipeline(stages, c.encoders, c.readInOrder).run(frames);
        } catch (const std::runtime_error& e) {
            error = e.what();
        }
        std::vector<int> before;
        for (int frame : frames) {
            if (frame == c.failFrame) break;
            before.push_back(frame);
        }
        EXPECT_EQ(t.done, before);
        EXPECT_EQ(error, c.failIn ? "frame " + std::to_string(c.failFrame) + " broke" : "");
        EXPECT_TRUE(std::is_sorted(t.rendered.begin(), t.rendered.end()));
        EXPECT_LE(t.mostEncoding, c.encoders);
        if (c.encoders == 1) {
            EXPECT_TRUE(std::is_sorted(t.encodesBegun.begin(), t.encodesBegun.end()));
        }
        if (c.readInOrder) {
            EXPECT_EQ(t.mostReading, 1);
            EXPECT_TRUE(std::is_sorted(t.readsDone.begin(), t.readsDone.end()));
        }
        if (c.slowFrame >= 0) {
            EXPECT_TRUE(t.slowOverlapped) << "no later frame was read while frame " << c.slowFrame << " was";
        }
    }
}
