// Where the plug-in finds its effect bundles: the first of its candidate folders, each relative to
// the folder the plug-in was loaded from, that exists; every regular file there whose name ends in
// ".plugin" is a bundle, in name order. An absent folder is no bundle, not an error.
#pragma once

#include <string>
#include <vector>

namespace fxhost {

class BundleFolder {
public:
    // `candidates` colon-separated, such as "../../fxhost:../../bin".
    explicit BundleFolder(const std::string& candidates);

    const std::string& path() const { return mPath; }  // empty when none exists
    // Every folder tried, colon-separated, as absolute paths: what GStreamer watches for changes.
    const std::string& tried() const { return mTried; }
    std::vector<std::string> bundles() const;

private:
    std::string mPath;
    std::string mTried;
};

}  // namespace fxhost
