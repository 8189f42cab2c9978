#include "ImageWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "Console.h"
#include "ImageLibrary.h"
#include "Interruption.h"
#include "JobError.h"
#include "PartialFile.h"
#include "PngChunks.h"
#include "PngOutput.h"

namespace fxhost {

namespace {

std::runtime_error writeError(const std::string& path, const std::string& why) {
    return std::runtime_error("cannot write image '" + path + "': " + why);
}

// A PNG's header as the image library reads it, for an output in another format, which then keeps
// what it kept before PNGs were read without the library. Read again from the file; a file gone
// since leaves the header's shape alone.
ImageHeader imageLibraryHeader(const ImageHeader& like) {
    if (like.file || !like.png) return like;
    ImageHeader header = like;
    header.png.reset();
    try {
        header.file = ImageLibrary::codec().openInput(like.png->source)->header().file;
    } catch (const JobError&) {
        throw;
    } catch (const std::runtime_error& e) {
        Console::warnOnce("the header of '" + like.png->source + "' cannot be read again (" + e.what() +
                          "): the output has its size, channels and depth, not its attributes");
    }
    return header;
}

}  // namespace

void ImageWriter::write(const std::string& path, const ImageHeader& like, const HostWorld& world,
                        const std::vector<float>& extra, const WriteOptions& options) {
    encode(path, like, world, extra, options);
    commit(path);
}

void ImageWriter::encode(const std::string& path, const ImageHeader& like, const HostWorld& world,
                         const std::vector<float>& extra, const WriteOptions& options,
                         double* convertSeconds) {
    // The image library would say it knows no format for the name, or fail at the rename.
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
        throw writeError(path, "it is a directory");
    }
    std::unique_ptr<ImageOutputFile> out;
    try {
        if (PngOutput::isPngName(path) && !like.file) {
            out = std::make_unique<PngOutput>(path, like, world.width(), world.height(), options);
        } else if (PngOutput::isPngName(path)) {
            // libpng refuses some ICC profiles a PNG holds well (an illuminant other than D50):
            // every PNG goes through libspng, with what of the header a PNG can hold.
            ImageHeader header = like;
            int otherImages = 0;
            header.png = ImageLibrary::codec().pngChunks(like, otherImages);
            out = std::make_unique<PngOutput>(path, header, world.width(), world.height(), options,
                                              otherImages);
        } else {
            out = ImageLibrary::codec().createOutput(path, imageLibraryHeader(like), world.width(),
                                                     world.height(), extra.size(), options);
        }
    } catch (const JobError&) {
        throw;
    } catch (const std::runtime_error& e) {
        throw writeError(path, e.what());
    }
    if (const int dropped = out->droppedChannels()) {
        Console::warnOnce(out->formatName() + " holds no channels beyond RGBA: " + std::to_string(dropped) +
                          " channel(s) of the input are not written to '" + path + "'");
    }
    // Said once for a whole sequence, whose every frame would drop them alike.
    if (out->droppedImages())
        Console::warnOnce(out->formatName() + " holds one image a file: the input's parts or pages after the first " +
                          "are not written (OpenEXR and TIFF outputs keep them)");

    // Until commit or discard, an interruption removes the file.
    const std::string partial = PartialFile::nameFor(path);
    Interruption::addTemporary(partial);
    // The library reports a failed open with its own words and the temporary name; opening the
    // file first gives the system's reason, said of the name the user asked for.
    std::string why;
    bool ok = false;
    {
        const Interruption::FileGuard creating;
        const int fd = ::open(partial.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (fd < 0) {
            const int error = errno;
            Interruption::withdrawTemporary(partial);
            throw writeError(path, std::strerror(error));
        }
        ::close(fd);
        try {
            out->open(partial);  // opens the name again, so the guard covers both
            ok = true;
        } catch (const std::runtime_error& e) {
            why = e.what();
        }
    }
    double seconds = 0;
    try {
        if (ok) out->write(world, extra, seconds);
    } catch (const std::runtime_error& e) {
        ok = false;
        why = e.what();
    }
    if (!ok) {
        discard(path);
        throw writeError(path, why.empty() ? "the image library could not write it" : why);
    }
    if (convertSeconds) *convertSeconds += seconds;
}

void ImageWriter::commit(const std::string& path) {
    const std::string partial = PartialFile::nameFor(path);
    if (const int error = PartialFile::renameOnto(partial, path)) {
        discard(path);
        throw writeError(path, std::strerror(error));
    }
    Interruption::withdrawTemporary(partial);
}

void ImageWriter::discard(const std::string& path) {
    const std::string partial = PartialFile::nameFor(path);
    std::remove(partial.c_str());
    Interruption::withdrawTemporary(partial);
}

}  // namespace fxhost
