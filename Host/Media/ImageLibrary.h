// The image library, libfxhost_images.so, loaded on first use: a command that never reads or
// writes an image never loads it, nor OpenImageIO under it. It is looked for beside the program
// (or the module) holding this code, then in ../lib/fxhost from there, as installed. A library
// that cannot be loaded is a JobError with status 1 (host trouble) naming the file and the reason.
#pragma once

#include <string>

#include "ImageCodec.h"

namespace fxhost {

class ImageLibrary {
public:
    static constexpr const char* kFileName = "libfxhost_images.so";

    // Loads the library the first time (once, whatever the threads); throws on every call if it
    // could not be loaded.
    static ImageCodec& codec();
};

}  // namespace fxhost
