#include "SharedObjectFile.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace fxhost {

namespace {

#if UINTPTR_MAX == UINT64_MAX
using Ehdr = Elf64_Ehdr;
using Phdr = Elf64_Phdr;
using Shdr = Elf64_Shdr;
constexpr unsigned char kClass = ELFCLASS64;
#else
using Ehdr = Elf32_Ehdr;
using Phdr = Elf32_Phdr;
using Shdr = Elf32_Shdr;
constexpr unsigned char kClass = ELFCLASS32;
#endif

#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
constexpr unsigned char kData = ELFDATA2LSB;
#else
constexpr unsigned char kData = ELFDATA2MSB;
#endif

// The machines Debian builds for that this host is compiled on; elsewhere the machine goes
// unchecked and dlopen's own refusal names it.
#if defined(__x86_64__)
constexpr int kMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr int kMachine = EM_AARCH64;
#elif defined(__i386__)
constexpr int kMachine = EM_386;
#elif defined(__arm__)
constexpr int kMachine = EM_ARM;
#elif defined(__riscv)
constexpr int kMachine = EM_RISCV;
#elif defined(__powerpc64__)
constexpr int kMachine = EM_PPC64;
#elif defined(__s390x__)
constexpr int kMachine = EM_S390;
#else
constexpr int kMachine = EM_NONE;
#endif

class Descriptor {
public:
    explicit Descriptor(const std::string& path) : mFd(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~Descriptor() {
        if (mFd >= 0) close(mFd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int fd() const { return mFd; }
    bool readAt(void* to, size_t size, uint64_t offset) const {
        return pread(mFd, to, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
    }

private:
    int mFd;
};

// Whether [offset, offset + count * size) lies within `fileSize`, without overflowing.
bool within(uint64_t offset, uint64_t count, uint64_t size, uint64_t fileSize) {
    if (offset > fileSize) return false;
    return size == 0 || count <= (fileSize - offset) / size;
}

std::string cutShort(const char* what, uint64_t end, uint64_t fileSize) {
    return "cut short: " + std::string(what) + " ends at byte " + std::to_string(end) + " of a " +
           std::to_string(fileSize) + "-byte file";
}

}  // namespace

std::string SharedObjectFile::problem(const std::string& path) {
    const Descriptor file(path);
    struct stat info {};
    if (file.fd() < 0 || fstat(file.fd(), &info) != 0)
        return std::string("cannot open it: ") + std::strerror(errno);
    if (!S_ISREG(info.st_mode)) return "not a regular file";
    const uint64_t size = static_cast<uint64_t>(info.st_size);

    Ehdr header{};
    if (size < SELFMAG || !file.readAt(header.e_ident, SELFMAG, 0) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0)
        return "not an ELF shared object";
    if (size < sizeof header || !file.readAt(&header, sizeof header, 0))
        return cutShort("the ELF header", sizeof header, size);
    if (header.e_ident[EI_CLASS] != kClass || header.e_ident[EI_DATA] != kData ||
        (kMachine != EM_NONE && header.e_machine != kMachine))
        return "an ELF object for another machine (machine " + std::to_string(header.e_machine) + ")";
    if (header.e_type != ET_DYN)
        return "an ELF object but not a shared object (type " + std::to_string(header.e_type) + ")";
    if (header.e_phnum == 0 || header.e_phentsize != sizeof(Phdr))
        return "damaged: no usable program header table";
    if (!within(header.e_phoff, header.e_phnum, sizeof(Phdr), size))
        return cutShort("the program header table", header.e_phoff + uint64_t{header.e_phnum} * sizeof(Phdr),
                        size);
    if (header.e_shnum != 0) {
        if (header.e_shentsize != sizeof(Shdr))
            return "damaged: its section header entries have the wrong size";
        if (!within(header.e_shoff, header.e_shnum, sizeof(Shdr), size))
            return cutShort("the section header table",
                            header.e_shoff + uint64_t{header.e_shnum} * sizeof(Shdr), size);
    }
    for (unsigned i = 0; i < header.e_phnum; ++i) {
        Phdr segment{};
        if (!file.readAt(&segment, sizeof segment, header.e_phoff + uint64_t{i} * sizeof segment))
            return "cannot read its program header table";
        if (segment.p_type == PT_LOAD && !within(segment.p_offset, 1, segment.p_filesz, size))
            return cutShort(("loadable segment " + std::to_string(i)).c_str(),
                            uint64_t{segment.p_offset} + segment.p_filesz, size);
    }
    return "";
}

}  // namespace fxhost
