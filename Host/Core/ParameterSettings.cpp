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

double ParameterSettings::parseValue(const EffectHost& host, int index, const std::string& text) {
    const PF_ParamDef& param = host.params()[index];
    errno = 0;
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || errno == ERANGE || !std::isfinite(value)) {
        throw std::invalid_argument("\"" + text + "\" is not a number; parameter " + describe(param) +
                                    " takes a value in that range");
    }
    if (value < param.u.fs_d.valid_min || value > param.u.fs_d.valid_max) {
        throw std::invalid_argument(number(value) + " is out of range for parameter " + describe(param));
    }
    return value;
}

std::pair<int, double> ParameterSettings::parseAssignment(const EffectHost& host,
                                                          const std::string& assignment) {
    const size_t equals = assignment.find('=');
    if (equals == std::string::npos) {
        throw std::invalid_argument("\"" + assignment + "\" is not NAME=VALUE; the effect has " +
                                    knownParameters(host));
    }
    const int index = resolve(host, assignment.substr(0, equals));
    return {index, parseValue(host, index, assignment.substr(equals + 1))};
}

void ParameterSettings::apply(EffectHost& host) const {
    std::vector<std::pair<int, double>> values;
    for (const std::string& assignment : mAssignments) values.push_back(parseAssignment(host, assignment));
    for (const auto& value : values) host.setParamValue(value.first, value.second);
}

}  // namespace fxhost
