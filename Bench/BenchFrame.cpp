#include "BenchFrame.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Ostrivane {
namespace GaussianBlur {

namespace {

void pixel(int x, int y, int width, int height, uint8_t argb[4]) {
    argb[0] = static_cast<uint8_t>(255 - (y * 64 / (height > 0 ? height : 1)));
    argb[1] = static_cast<uint8_t>(x * 255 / (width > 1 ? width - 1 : 1));
    argb[2] = static_cast<uint8_t>(y * 255 / (height > 1 ? height - 1 : 1));
    argb[3] = static_cast<uint8_t>((x ^ y) & 0xff);
}

}  // namespace

void BenchFrame::fill(fxhost::HostWorld& world) {
    PF_LayerDef* def = world.def();
    for (int y = 0; y < def->height; ++y) {
        uint8_t* row = static_cast<uint8_t*>(def->data) + static_cast<size_t>(y) * def->rowbytes;
        for (int x = 0; x < def->width; ++x)
            pixel(x, y, def->width, def->height, row + 4 * static_cast<size_t>(x));
    }
}

std::vector<uint8_t> BenchFrame::packed(int width, int height) {
    std::vector<uint8_t> bytes(static_cast<size_t>(width) * height * 4);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            pixel(x, y, width, height, &bytes[(static_cast<size_t>(y) * width + x) * 4]);
    return bytes;
}

std::string BenchFrame::bundlePath() {
    const char* chosen = std::getenv("OSTRIVANE_BENCH_BUNDLE");
    return chosen && *chosen ? chosen : OSTRIVANE_BUNDLE_PATH;
}

bool BenchFrame::parseSize(const std::string& text, int& width, int& height) {
    char tail = 0;
    return std::sscanf(text.c_str(), "%dx%d%c", &width, &height, &tail) == 2 && width > 0 && height > 0;
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
