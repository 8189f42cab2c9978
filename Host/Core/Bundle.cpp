#include "Bundle.h"

#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "SharedObjectFile.h"

namespace fxhost {

Bundle::Bundle(const std::string& path) : mPath(path), mEntryPoint(nullptr) {
    if (access(path.c_str(), R_OK) != 0) {
        throw std::runtime_error("cannot load effect bundle '" + path + "': no such readable file");
    }
    // The loader maps the file as its headers describe it and faults on a page past the end of a
    // file cut short, taking the whole program with it; such a file is refused here instead.
    const std::string problem = SharedObjectFile::problem(path);
    if (!problem.empty()) throw std::runtime_error("cannot load effect bundle '" + path + "': " + problem);
    // A name without a slash would send dlopen to the library search path, not to this folder.
    const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
    // RTLD_NODELETE: the bundle's statics and GL objects must outlive any one host object.
    void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (!handle) {
        const char* why = dlerror();
        throw std::runtime_error("cannot load effect bundle '" + path +
                                 "': " + (why ? why : "unknown error"));
    }
    mEntryPoint = reinterpret_cast<PF_EntryPointFunc>(dlsym(handle, "EntryPointFunc"));
    if (!mEntryPoint) {
        throw std::runtime_error("effect bundle '" + path + "' does not export EntryPointFunc");
    }
}

std::string Bundle::besideExecutable() {
    char buffer[4096];
    const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    std::string dir = ".";
    if (length > 0) {
        dir.assign(buffer, static_cast<size_t>(length));
        dir = dir.substr(0, dir.find_last_of('/'));
    }
    // In the build tree the bundle is built beside the program; installed, the program is in
    // PREFIX/bin and the bundle in PREFIX/lib/fxhost (cmake/Install.cmake), whatever the prefix.
    const std::string beside = dir + "/HueAndSaturation.plugin";
    const std::string installed =
        (std::filesystem::path(dir).parent_path() / "lib/fxhost/HueAndSaturation.plugin").string();
    if (access(beside.c_str(), F_OK) != 0 && access(installed.c_str(), F_OK) == 0) return installed;
    return beside;
}

}  // namespace fxhost
