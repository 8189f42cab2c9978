// The temporary name an output is written under before it is renamed into place:
// DIR/.NAME.fxhost-partial, one per output name, so that a run killed outright leaves a file the
// next run over the same frames recognises and removes. While the object lives the name is
// registered with Interruption; when it goes, whatever is left under the name is removed. Whoever
// creates the file holds an Interruption::FileGuard while doing so.
#pragma once

#include <string>

namespace fxhost {

class PartialFile {
public:
    explicit PartialFile(const std::string& output);
    ~PartialFile();
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    const std::string& path() const { return mPath; }

    static std::string nameFor(const std::string& output);

    // Renames a finished temporary onto its output: 0, or the system's error number. An
    // interruption comes wholly before (the temporary is removed) or after (the output is whole).
    static int renameOnto(const std::string& partial, const std::string& output);

private:
    std::string mPath;
};

}  // namespace fxhost
