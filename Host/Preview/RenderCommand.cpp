#include "RenderCommand.h"

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>

namespace fxhost {

namespace {

std::string absolute(const std::string& path) {
    if (!path.empty() && path[0] == '/') return path;
    char cwd[PATH_MAX];
    if (!getcwd(cwd, sizeof cwd)) return path;
    std::string prefix = cwd;
    std::string rest = path;
    while (rest.compare(0, 2, "./") == 0) rest.erase(0, 2);
    return prefix + (prefix.size() > 1 ? "/" : "") + rest;
}

std::string thisProgram() {
    char buffer[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    return length > 0 ? std::string(buffer, static_cast<size_t>(length)) : "fxhost";
}

// in.png -> in.preview.png; in_%04d.exr -> in_%04d.preview.png; clip.mov -> clip.preview.%04d.png.
std::string outputFor(const std::string& input, FrameSource::Kind kind) {
    const size_t slash = input.find_last_of('/');
    const size_t dot = input.find_last_of('.');
    const std::string stem = dot != std::string::npos && (slash == std::string::npos || dot > slash)
                                 ? input.substr(0, dot)
                                 : input;
    return stem + (kind == FrameSource::Kind::Movie ? ".preview.%04d.png" : ".preview.png");
}

}  // namespace

RenderCommand::RenderCommand(const std::string& plugin, const std::string& input,
                             const PreviewSummary& summary)
    : mProgram(thisProgram()),
      mPlugin(absolute(plugin)),
      mInput(absolute(input)),
      mOutput(outputFor(mInput, summary.kind)),
      mSummary(summary) {}

std::string RenderCommand::quote(const std::string& word) {
    static const std::string kPlain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-+=./:,@%";
    if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) return word;
    std::string quoted = "'";
    for (char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::string RenderCommand::head() const {
    return quote(mProgram) + " render --plugin " + quote(mPlugin);
}

std::string RenderCommand::tail() const {
    return quote(mInput) + " " + quote(mOutput);
}

std::string RenderCommand::line(const FrameRequest& request) const {
    std::string line = head();
    for (const PreviewSummary::Parameter& parameter : mSummary.parameters) {
        line += " --set " + quote(parameter.name + "=" + request.values.at(parameter.index).text());
    }
    if (mSummary.kind != FrameSource::Kind::Image) line += " --frames " + std::to_string(request.frame);
    return line + " " + tail();
}

}  // namespace fxhost
