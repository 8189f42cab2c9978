#include "ImageReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "ImageLibrary.h"
#include "JobError.h"
#include "PngInput.h"

namespace fxhost {

namespace {

std::runtime_error readError(const std::string& path, const std::string& why) {
    return std::runtime_error("cannot read image '" + path + "'" + (why.empty() ? "" : ": " + why));
}

// The image library says only that it could not open a file, or that it knows no format for a
// directory's name; the system says why. Returns whether the file is a PNG, which the media layer
// reads itself.
bool requireReadableFile(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw readError(path, std::strerror(errno));
    struct stat status {};
    const bool directory = fstat(fd, &status) == 0 && S_ISDIR(status.st_mode);
    unsigned char head[8];
    const ssize_t got = directory ? 0 : ::read(fd, head, sizeof head);
    ::close(fd);
    if (directory) throw readError(path, "it is a directory");
    return got > 0 && PngInput::isPng(head, static_cast<size_t>(got));
}

}  // namespace

ImageReader::ImageReader(const std::string& path) : mPath(path) {
    const bool png = requireReadableFile(path);
    try {
        if (png) {
            mInput = std::make_unique<PngInput>(path);
        } else {
            mInput = ImageLibrary::codec().openInput(path);
        }
    } catch (const JobError&) {
        throw;
    } catch (const std::runtime_error& e) {
        throw readError(path, e.what());
    }
}

ImageReader::~ImageReader() = default;

DepthLoss ImageReader::read(HostWorld& world, std::vector<float>& extra) {
    if (mRead) throw readError(mPath, "already read");
    if (world.width() != width() || world.height() != height() || world.depth() != Depth::Eight) {
        throw std::logic_error("ImageReader::read: the world is not the image's size");
    }
    mRead = true;
    try {
        return mInput->read(world, extra, mConvertSeconds);
    } catch (const std::runtime_error& e) {
        throw readError(mPath, e.what());
    }
}

}  // namespace fxhost
