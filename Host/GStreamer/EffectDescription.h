// What an effect bundle offers GStreamer, read once by loading it with the CPU renderer (GL where it
// has none), sending global and parameter set-up and setting it down again: its name, the element
// name made from it, its about text and its float sliders in their own units and ranges.
// read() throws std::runtime_error naming the bundle and the reason it cannot be described.
#pragma once

#include <string>
#include <vector>

namespace fxhost {

struct SliderDescription {
    int index;              // in the effect's parameter table (0 is the input layer)
    std::string name;       // the effect's own, "Hue Value"
    std::string property;   // lower case, every other character '-': "hue-value"
    double min, max, dflt;  // the valid range and the default, in the effect's units
    int precision;          // decimals the effect shows
    std::string unit;       // the effect's own description of its values; may be empty
    std::string blurb;      // one line for gst-inspect-1.0
};

struct EffectDescription {
    std::string bundle;       // the file
    std::string name;         // "Ostrivane Hue And Saturation"
    std::string elementName;  // lower case letters and digits only: "ostrivanehueandsaturation"
    std::string about;        // the about text's lines joined by "; ", without a last one that repeats the name
    std::vector<SliderDescription> sliders;

    static EffectDescription read(const std::string& bundle);
    // The names GStreamer takes: letters and digits kept in lower case, the rest dropped (element)
    // or made '-' (property, which must also start with a letter).
    static std::string elementNameOf(const std::string& effectName);
    static std::string propertyNameOf(const std::string& parameterName);
};

}  // namespace fxhost
