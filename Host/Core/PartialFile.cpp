#include "PartialFile.h"

#include <cerrno>
#include <cstdio>
#include <functional>

#include "Interruption.h"

namespace fxhost {

namespace {

constexpr size_t kNameMax = 255;

}  // namespace

PartialFile::PartialFile(const std::string& output) : mPath(nameFor(output)) {
    Interruption::addTemporary(mPath);
}

PartialFile::~PartialFile() {
    // After a successful rename nothing is left under the name and this removes nothing.
    std::remove(mPath.c_str());
    Interruption::withdrawTemporary(mPath);
}

int PartialFile::renameOnto(const std::string& partial, const std::string& output) {
    const Interruption::FileGuard renaming;
    return std::rename(partial.c_str(), output.c_str()) == 0 ? 0 : errno;
}

std::string PartialFile::nameFor(const std::string& output) {
    const size_t slash = output.find_last_of('/');
    const size_t start = slash == std::string::npos ? 0 : slash + 1;
    const std::string name = output.substr(start);
    std::string partial = "." + name + ".fxhost-partial";
    if (partial.size() > kNameMax) {
        // A name near the file system's limit has no room for the suffix; its hash stands in,
        // the same from run to run.
        char hashed[64];
        std::snprintf(hashed, sizeof hashed, ".fxhost-partial-%016zx", std::hash<std::string>()(name));
        partial = hashed;
    }
    return output.substr(0, start) + partial;
}

}  // namespace fxhost
