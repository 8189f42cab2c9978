// Small frame sequences for the sequence and farm tests: 64x36 PNGs whose colours change with the
// frame, pixel-for-pixel comparison of two files, a text file read whole ("" if there is none), and
// the names in a folder.
#pragma once

#include <dirent.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "ImageFile.h"

inline std::string readText(const std::string& path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

// The names in a folder, "." and ".." left out, in no particular order.
inline std::vector<std::string> filesIn(const std::string& dir) {
    std::vector<std::string> names;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* entry = readdir(d)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") names.push_back(name);
        }
        closedir(d);
    }
    return names;
}

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
        if (x.width() != y.width() || x.height() != y.height()) return a + " and " + b + " differ in size";
        for (int row = 0; row < x.height(); ++row) {
            for (int col = 0; col < x.width(); ++col) {
                for (int c = 0; c < 4; ++c) {
                    if (x.rgba(col, row)[c] != y.rgba(col, row)[c]) {
                        return a + " and " + b + " differ at " + std::to_string(col) + "," +
                               std::to_string(row);
                    }
                }
            }
        }
        return "";
    } catch (const std::exception& e) {
        return e.what();
    }
}
