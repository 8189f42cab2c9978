// A pair of ints, start and length, with a handful of constructors. The library reads
// neither field; what they mean is the caller's.
#pragma once

namespace Ostrivane {
namespace GaussianBlur {

class Range {
public:
    int start;
    int length;

    // All: (0, largest int); none: (0, 0).
    explicit Range(bool all);
    // (start, 0).
    explicit Range(int start);
    Range(int start, int length);
    Range(const Range& o) = default;
    Range& operator=(const Range& o) = default;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
