// The values asked for on the command line as NAME=VALUE, where NAME is a
// registered parameter's name (any case) or its index. apply() checks every
// one against the table the effect registered and throws
// std::invalid_argument naming the parameter and its valid range.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "EffectHost.h"

namespace fxhost {

class ParameterSettings {
public:
    void add(const std::string& assignment) { mAssignments.push_back(assignment); }

    // Resolves and range-checks every assignment, then sets the values on the host.
    void apply(EffectHost& host) const;

    // Resolves NAME to an index and checks that it is a float slider; throws like apply().
    static int resolve(const EffectHost& host, const std::string& name);
    // "\"Hue Value\" (0 to 360)"
    static std::string describe(const PF_ParamDef& param);
    // Parses a value for the parameter at index and checks its range; throws like apply().
    static double parseValue(const EffectHost& host, int index, const std::string& text);
    // One NAME=VALUE resolved and checked, as --set takes it: {index, value}; throws like apply().
    static std::pair<int, double> parseAssignment(const EffectHost& host, const std::string& assignment);

private:
    std::vector<std::string> mAssignments;
};

}  // namespace fxhost
