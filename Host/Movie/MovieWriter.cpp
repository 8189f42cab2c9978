#include "MovieWriter.h"

#include "JobError.h"

namespace fxhost {

struct MovieWriter::State {};

MovieWriter::MovieWriter(const std::string& output, int, int, bool, const std::string&, int, const MovieOptions&) {
    throw JobError(JobError::kUsage, output + ": movies cannot be written yet");
}
MovieWriter::~MovieWriter() = default;
AVRational MovieWriter::timeBase() const { return {1, 25}; }
void MovieWriter::write(const HostWorld&, int64_t) {}
void MovieWriter::finish() {}
std::string MovieWriter::temporaryPath() const { return ""; }
std::string MovieWriter::encoderDescription() const { return ""; }

}  // namespace fxhost
