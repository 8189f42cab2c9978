#include "ImageLibrary.h"

#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>

#include "JobError.h"

namespace fxhost {

namespace {

// The folder of the object this code is linked into: the program, or a module that carries the
// media layer into another program. The program's own name is taken from /proc, since dladdr
// gives it as it was typed.
std::string ownFolder() {
    Dl_info info{};
    std::error_code error;
    if (dladdr(reinterpret_cast<void*>(&ownFolder), &info) && info.dli_fname && info.dli_fname[0] == '/') {
        const std::filesystem::path self = std::filesystem::canonical(info.dli_fname, error);
        if (!error && self != std::filesystem::read_symlink("/proc/self/exe", error)) {
            return self.parent_path().string();
        }
    }
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? "." : program.parent_path().string();
}

struct Loaded {
    ImageCodec* codec = nullptr;
    std::string error;
};

Loaded load() {
    const std::string dir = ownFolder();
    const std::string beside = dir + "/" + ImageLibrary::kFileName;
    const std::string installed =
        (std::filesystem::path(dir).parent_path() / "lib/fxhost" / ImageLibrary::kFileName).string();
    const std::string& path = access(beside.c_str(), F_OK) != 0 && access(installed.c_str(), F_OK) == 0
                                  ? installed
                                  : beside;
    Loaded loaded;
    if (access(path.c_str(), F_OK) != 0) {
        loaded.error = std::string("cannot load the image library: ") + ImageLibrary::kFileName +
                       " is neither in " + dir + " nor in " +
                       std::filesystem::path(installed).parent_path().string();
        return loaded;
    }
    // Never closed: the headers and files it made live as long as the process.
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        loaded.error = std::string("cannot load the image library: ") + dlerror();
        return loaded;
    }
    const auto entry = reinterpret_cast<FxhostImageCodecEntry>(dlsym(handle, FXHOST_IMAGE_CODEC_ENTRY));
    loaded.codec = entry ? entry(ImageCodec::kVersion) : nullptr;
    if (!loaded.codec) {
        loaded.error = "cannot load the image library: " + path + " belongs to another version of fxhost";
    }
    return loaded;
}

}  // namespace

ImageCodec& ImageLibrary::codec() {
    static const Loaded loaded = load();  // C++ runs it once, whatever the threads
    if (!loaded.codec) throw JobError(1, loaded.error);
    return *loaded.codec;
}

}  // namespace fxhost
