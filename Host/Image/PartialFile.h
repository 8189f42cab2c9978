// The temporary name an output is written under before it is renamed into place:
// DIR/.NAME.fxhost-partial, one per output name, so that a run killed outright leaves a file the
// next run over the same frames recognises and removes. While the object lives the name is
// registered with Interruption; when it goes, whatever is left under the name is removed.
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

private:
    std::string mPath;
};

}  // namespace fxhost
