// While one lives, what the process writes to descriptor 2 is held in memory; when the last one
// goes, it is written to the real standard error, less libpng's own lines ("libpng error: ...",
// "libpng warning: ..."), which repeat what the error the host raises says. Nothing else is lost,
// only held. Any thread may hold one; they nest. A failure to swap leaves standard error as it was.
#pragma once

namespace fxhost {

class HeldStderr {
public:
    HeldStderr();
    ~HeldStderr();
    HeldStderr(const HeldStderr&) = delete;
    HeldStderr& operator=(const HeldStderr&) = delete;
};

}  // namespace fxhost
