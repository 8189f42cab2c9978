// One slider of the effect as a frei0r double: 0 to 1 maps linearly onto the slider's valid
// range [min, max], so 0 is min and 1 is max. Values outside 0 to 1 (or not numbers) are
// clamped; clamp() says whether it had to.
#pragma once

#include <string>

namespace fxhost {

class SliderMapping {
public:
    SliderMapping(std::string name, double min, double max, double dflt, std::string unit);

    const std::string& name() const { return mName; }
    double toSlider(double unit) const { return mMin + unit * (mMax - mMin); }
    double toUnit(double slider) const { return mMax > mMin ? (slider - mMin) / (mMax - mMin) : 0.0; }
    double defaultUnit() const { return toUnit(mDefault); }
    // The value in 0 to 1 that `requested` stands for; a NaN becomes the default.
    double clamp(double requested, bool& clamped) const;
    // "0 to 1 maps linearly onto 0 to 360 <unit>; default 0 (= 0)".
    std::string explanation() const;
    // The warning for a clamped value, naming the parameter, the value and the mapping.
    std::string clampWarning(double requested, double used) const;

private:
    std::string mName;
    double mMin;
    double mMax;
    double mDefault;
    std::string mUnit;
};

}  // namespace fxhost
