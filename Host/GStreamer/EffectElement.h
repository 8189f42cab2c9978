// A GStreamer video filter element for one effect bundle (a GstVideoFilter subclass registered per
// bundle), classed Filter/Effect/Video: one property per slider, in the effect's units and range,
// controllable, so a GstController or a GES keyframe sets it before each frame. It takes 8-bit
// RGBA, BGRA, ARGB, ABGR, RGBx and BGRx in system memory, any stride. A frame the effect fails on
// posts an error naming the bundle on the bus and stops the stream (GST_FLOW_ERROR).
#pragma once

#include <gst/gst.h>

#include <string>

#include "EffectDescription.h"

namespace fxhost {

class EffectElement {
public:
    // Registers the element named description.elementName with `plugin`; the description is kept
    // for the life of the process. Returns "" or why it could not.
    static std::string registerWith(GstPlugin* plugin, const EffectDescription& description);
};

}  // namespace fxhost
