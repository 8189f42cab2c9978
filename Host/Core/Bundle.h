// An effect bundle loaded with dlopen. Construction fails with std::runtime_error
// naming the file when it can't be loaded, is cut short (refused before dlopen, which would
// die of SIGBUS on it), or doesn't export EntryPointFunc.
// The bundle stays loaded for the life of the process, as the real host keeps it.
#pragma once

#include <string>

#include "PFTypes.h"

namespace fxhost {

class Bundle {
public:
    explicit Bundle(const std::string& path);

    const std::string& path() const { return mPath; }
    PF_EntryPointFunc entryPoint() const { return mEntryPoint; }

    // The bundle beside the running program (build/bin/HueAndSaturation.plugin), else the
    // installed one, ../lib/fxhost/HueAndSaturation.plugin from the program's folder; where
    // neither is there, the one beside it, so the error names the build tree's path.
    static std::string besideExecutable();

private:
    std::string mPath;
    PF_EntryPointFunc mEntryPoint;
};

}  // namespace fxhost
