#include "BundleLocator.h"

#include <dlfcn.h>
#include <unistd.h>

#include <stdexcept>

namespace fxhost {

BundleLocator::BundleLocator(const std::string& candidates) {
    size_t start = 0;
    while (start <= candidates.size()) {
        const size_t end = candidates.find(':', start);
        const std::string part = candidates.substr(start, end == std::string::npos ? std::string::npos : end - start);
        if (!part.empty()) mCandidates.push_back(part);
        if (end == std::string::npos) break;
        start = end + 1;
    }
}

std::string BundleLocator::folderOf(const void* address) {
    Dl_info info;
    if (dladdr(address, &info) == 0 || !info.dli_fname) return ".";
    std::string file = info.dli_fname;
    const size_t slash = file.find_last_of('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : file.substr(0, slash);
}

std::string BundleLocator::find() const {
    // Any function of this module tells dladdr which file it came from; inside FFmpeg or melt
    // /proc/self/exe is the application, not us.
    const std::string folder = folderOf(reinterpret_cast<const void*>(&BundleLocator::folderOf));
    std::string tried;
    for (const std::string& candidate : mCandidates) {
        const std::string path = candidate.front() == '/' ? candidate : folder + "/" + candidate;
        if (access(path.c_str(), R_OK) == 0) return path;
        tried += (tried.empty() ? "" : " or ") + path;
    }
    throw std::runtime_error("no effect bundle at " + (tried.empty() ? std::string("(no path given)") : tried));
}

}  // namespace fxhost
