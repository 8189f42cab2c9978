#include "EffectDescription.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "CallerGLState.h"
#include "EditorNotes.h"
#include "EffectHost.h"
#include "QuietStdout.h"

namespace fxhost {

namespace {

std::unique_ptr<EffectHost> setUp(const std::string& bundle, Renderer renderer) {
    HostOptions options;
    options.hostGLContext = false;
    options.renderer = renderer;
    auto host = std::make_unique<EffectHost>(bundle, options);
    for (const auto& command : {std::make_pair(&EffectHost::globalSetup, "global set-up"),
                                std::make_pair(&EffectHost::paramsSetup, "parameter set-up")}) {
        const PF_Err err = ((*host).*command.first)();
        if (err) throw std::runtime_error(std::string("its ") + command.second + " failed with " + errorName(err));
        if (!host->violations().empty()) throw std::runtime_error(std::string("its ") + command.second + ": " + host->violations().front());
    }
    return host;
}

std::string number(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

// The unit and help that the editors' descriptions give a slider of ours, where the bundle gives
// none itself (its sliders carry no unit text).
const editor_notes::SliderNote* editorNote(const std::string& effect, const std::string& slider) {
    if (effect != editor_notes::kEffectName) return nullptr;
    for (const editor_notes::SliderNote& note : editor_notes::kSliders) {
        if (slider == note.name) return &note;
    }
    return nullptr;
}

}  // namespace

std::string EffectDescription::elementNameOf(const std::string& effectName) {
    std::string name;
    for (const char c : effectName) {
        if (std::isalnum(static_cast<unsigned char>(c))) name += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return name;
}

std::string EffectDescription::propertyNameOf(const std::string& parameterName) {
    std::string name;
    for (const char c : parameterName) {
        name += std::isalnum(static_cast<unsigned char>(c)) ? static_cast<char>(std::tolower(static_cast<unsigned char>(c))) : '-';
    }
    if (name.empty() || !std::isalpha(static_cast<unsigned char>(name.front()))) name = "p-" + name;
    return name;
}

EffectDescription EffectDescription::read(const std::string& bundle) {
    // Inside an application the bundle's GL driver report would land in its output, and its GL
    // calls in the application's context.
    CallerGLState caller;
    QuietStdout quiet;
    EffectDescription description;
    description.bundle = bundle;
    try {
        std::unique_ptr<EffectHost> host;
        try {
            // Reading the table needs no GPU; an effect without a CPU renderer is read through GL.
            host = setUp(bundle, Renderer::CPU);
        } catch (const std::runtime_error&) {
            host = setUp(bundle, Renderer::GL);
        }
        description.name = host->effectName();
        const std::string about(host->outData().return_msg, strnlen(host->outData().return_msg, PF_MAX_EFFECT_MSG_LEN));
        std::vector<std::string> lines;
        for (size_t start = 0; start < about.size();) {
            const size_t end = std::min(about.find_first_of("\r\n", start), about.size());
            if (end > start) lines.push_back(about.substr(start, end - start));
            start = end + 1;
        }
        if (lines.size() > 1 && lines.back() == description.name) lines.pop_back();
        for (const std::string& line : lines) description.about += (description.about.empty() ? "" : "; ") + line;
        const std::vector<PF_ParamDef>& params = host->params();
        for (size_t i = 1; i < params.size(); ++i) {
            if (params[i].param_type != PF_Param_FLOAT_SLIDER) continue;
            const PF_FloatSliderDef& slider = params[i].u.fs_d;
            SliderDescription s;
            s.index = static_cast<int>(i);
            s.name.assign(params[i].name, strnlen(params[i].name, sizeof params[i].name));
            s.property = propertyNameOf(s.name);
            s.min = slider.valid_min;
            s.max = slider.valid_max;
            s.dflt = std::min(std::max(static_cast<double>(slider.dephault), s.min), s.max);
            s.precision = slider.precision;
            s.unit.assign(slider.value_desc, strnlen(slider.value_desc, sizeof slider.value_desc));
            const editor_notes::SliderNote* note = editorNote(description.name, s.name);
            if (s.unit.empty() && note) s.unit = note->unit;
            // A degree sign sits on its number; a word stands apart.
            const std::string unit = s.unit.empty() || s.unit == "°" ? s.unit : " " + s.unit;
            s.blurb = s.name + ": " + number(s.min) + unit + " to " + number(s.max) + unit + ", to " +
                      std::to_string(s.precision) + (s.precision == 1 ? " decimal" : " decimals") + "; default " +
                      number(s.dflt) + unit + (note ? ". " + std::string(note->help) : "");
            description.sliders.push_back(s);
        }
    } catch (const std::exception& e) {
        const std::string what = e.what();
        throw std::runtime_error(what.find(bundle) != std::string::npos ? what : "effect bundle '" + bundle + "': " + what);
    }
    description.elementName = elementNameOf(description.name);
    if (description.elementName.empty()) {
        throw std::runtime_error("effect bundle '" + bundle + "': its name \"" + description.name + "\" has no letter or digit");
    }
    return description;
}

}  // namespace fxhost
