// Live GL objects of the current context and its share group, by kind, found by asking
// glIs* of every name from 1 to a bound. It calls GL through EGL's own entry points, not
// glbinding, so it can run inside a host callback while the effect's context is current,
// without touching the effect's bindings. It reads state only; it changes none.
#pragma once

#include <string>

namespace Ostrivane {
namespace GaussianBlur {

class ObjectCensus {
public:
    int textures = 0;
    int buffers = 0;
    int renderbuffers = 0;
    int framebuffers = 0;
    int vertexArrays = 0;
    int programs = 0;
    int shaders = 0;

    /// Counts in the current context; names above `maxName` are not seen.
    static ObjectCensus take(unsigned int maxName);

    int total() const;
    bool operator==(const ObjectCensus& other) const;
    std::string describe() const;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
