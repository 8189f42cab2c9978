#include "ParameterSettings.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace fxhost {

namespace {

std::string number(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

std::string knownParameters(const EffectHost& host) {
    std::string text;
    for (size_t i = 1; i < host.params().size(); ++i) {
        text += (i > 1 ? ", " : "") + std::to_string(i) + " " + ParameterSettings::describe(host.params()[i]);
    }
    return text;
}

// Single-quoted for the shell.
std::string quoted(const std::string& text) {
    std::string out = "'";
    for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

}  // namespace

std::string ParameterSettings::describe(const PF_ParamDef& param) {
    return "\"" + std::string(param.name) + "\" (" + number(param.u.fs_d.valid_min) + " to " +
           number(param.u.fs_d.valid_max) + ")";
}

int ParameterSettings::resolve(const EffectHost& host, const std::string& name) {
    int index = host.paramIndex(name);
    if (index < 0 && !name.empty() && name.find_first_not_of("0123456789") == std::string::npos) {
        index = std::atoi(name.c_str());
        if (index < 1 || index >= static_cast<int>(host.params().size())) index = -1;
    }
    if (index < 0) {
        throw std::invalid_argument("unknown parameter \"" + name + "\"; the effect has " +
                                    knownParameters(host));
    }
    if (host.params()[index].param_type != PF_Param_FLOAT_SLIDER) {
        throw std::invalid_argument("parameter " + std::to_string(index) + " \"" + host.params()[index].name +
                                    "\" is not a slider");
    }
    return index;
}

double ParameterSettings::checkValue(const EffectHost& host, int index, double value) {
    const PF_ParamDef& param = host.params()[index];
    if (!(value >= param.u.fs_d.valid_min && value <= param.u.fs_d.valid_max)) {
        throw std::invalid_argument(number(value) + " is out of range for parameter " + describe(param));
    }
    return value;
}

double ParameterSettings::parseValue(const EffectHost& host, int index, const std::string& text) {
    errno = 0;
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || errno == ERANGE || !std::isfinite(value)) {
        throw std::invalid_argument("\"" + text + "\" is not a number; parameter " +
                                    describe(host.params()[index]) + " takes a value in that range");
    }
    return checkValue(host, index, value);
}

ParameterSettings::Curves ParameterSettings::resolve(EffectHost& host) const {
    Curves curves;
    if (mLook) {
        const std::string where = "look " + mLook->origin + ": ";
        const std::string effect = host.effectName();
        if (mLook->effect != effect) {
            throw std::invalid_argument(where + "it is a look for \"" + mLook->effect + "\", not for \"" +
                                        effect + "\"");
        }
        for (const Look::Parameter& parameter : mLook->parameters) {
            try {
                const int index = resolve(host, parameter.name);
                for (const ParameterCurve::Key& key : parameter.curve.keys()) {
                    try {
                        checkValue(host, index, key.value);
                    } catch (const std::invalid_argument& e) {
                        if (!parameter.curve.keyed()) throw;
                        throw std::invalid_argument("key at frame " + std::to_string(key.frame) + ": " +
                                                    e.what());
                    }
                }
                curves.erase(index);
                curves.emplace(index, parameter.curve);
            } catch (const std::invalid_argument& e) {
                throw std::invalid_argument(where + "parameter \"" + parameter.name + "\": " + e.what());
            }
        }
    }
    // A parameter set twice on one command line is a slip (the first value would be lost without a
    // word), so it is refused rather than resolved in favour of either.
    std::map<int, std::string> setBy;
    for (const std::string& assignment : mAssignments) {
        resolveAssignment(host, assignment, curves);
        const int index = resolve(host, assignment.substr(0, assignment.find('=')));
        const auto earlier = setBy.emplace(index, assignment);
        if (!earlier.second) {
            throw std::invalid_argument("--set \"" + assignment + "\": parameter " +
                                        describe(host.params()[index]) + " is already set by --set \"" +
                                        earlier.first->second + "\"");
        }
    }
    return curves;
}

void ParameterSettings::resolveAssignment(const EffectHost& host, const std::string& assignment,
                                          Curves& curves) {
    const size_t equals = assignment.find('=');
    if (equals == std::string::npos) {
        throw std::invalid_argument("--set \"" + assignment +
                                    "\" is not NAME=VALUE or NAME=V@F,V@F,...; "
                                    "the effect has " +
                                    knownParameters(host));
    }
    try {
        const int index = resolve(host, assignment.substr(0, equals));
        ParameterCurve curve =
            ParameterCurve::parse(assignment.substr(equals + 1),
                                  [&](const std::string& text) { return parseValue(host, index, text); });
        curves.erase(index);
        curves.emplace(index, std::move(curve));
    } catch (const std::invalid_argument& e) {
        throw std::invalid_argument("--set \"" + assignment + "\": " + e.what());
    }
}

void ParameterSettings::apply(EffectHost& host) const {
    for (const auto& curve : resolve(host)) host.setParamCurve(curve.first, curve.second);
}

std::vector<std::string> ParameterSettings::assignments(const EffectHost& host, const Curves& curves) {
    std::vector<std::string> texts;
    for (const auto& curve : curves) {
        texts.push_back(std::string(host.params().at(curve.first).name) + "=" + curve.second.text());
    }
    return texts;
}

std::string ParameterSettings::commandLine(const EffectHost& host, const Curves& curves) {
    std::string line;
    for (const std::string& assignment : assignments(host, curves)) {
        line += (line.empty() ? "--set " : " --set ") + quoted(assignment);
    }
    return line;
}

Look ParameterSettings::look(EffectHost& host, const Curves& curves) {
    Look look;
    look.effect = host.effectName();
    for (size_t i = 1; i < host.params().size(); ++i) {
        const PF_ParamDef& param = host.params()[i];
        if (param.param_type != PF_Param_FLOAT_SLIDER) continue;
        const auto found = curves.find(static_cast<int>(i));
        look.parameters.push_back(
            {param.name, found != curves.end() ? found->second : ParameterCurve(param.u.fs_d.dephault)});
    }
    return look;
}

}  // namespace fxhost
