#include "ScriptHelper.h"

#include <cctype>

#include "AEGPSuites.h"
#include "SuiteScoper.h"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

// Frees a host handle on the way out, also when building the result throws.
// No unlock comes first: freeing a handle ends its lock as well.
class HandleFree {
public:
    explicit HandleFree(const AEGP_MemorySuite1& memory) : mMemory(memory) {}
    ~HandleFree() {
        if (mHandle) {
            mMemory.AEGP_FreeMemHandle(mHandle);
        }
    }
    HandleFree(const HandleFree&) = delete;
    HandleFree& operator=(const HandleFree&) = delete;

    AEGP_MemHandle* out() { return &mHandle; }

    // The locked text, or null when the host gave no handle or no memory.
    const char* lock() const {
        void* text = nullptr;
        if (mHandle) {
            mMemory.AEGP_LockMemHandle(mHandle, &text);
        }
        return static_cast<const char*>(text);
    }

private:
    const AEGP_MemorySuite1& mMemory;
    AEGP_MemHandle mHandle = nullptr;
};

bool IsSpace(char c) {
    // isspace is undefined for negative values other than EOF, which is what
    // bytes above 127 become in a signed char.
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

}  // namespace

std::string ScriptHelper::RunSriptAndGetStringResult(SPBasicSuite* basic, const char* script) {
    if (!basic) {
        throw static_cast<int>(A_Err_MISSING_SUITE);
    }
    SuiteScoper<AEGP_UtilitySuite5> utility(basic, kAEGPUtilitySuite, kAEGPUtilitySuiteVersion5);
    SuiteScoper<AEGP_MemorySuite1> memory(basic, kAEGPMemorySuite, kAEGPMemorySuiteVersion1);
    // A host may report success and hand over no table; that is a missing suite too.
    if (!utility.get() || !memory.get()) {
        throw static_cast<int>(A_Err_MISSING_SUITE);
    }

    std::string result;
    // Declared error first so that the result handle is freed first.
    HandleFree errorHandle(*memory.get());
    HandleFree resultHandle(*memory.get());
    utility->AEGP_ExecuteScript(0, script, false, resultHandle.out(), errorHandle.out());
    const char* resultText = resultHandle.lock();
    errorHandle.lock();
    if (resultText) {
        result = resultText;
    }
    return result;
}

std::string ScriptHelper::TrimStringWhiteSpaces(const std::string& text) {
    std::string::size_type first = 0;
    while (first < text.size() && IsSpace(text[first])) {
        ++first;
    }
    std::string::size_type last = text.size();
    while (last > first && IsSpace(text[last - 1])) {
        --last;
    }
    return text.substr(first, last - first);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
