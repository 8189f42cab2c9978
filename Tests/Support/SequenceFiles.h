// Small frame sequences for the sequence and farm tests: 64x36 PNGs whose colours change with the
// frame, pixel-for-pixel comparison of two files, a text file read whole ("" if there is none), the
// names in a folder, and a folder of the test's own.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "CommandRunner.h"
#include "ImageFile.h"

// The names in a folder, "." and ".." left out, in no particular order; none if there is no folder.
inline std::vector<std::string> filesIn(const std::string& dir) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(dir, error)) names.push_back(entry.path().filename());
    return names;
}

// A test with a folder of its own under /tmp, empty at the start, kept for a look if the test failed.
template <class Base = ::testing::Test>
class WithFolder : public Base {
protected:
    void SetUp() override {
        Base::SetUp();
        const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
        dir = "/tmp/fxhost-" + std::to_string(getpid()) + "-" + test->test_suite_name() + "-" + test->name();
        std::filesystem::remove_all(dir);
        std::filesystem::create_directories(dir);
    }
    void TearDown() override {
        if (!this->HasFailure()) std::filesystem::remove_all(dir);
        Base::TearDown();
    }
    std::string dir;
};

inline std::string frameName(const std::string& pattern, int frame) {
    char name[512];
    std::snprintf(name, sizeof name, pattern.c_str(), frame);
    return name;
}

// Frames first..last of a printf pattern ("dir/in_%04d.png").
inline void makeFrames(const std::string& pattern, int first, int last) {
    for (int frame = first; frame <= last; ++frame) {
        fxhost::ImageFile image(64, 36, 4, OIIO::TypeDesc::UINT8);
        for (int y = 0; y < 36; ++y) {
            for (int x = 0; x < 64; ++x) {
                float* p = image.rgba(x, y);
                p[0] = x / 63.0f;
                p[1] = y / 35.0f;
                p[2] = (frame * 37 % 256) / 255.0f;
                p[3] = 1.0f;
            }
        }
        image.write(frameName(pattern, frame));
    }
}

// "" when the two files hold the same pixels, else what differs.
inline std::string samePixels(const std::string& a, const std::string& b) {
    try {
        const fxhost::ImageFile x = fxhost::ImageFile::read(a), y = fxhost::ImageFile::read(b);
        bool same = x.width() == y.width() && x.height() == y.height();
        for (int row = 0; same && row < x.height(); ++row) {
            for (int col = 0; same && col < x.width(); ++col)
                same = std::equal(x.rgba(col, row), x.rgba(col, row) + 4, y.rgba(col, row));
        }
        return same ? "" : a + " and " + b + " differ";
    } catch (const std::exception& e) {
        return e.what();
    }
}
