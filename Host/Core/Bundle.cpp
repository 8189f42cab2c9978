#include "Bundle.h"

#include <dlfcn.h>
#include <elf.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace fxhost {

namespace {

// dlopen maps a file as its headers describe it: in a file cut short those pages lie past its
// end, and the first touch of one kills the whole process with SIGBUS, inside whatever program
// loaded the bundle. So a shared object whose headers reach past its end is refused unopened;
// anything that is not a 64-bit ELF file is left to dlopen, which refuses it in words.
void requireWhole(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    Elf64_Ehdr header;
    if (!file.read(reinterpret_cast<char*>(&header), sizeof header) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64) {
        return;
    }
    std::error_code error;
    const auto size = static_cast<unsigned long long>(std::filesystem::file_size(path, error));
    if (error) return;
    unsigned long long needed = header.e_phoff + 1ULL * header.e_phnum * header.e_phentsize;
    if (header.e_shoff)
        needed = std::max(needed, header.e_shoff + 1ULL * header.e_shnum * header.e_shentsize);
    if (needed <= size && header.e_phentsize == sizeof(Elf64_Phdr)) {
        std::vector<Elf64_Phdr> segments(header.e_phnum);
        file.seekg(static_cast<std::streamoff>(header.e_phoff));
        if (file.read(reinterpret_cast<char*>(segments.data()),
                      static_cast<std::streamsize>(segments.size() * sizeof(Elf64_Phdr)))) {
            for (const Elf64_Phdr& segment : segments)
                needed = std::max<unsigned long long>(needed, segment.p_offset + segment.p_filesz);
        }
    }
    if (needed > size) {
        throw std::runtime_error("cannot load effect bundle '" + path +
                                 "': the file is cut short (its headers need " + std::to_string(needed) +
                                 " bytes, it holds " + std::to_string(size) + ")");
    }
}

}  // namespace

Bundle::Bundle(const std::string& path) : mPath(path), mEntryPoint(nullptr) {
    if (access(path.c_str(), R_OK) != 0) {
        throw std::runtime_error("cannot load effect bundle '" + path + "': no such readable file");
    }
    requireWhole(path);
    // RTLD_NODELETE: the bundle's statics and GL objects must outlive any one host object.
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
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
