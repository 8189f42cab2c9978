// The `fxhost render` command line that writes what the preview shows: this fxhost, the bundle and
// the input by absolute path, every slider parameter as a --set (its value or its keys) (so that a later change of a default
// cannot change the result), --frames for a sequence's or movie's frame, and an output beside the
// input named NAME.preview.png (with the frame number for sequences and movies). Words are quoted
// for a POSIX shell where they need it.
#pragma once

#include <string>

#include "FrameRequest.h"
#include "PreviewRenderer.h"

namespace fxhost {

class RenderCommand {
public:
    RenderCommand(const std::string& plugin, const std::string& input, const PreviewSummary& summary);

    std::string line(const FrameRequest& request) const;
    // What every line starts with (program, "render", --plugin) and ends with (input, output),
    // quoted: the page puts the --set and --frames words between them as the sliders move.
    std::string head() const;
    std::string tail() const;

    // The word as a POSIX shell reads it back: as it is when it is plain, else in single quotes.
    static std::string quote(const std::string& word);

private:
    std::string mProgram;
    std::string mPlugin;
    std::string mInput;
    std::string mOutput;
    const PreviewSummary& mSummary;
};

}  // namespace fxhost
