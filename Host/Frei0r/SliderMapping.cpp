#include "SliderMapping.h"

#include <cmath>
#include <cstdio>
#include <utility>

namespace fxhost {

namespace {

std::string number(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

}  // namespace

SliderMapping::SliderMapping(std::string name, double min, double max, double dflt, std::string unit)
    : mName(std::move(name)), mMin(min), mMax(max), mDefault(dflt), mUnit(std::move(unit)) {}

double SliderMapping::clamp(double requested, bool& clamped) const {
    clamped = !(requested >= 0.0 && requested <= 1.0);
    if (std::isnan(requested)) return defaultUnit();
    return requested < 0.0 ? 0.0 : requested > 1.0 ? 1.0 : requested;
}

std::string SliderMapping::explanation() const {
    return "0 to 1 maps linearly onto " + number(mMin) + " to " + number(mMax) + " " + mUnit + "; default " +
           number(defaultUnit()) + " (= " + number(mDefault) + ")";
}

std::string SliderMapping::clampWarning(double requested, double used) const {
    return "parameter \"" + mName + "\" = " + number(requested) + " is outside 0 to 1 (" + explanation() +
           "); using " + number(used) + " (= " + number(toSlider(used)) + ")";
}

}  // namespace fxhost
