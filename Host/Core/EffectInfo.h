// What `fxhost info` prints: the about text, the version the effect declares
// (decoded from my_version) beside the host's own, the flags by name and the
// parameter table, all asked of the effect through its commands (about, global
// set-up, parameter set-up).
#pragma once

#include <string>

#include "EffectHost.h"

namespace fxhost {

// Names of the set bits, joined by " | ", or "none".
std::string outFlagNames(PF_OutFlags flags);
std::string outFlag2Names(PF_OutFlags2 flags);
// "1.0.0 (develop, build 1)" from the packed form.
std::string versionText(A_u_long packed);

// Sends the commands and returns the report, naming the host as `hostName` ("fxhost 1.2"); a
// failing command throws std::runtime_error with its error's name.
std::string describeEffect(EffectHost& host, const std::string& hostName);

}  // namespace fxhost
