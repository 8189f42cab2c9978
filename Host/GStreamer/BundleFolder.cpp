#include "BundleFolder.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "BundleLocator.h"

namespace fxhost {

namespace fs = std::filesystem;

BundleFolder::BundleFolder(const std::string& candidates) {
    // Any function of this module tells which file it came from; inside gst-launch-1.0 or an
    // editor /proc/self/exe is the application.
    const std::string own = BundleLocator::folderOf(reinterpret_cast<const void*>(&BundleLocator::folderOf));
    size_t start = 0;
    while (start <= candidates.size()) {
        const size_t end = std::min(candidates.find(':', start), candidates.size());
        const std::string part = candidates.substr(start, end - start);
        start = end + 1;
        if (part.empty()) continue;
        std::error_code error;
        const fs::path folder = fs::weakly_canonical(part.front() == '/' ? fs::path(part) : fs::path(own) / part, error);
        if (error) continue;
        mTried += (mTried.empty() ? "" : ":") + folder.string();
        if (mPath.empty() && fs::is_directory(folder, error)) mPath = folder.string();
    }
}

std::vector<std::string> BundleFolder::bundles() const {
    std::vector<std::string> found;
    if (mPath.empty()) return found;
    std::error_code error;
    for (fs::directory_iterator entry(mPath, error), end; !error && entry != end; entry.increment(error)) {
        const fs::path& file = entry->path();
        if (file.extension() == ".plugin" && entry->is_regular_file(error)) found.push_back(file.string());
    }
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace fxhost
