// OstrivaneBench: the frame benchmark and its diagnostic modes. scripts/bench.sh runs them all.
//   OstrivaneBench [google benchmark flags]        frames through the bundle, and the floors
//   OstrivaneBench --first-frame WxH               one fresh process: bundle load to first frame
//   OstrivaneBench --split WxH FRAMES              the frame's steps, median milliseconds each
//   OstrivaneBench --memory WxH FRAMES             resident memory and live GL objects over FRAMES
//   OstrivaneBench --write-raw WxH FILE            the benchmark frame as packed ARGB bytes
//   OstrivaneBench --digest WxH                    hashes of output bytes and codes, to compare builds
// The modes print "key value" lines on standard output, after whatever the GL runtime reports.
#include <benchmark/benchmark.h>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "BenchFrame.h"
#include "EffectHost.h"
#include "FrameSteps.h"
#include "ObjectCensus.h"

using namespace Ostrivane::GaussianBlur;

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0.0 : values[values.size() / 2];
}

void setParameters(fxhost::EffectHost& host) {
    host.setParamValue(host.paramIndex("Hue Value"), BenchFrame::kHueDegrees);
    host.setParamValue(host.paramIndex("Saturation"), BenchFrame::kSaturation);
}

int firstFrame(int width, int height) {
    fxhost::HostWorld input(width, height, fxhost::Depth::Eight);
    fxhost::HostWorld output(width, height, fxhost::Depth::Eight);
    BenchFrame::fill(input);
    const Clock::time_point start = Clock::now();
    fxhost::EffectHost host(BenchFrame::bundlePath());
    const bool setUp = host.globalSetup() == PF_Err_NONE && host.paramsSetup() == PF_Err_NONE;
    setParameters(host);
    const bool rendered = setUp && host.renderFrame(input, output) == PF_Err_NONE;
    const double first = msSince(start);
    const Clock::time_point again = Clock::now();
    host.renderFrame(input, output);
    const double second = msSince(again);
    std::fflush(stdout);
    std::printf("first_frame_ms %.3f\nsecond_frame_ms %.3f\n", first, second);
    return rendered && host.violations().empty() ? 0 : 1;
}

// CPU time of all the process's threads, and its minor page faults: less disturbed than wall
// time by other work on the machine.
struct Usage {
    double cpuMs = 0;
    long faults = 0;
    static Usage now() {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        Usage u;
        u.cpuMs = (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3 +
                  (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
        u.faults = usage.ru_minflt;
        return u;
    }
};

int split(int width, int height, int frames) {
    FrameSteps steps(width, height);
    for (int i = 0; i < 3; ++i) steps.run();
    std::vector<double> begin, upload, draw, resolve, finalPass, readBack, total;
    const Usage before = Usage::now();
    for (int i = 0; i < frames; ++i) {
        const FrameSteps::Times t = steps.run();
        begin.push_back(t.begin);
        upload.push_back(t.upload);
        draw.push_back(t.draw);
        resolve.push_back(t.resolve);
        finalPass.push_back(t.finalPass);
        readBack.push_back(t.readBack);
        total.push_back(t.total());
    }
    const Usage after = Usage::now();
    std::fflush(stdout);
    std::printf("split_cpu_ms %.3f\nsplit_page_faults %.0f\n", (after.cpuMs - before.cpuMs) / frames,
                static_cast<double>(after.faults - before.faults) / frames);
    std::printf(
        "split_begin_ms %.3f\nsplit_upload_ms %.3f\nsplit_draw_ms %.3f\nsplit_resolve_ms %.3f\n"
        "split_final_ms %.3f\nsplit_readback_ms %.3f\nsplit_total_ms %.3f\n",
        median(begin), median(upload), median(draw), median(resolve), median(finalPass), median(readBack),
        median(total));
    return 0;
}

// The census is taken from inside the frame: the effect reads its first parameter with its own
// render context current, so a wrapper around that callback sees the effect's share group.
PF_Err (*gCheckoutParam)(PF_ProgPtr, PF_ParamIndex, A_long, A_long, A_u_long, PF_ParamDef*) = nullptr;
bool gTakeCensus = false;
ObjectCensus gCensus;
constexpr unsigned int kCensusNames = 1u << 16;

PF_Err checkoutParamWithCensus(PF_ProgPtr ref, PF_ParamIndex index, A_long time, A_long step, A_u_long scale,
                               PF_ParamDef* param) {
    if (gTakeCensus && index == 1) {
        gCensus = ObjectCensus::take(kCensusNames);
        gTakeCensus = false;
    }
    return gCheckoutParam(ref, index, time, step, scale, param);
}

long residentKiB() {
    long pages = 0, resident = 0;
    std::ifstream statm("/proc/self/statm");
    statm >> pages >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

// Resident memory swings with the allocator's cycle (tens of MiB over a few frames at 1080p), so
// single readings mislead: growth is the peak of the last window of frames less the peak of the
// first window after settling, and the same for the lows. A leak raises both.
int memory(int width, int height, int frames) {
    constexpr int kSettle = 10;
    const int window = std::max(1, std::min(50, frames / 4));
    fxhost::HostWorld input(width, height, fxhost::Depth::Eight);
    fxhost::HostWorld output(width, height, fxhost::Depth::Eight);
    BenchFrame::fill(input);
    fxhost::EffectHost host(BenchFrame::bundlePath());
    host.globalSetup();
    host.paramsSetup();
    setParameters(host);
    gCheckoutParam = host.inData().inter.checkout_param;
    host.inData().inter.checkout_param = checkoutParamWithCensus;

    bool failed = false;
    long firstHigh = 0, firstLow = LONG_MAX, lastHigh = 0, lastLow = LONG_MAX, settledKiB = 0;
    ObjectCensus settled;
    const int last = kSettle + frames;
    for (int frame = 1; frame <= last; ++frame) {
        gTakeCensus = frame == kSettle || frame == last;
        failed |= host.renderFrame(input, output) != PF_Err_NONE;
        const long kib = residentKiB();
        if (frame == kSettle) {
            settled = gCensus;
            settledKiB = kib;
        }
        if (frame > kSettle && frame <= kSettle + window) {
            firstHigh = std::max(firstHigh, kib);
            firstLow = std::min(firstLow, kib);
        }
        if (frame > last - window) {
            lastHigh = std::max(lastHigh, kib);
            lastLow = std::min(lastLow, kib);
        }
    }
    std::fflush(stdout);
    std::printf(
        "memory_frames %d\nrss_window_frames %d\nrss_settled_kib %ld\nrss_first_window_kib %ld-%ld\n"
        "rss_last_window_kib %ld-%ld\nrss_growth_kib %ld\nrss_low_growth_kib %ld\n"
        "gl_objects_settled %d\ngl_objects_final %d\ngl_census_settled %s\ngl_census_final %s\n",
        frames, window, settledKiB, firstLow, firstHigh, lastLow, lastHigh, lastHigh - firstHigh,
        lastLow - firstLow, settled.total(), gCensus.total(), settled.describe().c_str(),
        gCensus.describe().c_str());
    return failed || !host.violations().empty() ? 1 : 0;
}

int writeRaw(int width, int height, const char* path) {
    const std::vector<uint8_t> bytes = BenchFrame::packed(width, height);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return file ? 0 : 1;
}

// FNV-1a over the output's pixels: two builds that leave the same pixels print the same lines.
uint64_t digest(const std::vector<uint8_t>& bytes) {
    uint64_t hash = 1469598103934665603ull;
    for (uint8_t byte : bytes) hash = (hash ^ byte) * 1099511628211ull;
    return hash;
}

// The benchmark frame, and a 4096 x 4096 frame of every 24-bit colour with alpha stepping by
// row, through a spread of settings, including an odd size with padded rows.
int digests(int width, int height) {
    fxhost::EffectHost host(BenchFrame::bundlePath());
    host.globalSetup();
    host.paramsSetup();
    const double settings[][2] = {{0, 1}, {90, 1.5}, {200, 0}, {359.5, 2}, {45, 0.7}};
    auto run = [&](fxhost::HostWorld& input, const char* name) {
        for (const auto& setting : settings) {
            fxhost::HostWorld output(input.width(), input.height(), fxhost::Depth::Eight, 12);
            host.setParamValue(host.paramIndex("Hue Value"), setting[0]);
            host.setParamValue(host.paramIndex("Saturation"), setting[1]);
            const PF_Err err = host.renderFrame(input, output);
            std::printf("digest %s %dx%d hue %g saturation %g code %d pixels %016llx guards %d\n", name,
                        input.width(), input.height(), setting[0], setting[1], static_cast<int>(err),
                        static_cast<unsigned long long>(digest(output.pixelBytes())),
                        output.guardsIntact() ? 1 : 0);
        }
    };
    fxhost::HostWorld pattern(width, height, fxhost::Depth::Eight, 20);
    BenchFrame::fill(pattern);
    run(pattern, "pattern");
    fxhost::HostWorld odd(333, 177, fxhost::Depth::Eight, 8);
    BenchFrame::fill(odd);
    run(odd, "pattern");
    fxhost::HostWorld cube(4096, 4096, fxhost::Depth::Eight);
    PF_LayerDef* def = cube.def();
    for (int y = 0; y < 4096; ++y) {
        uint8_t* row = static_cast<uint8_t*>(def->data) + static_cast<size_t>(y) * def->rowbytes;
        for (int x = 0; x < 4096; ++x) {
            const uint32_t colour = static_cast<uint32_t>(y) * 4096 + static_cast<uint32_t>(x);
            row[4 * x] = static_cast<uint8_t>((y * 7) & 0xff);
            row[4 * x + 1] = static_cast<uint8_t>(colour >> 16);
            row[4 * x + 2] = static_cast<uint8_t>(colour >> 8);
            row[4 * x + 3] = static_cast<uint8_t>(colour);
        }
    }
    run(cube, "cube");
    std::fflush(stdout);
    return host.violations().empty() ? 0 : 1;
}

int usage() {
    std::fprintf(stderr,
                 "usage: OstrivaneBench [--first-frame WxH | --split WxH FRAMES | --memory WxH FRAMES | "
                 "--write-raw WxH FILE | --digest WxH | benchmark flags]\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc >= 3 && argv[1][0] == '-' && argv[1][1] == '-' &&
        std::strncmp(argv[1], "--benchmark", 11) != 0) {
        const std::string mode = argv[1];
        int width = 0, height = 0;
        if (!BenchFrame::parseSize(argv[2], width, height)) return usage();
        const int count = argc >= 4 ? std::atoi(argv[3]) : 0;
        if (mode == "--first-frame") return firstFrame(width, height);
        if (mode == "--split" && count > 0) return split(width, height, count);
        if (mode == "--memory" && count > 0) return memory(width, height, count);
        if (mode == "--digest") return digests(width, height);
        if (mode == "--write-raw" && argc >= 4) return writeRaw(width, height, argv[3]);
        return usage();
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return usage();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
