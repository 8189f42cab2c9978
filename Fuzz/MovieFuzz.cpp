// Movie files: any bytes, as a file, through the reader fxhost renders from: open (demux the whole
// video stream once), then every frame decoded in order and a few at random. A movie that is not
// one, is damaged or is cut short is refused with JobError (exit status 3, or 2 for a frame
// outside it) naming the file; nothing else may leave the reader.
#include <fuzzer/FuzzedDataProvider.h>

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "JobError.h"
#include "MovieReader.h"

extern "C" {
#include <libavutil/log.h>
}

namespace {

[[noreturn]] void finding(const std::string& what) {
    std::fprintf(stderr, "movie: %s\n", what.c_str());
    std::abort();
}

// Larger pictures only cost memory and time here; the reader treats them alike.
constexpr long long kMaxPixels = 1 << 20;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = "/tmp/fxhost-moviefuzz-" + std::to_string(getpid());
    static const bool quiet = (av_log_set_level(AV_LOG_QUIET), true);
    (void)quiet;
    FuzzedDataProvider provider(data, size);
    const uint8_t order = provider.ConsumeIntegral<uint8_t>();
    const std::vector<uint8_t> bytes = provider.ConsumeRemainingBytes<uint8_t>();
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) finding("cannot write " + path);
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);

    try {
        fxhost::MovieReader reader(path);
        const int count = reader.frameCount();
        if (count < 1) finding("a movie of " + std::to_string(count) + " frames was opened");
        if (reader.width() < 1 || reader.height() < 1 || 1LL * reader.width() * reader.height() > kMaxPixels) return 0;
        fxhost::HostWorld world(reader.width(), reader.height(), fxhost::Depth::Eight);
        const int last = std::min(count, 64);
        for (int frame = 1; frame <= last; ++frame) reader.read(frame, world);
        // Then backwards and about: each a seek.
        for (int frame = last; frame >= 1; frame -= 1 + order % 7) reader.read(frame, world);
    } catch (const fxhost::JobError& e) {
        if (e.status() != fxhost::JobError::kImage && e.status() != fxhost::JobError::kUsage)
            finding("status " + std::to_string(e.status()) + ": " + e.what());
        if (std::string(e.what()).find(path) == std::string::npos) finding(std::string("unnamed: ") + e.what());
    }
    return 0;
}
