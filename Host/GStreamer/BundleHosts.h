// The effect hosts of a process, one per bundle, shared by every element of that bundle, and the
// one lock every call into any of them holds: an effect renders one frame at a time per process.
// A bundle is set up (global and parameter set-up, with the renderer FXHOST_RENDERER names, else
// auto) for its first user and set down after its last. acquire() throws std::runtime_error naming
// the bundle and the reason; render() answers what went wrong in words, or "" when it rendered.
// The caller's EGL state is put back after every call into a bundle.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "EffectHost.h"
#include "HostWorld.h"

namespace fxhost {

class BundleHosts {
public:
    static BundleHosts& instance();

    void acquire(const std::string& bundle);
    void release(const std::string& bundle);

    // Renders `input` into `output` (same size) with each (parameter index, value) set first.
    std::string render(const std::string& bundle, const std::vector<std::pair<int, double>>& values,
                       HostWorld& input, HostWorld& output);

private:
    struct Entry {
        std::unique_ptr<EffectHost> host;
        int users = 0;
        unsigned long setUp = 0;  // which set-up this is, counting from 1 in the process
    };
    BundleHosts() = default;

    std::mutex mMutex;
    std::map<std::string, Entry> mEntries;
    unsigned long mSetUps = 0;
};

}  // namespace fxhost
