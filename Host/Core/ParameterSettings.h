// The values asked for on the command line: a look (--look FILE) and assignments (--set), each
// NAME=VALUE or NAME=V@F,V@F,... (keys at frames; see ParameterCurve), where NAME is a registered
// parameter's name (any case) or its index. The look comes first and an assignment overrides it
// for that parameter; one parameter assigned twice is refused. resolve() checks all of it against the table the
// effect registered and throws std::invalid_argument naming the assignment or look, the key and the
// parameter's valid range; apply() hands the curves to the host, which answers the effect's
// parameter requests with the value at the time asked for.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "EffectHost.h"
#include "Look.h"
#include "ParameterCurve.h"

namespace fxhost {

class ParameterSettings {
public:
    // Each parameter's curve by its index; those not named keep the effect's default.
    using Curves = std::map<int, ParameterCurve>;

    void add(const std::string& assignment) { mAssignments.push_back(assignment); }
    void setLook(const Look& look) { mLook = look; }

    Curves resolve(EffectHost& host) const;
    // One NAME=VALUE or NAME=V@F,... checked against the table and put into `curves`, replacing
    // that parameter's curve; throws like resolve().
    static void resolveAssignment(const EffectHost& host, const std::string& assignment, Curves& curves);
    // Resolves everything, then sets the curves on the host.
    void apply(EffectHost& host) const;

    // "Hue Value=0@1,90@48": one assignment for each curve, in the parameter table's order.
    static std::vector<std::string> assignments(const EffectHost& host, const Curves& curves);
    // The same as --set arguments, quoted for the shell: --set 'Hue Value=0@1,90@48' --set ...
    static std::string commandLine(const EffectHost& host, const Curves& curves);
    // A look of the effect with every slider: its curve, or the effect's default where it has none.
    static Look look(EffectHost& host, const Curves& curves);

    // Resolves NAME to an index and checks that it is a float slider; throws like resolve().
    static int resolve(const EffectHost& host, const std::string& name);
    // "\"Hue Value\" (0 to 360)"
    static std::string describe(const PF_ParamDef& param);
    // Parses a value for the parameter at index and checks its range; throws like resolve().
    static double parseValue(const EffectHost& host, int index, const std::string& text);
    // Checks that a value lies in the parameter's valid range; throws like resolve().
    static double checkValue(const EffectHost& host, int index, double value);

private:
    std::optional<Look> mLook;
    std::vector<std::string> mAssignments;
};

}  // namespace fxhost
