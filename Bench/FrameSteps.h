// The diagnostic split: one frame's road replayed with the shared library, call for call as the
// effect makes it, with GL finished after every step so that each step's wall time is its own.
// The final pass is endDrawing's second half on a result frame buffer of the replay's own.
// Times are in milliseconds. Needs no current context; it makes and keeps one of its own.
#pragma once

#include <memory>

#include "AEOpenGLContext.h"
#include "FaultPlan.h"
#include "HostSuites.h"
#include "HostWorld.h"
#include "HueAndSaturationRender.h"
#include "PFTypes.h"
#include "ScreenRender.h"

namespace Ostrivane {
namespace GaussianBlur {

class FrameSteps {
public:
    struct Times {
        double begin = 0;      // prepare and beginDrawing: the cleared multisampled level
        double upload = 0;     // UploadTexture
        double draw = 0;       // the hue and saturation pass into the level
        double resolve = 0;    // popRenderContext: the resolve into a texture
        double finalPass = 0;  // ScreenRender into the single-sample result
        double readBack = 0;   // DownloadTexture into the output world
        double total() const { return begin + upload + draw + resolve + finalPass + readBack; }
    };

    FrameSteps(int width, int height);
    ~FrameSteps();

    FrameSteps(const FrameSteps&) = delete;
    FrameSteps& operator=(const FrameSteps&) = delete;

    Times run();

private:
    int mWidth;
    int mHeight;
    std::unique_ptr<AEOpenGLContext> mContext;
    fxhost::FaultPlan mFaults;
    fxhost::HostSuites mSuites;
    PF_UtilCallbacks mUtils;
    PF_InData mInData;
    fxhost::HostWorld mInput;
    fxhost::HostWorld mOutput;
    HueAndSaturationRender mRender;
    ScreenRender mScreenRender;
    unsigned int mResultFramebuffer = 0;
    unsigned int mResultRenderbuffer = 0;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
