// The host's basic suite: every other suite is fetched from it by name and version.
#pragma once

#include <cstddef>
#include <cstdint>

typedef int32_t SPErr;
typedef int32_t SPBoolean;

enum { kSPNoError = 0, kSPSuiteNotFoundError = 0x21534e46 /* '!SNF' */ };

struct SPBasicSuite {
    SPErr (*AcquireSuite)(const char* name, int32_t version, const void** suite);
    SPErr (*ReleaseSuite)(const char* name, int32_t version);
    SPBoolean (*IsEqual)(const char* token1, const char* token2);
    SPErr (*AllocateBlock)(size_t size, void** block);
    SPErr (*FreeBlock)(void* block);
    SPErr (*ReallocateBlock)(void* block, size_t newSize, void** newblock);
    SPErr (*Undefined)(void);
};
