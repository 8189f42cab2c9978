#include "AllocationFaults.h"

#include <link.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace fxhost {

namespace {

// Plain atomics: the replaced operator new runs before and after main, on any thread.
std::atomic<std::uintptr_t> gCodeBegin{0}, gCodeEnd{0};
std::atomic<bool> gArmed{false}, gRefused{false};
std::atomic<long> gCounted{0}, gFailing{0};

struct Search {
    std::uintptr_t address;
    bool found;
};

int findCode(dl_phdr_info* info, size_t, void* data) {
    auto* search = static_cast<Search*>(data);
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& segment = info->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD || !(segment.p_flags & PF_X)) continue;
        const std::uintptr_t begin = info->dlpi_addr + segment.p_vaddr, end = begin + segment.p_memsz;
        if (search->address >= begin && search->address < end) {
            gCodeBegin = begin;
            gCodeEnd = end;
            search->found = true;
            return 1;
        }
    }
    return 0;
}

// Whether this allocation, asked for from `caller`, is the one to refuse.
bool refuse(const void* caller) {
    if (!gArmed.load(std::memory_order_relaxed)) return false;
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    if (address < gCodeBegin || address >= gCodeEnd) return false;
    const long n = ++gCounted;
    if (n != gFailing) return false;
    gRefused = true;
    return true;
}

// The size rounded up from zero: operator new must give a distinct pointer for 0 bytes.
void* allocate(std::size_t size) {
    return std::malloc(size ? size : 1);
}

}  // namespace

bool AllocationFaults::watch(const void* address) {
    Search search{reinterpret_cast<std::uintptr_t>(address), false};
    dl_iterate_phdr(findCode, &search);
    return search.found;
}

void AllocationFaults::arm(long failing) {
    gCounted = 0;
    gRefused = false;
    gFailing = failing;
    gArmed = true;
}

void AllocationFaults::disarm() {
    gArmed = false;
}

long AllocationFaults::counted() {
    return gCounted;
}

bool AllocationFaults::refused() {
    return gRefused;
}

}  // namespace fxhost

// The replaceable allocation functions of the whole program, so that a loaded bundle's calls reach
// them too; the deletes are replaced beside them, so every block is freed by the pair that made it.
void* operator new(std::size_t size) {
    if (fxhost::refuse(__builtin_return_address(0))) throw std::bad_alloc();
    if (void* block = fxhost::allocate(size)) return block;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
    if (fxhost::refuse(__builtin_return_address(0))) throw std::bad_alloc();
    if (void* block = fxhost::allocate(size)) return block;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (fxhost::refuse(__builtin_return_address(0))) return nullptr;
    return fxhost::allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    if (fxhost::refuse(__builtin_return_address(0))) return nullptr;
    return fxhost::allocate(size);
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete[](void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
