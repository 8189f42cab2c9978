// Look files: any bytes are read as a look or refused with std::invalid_argument naming the look;
// a look that is read writes JSON that reads back as the same look, byte for byte when written again.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "Look.h"

namespace {

[[noreturn]] void finding(const std::string& what) {
    std::fprintf(stderr, "look: %s\n", what.c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    fxhost::Look look;
    try {
        look = fxhost::Look::parse(text, "fuzz.json");
    } catch (const std::invalid_argument& e) {
        if (std::string(e.what()).rfind("look fuzz.json: ", 0) != 0) finding(std::string("unnamed: ") + e.what());
        return 0;
    }
    const std::string written = look.json();
    fxhost::Look again;
    try {
        again = fxhost::Look::parse(written, "written.json");
    } catch (const std::invalid_argument& e) {
        finding(std::string("a look read does not read back: ") + e.what() + "\n" + written);
    }
    if (again.json() != written) finding("a look read back differs:\n" + written + "\n" + again.json());
    return 0;
}
