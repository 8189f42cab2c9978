// The validation tests by name, each with what it checks and its body. Names are groups and
// members joined by a dot ("faults.suites"); a pattern picks tests by glob ("faults.*"), by
// exact name, or by group ("faults").
#pragma once

#include <string>
#include <vector>

#include "ValidationContext.h"

namespace fxhost {

struct ValidationTest {
    const char* name;
    const char* checks;
    void (*run)(ValidationContext&);
};

// Every test, in the order they run.
const std::vector<ValidationTest>& validationTests();

// The tests that match any of `only` (all when empty) and none of `skip`, in running order.
// Throws std::invalid_argument naming a pattern that matches no test.
std::vector<const ValidationTest*> selectTests(const std::vector<std::string>& only,
                                               const std::vector<std::string>& skip);

}  // namespace fxhost
