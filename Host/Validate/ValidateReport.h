// The results of a validation run: one line per test on a stream as each ends (PASS or FAIL, its
// time, what was expected and seen for a failure, and its notes), a one-line verdict, and the same
// results as a JUnit XML or a JSON file. Writing a file that cannot be opened throws
// std::runtime_error naming it.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "ChildRunner.h"
#include "ValidationContext.h"

namespace fxhost {

struct TestResult {
    std::string name;
    int run = 1;  // which of --repeat's runs
    ChildOutcome outcome;
    // What failed, in words: the test's own failures, then how its process ended if not cleanly.
    std::vector<std::string> failures(double timeoutSeconds) const;
};

class ValidateReport {
public:
    // Each test runs `repeat` times; names carry the run's number when more than once.
    ValidateReport(const ValidateOptions& options, int repeat) : mOptions(options), mRepeat(repeat) {}

    void header(std::ostream& out, size_t tests) const;
    // Keeps the result and prints its line(s).
    void add(const TestResult& result, std::ostream& out);
    void verdict(std::ostream& out) const;

    bool allPassed() const { return failedCount() == 0; }
    size_t failedCount() const;
    const std::vector<TestResult>& results() const { return mResults; }

    void writeJUnit(const std::string& path) const;
    void writeJson(const std::string& path) const;

private:
    ValidateOptions mOptions;
    int mRepeat;
    std::vector<TestResult> mResults;
};

}  // namespace fxhost
