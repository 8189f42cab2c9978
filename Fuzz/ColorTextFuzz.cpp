// Colour text: any bytes either parse, or fail with the two exceptions std::stoull is
// documented to throw; printing the result gives "#" and at most eight hexadecimal digits,
// which parse again without a crash.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "Color.h"

using Ostrivane::GaussianBlur::Color;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    Color colour;
    try {
        colour = Color(text);
    } catch (const std::invalid_argument&) {
        return 0;
    } catch (const std::out_of_range&) {
        return 0;
    }
    const std::string printed = colour.toHexString();
    if (printed.empty() || printed[0] != '#' || printed.size() > 9 ||
        printed.find_first_not_of("0123456789ABCDEF", 1) != std::string::npos) {
        std::abort();
    }
    try {
        Color again(printed);
        (void)again;
    } catch (const std::invalid_argument&) {
        // "#" alone: a colour whose channels all print as nothing cannot occur, so this is a finding.
        std::abort();
    }
    return 0;
}
