// `--set` assignments against the effect's own parameter table: any text is taken or refused with
// std::invalid_argument naming the --set; one taken holds only finite values in the parameter's
// range, and its text form (what the preview's command line and the farm pass on) reads back as
// the same keys.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "EffectHost.h"
#include "FuzzHost.h"
#include "ParameterSettings.h"

using fxhost::EffectHost;
using fxhost::ParameterSettings;

namespace {

[[noreturn]] void finding(const std::string& what) { fuzzhost::finding("--set", what); }

EffectHost& host() { return fuzzhost::effect("--set"); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string assignment(reinterpret_cast<const char*>(data), size);
    ParameterSettings::Curves curves;
    try {
        ParameterSettings::resolveAssignment(host(), assignment, curves);
    } catch (const std::invalid_argument& e) {
        if (std::string(e.what()).rfind("--set \"", 0) != 0) finding(std::string("unnamed: ") + e.what());
        return 0;
    }
    if (curves.size() != 1) finding("one assignment set " + std::to_string(curves.size()) + " parameters");
    const int index = curves.begin()->first;
    const fxhost::ParameterCurve& curve = curves.begin()->second;
    const PF_FloatSliderDef& slider = host().params().at(index).u.fs_d;
    for (const fxhost::ParameterCurve::Key& key : curve.keys()) {
        if (!std::isfinite(key.value) || key.value < slider.valid_min || key.value > slider.valid_max || key.frame < 0)
            finding("a key out of range was taken: " + curve.text());
    }
    const std::vector<std::string> texts = ParameterSettings::assignments(host(), curves);
    ParameterSettings::Curves again;
    try {
        ParameterSettings::resolveAssignment(host(), texts.at(0), again);
    } catch (const std::invalid_argument& e) {
        finding(std::string("the text form does not read back: ") + e.what());
    }
    const fxhost::ParameterCurve& back = again.at(index);
    bool same = back.keyed() == curve.keyed() && back.keys().size() == curve.keys().size();
    for (size_t i = 0; same && i < back.keys().size(); ++i) {
        same = back.keys()[i].frame == curve.keys()[i].frame && back.keys()[i].value == curve.keys()[i].value;
    }
    if (!same) finding("\"" + assignment + "\" reads back as \"" + texts.at(0) + "\", another curve");
    return 0;
}
