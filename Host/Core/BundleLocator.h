// Finds the effect bundle from the module's own file (never from the program's): each candidate
// is a path relative to the folder the module was loaded from, tried in order. find() returns
// the first readable one, or throws std::runtime_error naming every path it tried.
#pragma once

#include <string>
#include <vector>

namespace fxhost {

class BundleLocator {
public:
    // `candidates` is colon-separated, such as "../fxhost/X.plugin:../../bin/X.plugin".
    explicit BundleLocator(const std::string& candidates);

    std::string find() const;

    // The folder of the loaded file that holds `address` (this module), without a trailing '/'.
    static std::string folderOf(const void* address);

private:
    std::vector<std::string> mCandidates;
};

}  // namespace fxhost
