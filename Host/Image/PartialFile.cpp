#include "PartialFile.h"

#include <cstdio>

#include "Interruption.h"

namespace fxhost {

PartialFile::PartialFile(const std::string& output) : mPath(nameFor(output)) {
    Interruption::addTemporary(mPath);
}

PartialFile::~PartialFile() {
    // After a successful rename nothing is left under the name and this removes nothing.
    std::remove(mPath.c_str());
    Interruption::withdrawTemporary(mPath);
}

std::string PartialFile::nameFor(const std::string& output) {
    const size_t slash = output.find_last_of('/');
    const size_t name = slash == std::string::npos ? 0 : slash + 1;
    return output.substr(0, name) + "." + output.substr(name) + ".fxhost-partial";
}

}  // namespace fxhost
