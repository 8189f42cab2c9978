// The validation tests' bodies, one function each, run inside a child process. Each judges its
// own rules only, so that a fault fails the test that names it and no other: the exception and
// code rules are the commands tests', the host context the host-context test's, guard bytes the
// worlds test's, GL objects and memory the lifecycle test's, pixels across threads the threads
// test's. A failure is reported through the context; a crash or a hang is the validator's to see.
#pragma once

#include "ValidationContext.h"

namespace fxhost {
namespace checks {

void commandSequence(ValidationContext& c);
void unknownSelectors(ValidationContext& c);
void nullRecords(ValidationContext& c);
void parameterTable(ValidationContext& c);
void lifecycle(ValidationContext& c);
void hostContext(ValidationContext& c);
void suiteFaults(ValidationContext& c);
void callbackFaults(ValidationContext& c);
void memoryFaults(ValidationContext& c);
void allocationFaults(ValidationContext& c);
void worlds(ValidationContext& c);
void threads(ValidationContext& c);
void parameterValues(ValidationContext& c);
void timing(ValidationContext& c);
void renderers(ValidationContext& c);

}  // namespace checks
}  // namespace fxhost
