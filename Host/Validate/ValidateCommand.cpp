#include "ValidateCommand.h"

#include <cstdio>
#include <iostream>
#include <stdexcept>

#include "Bundle.h"
#include "ChildRunner.h"
#include "Console.h"
#include "ValidateReport.h"
#include "ValidationTest.h"

namespace fxhost {

namespace {

constexpr int kFailed = 5, kUsage = 2, kTrouble = 1;

struct CommandLine {
    bool list = false;
    std::vector<std::string> only, skip;
    std::string level = "quick";
    int repeat = 1;
    unsigned seed = 1;
    double timeout = 60;
    std::string junit, json;
};

CommandLine& commandLine() {
    static CommandLine line;
    return line;
}

void listTests() {
    for (const ValidationTest& test : validationTests()) {
        std::cout << test.name << "\n    " << test.checks << "\n";
    }
}

// The test body in its child: failures go back as lines, an exception is a failure too.
void runInChild(const ValidationTest& test, const ValidateOptions& options, int fd) {
    ValidationContext context(options, fd);
    try {
        test.run(context);
    } catch (const std::exception& e) {
        context.fail(std::string("stopped: ") + e.what());
    } catch (...) {
        context.fail("stopped by an exception of unknown type");
    }
}

}  // namespace

CLI::App* addValidateCommand(CLI::App& app, std::string& plugin) {
    CommandLine& line = commandLine();
    CLI::App* validate = app.add_subcommand(
        "validate", "Run the conformance and fault tests against a bundle, each in a process of its own");
    validate->add_option("--plugin", plugin, "The effect bundle (default: the one built beside fxhost)");
    validate->add_flag("--list", line.list, "List the tests and what each checks, and stop");
    validate->add_option("--only", line.only, "Run only tests matching PATTERN (a name, a group, or a glob)")
        ->delimiter(',');
    validate->add_option("--skip", line.skip, "Skip tests matching PATTERN")->delimiter(',');
    validate->add_option("--level", line.level, "quick (under a minute, for CI) or full (for a release)");
    validate->add_option("--repeat", line.repeat, "Run every test N times");
    validate->add_option("--seed", line.seed, "Seed of the input pictures and random values");
    validate->add_option("--timeout", line.timeout, "Seconds a test may take before it is killed");
    validate->add_option("--junit", line.junit, "Also write the results as JUnit XML to FILE");
    validate->add_option("--json", line.json, "Also write the results as JSON to FILE");
    return validate;
}

int runValidate(const std::string& plugin) {
    const CommandLine& line = commandLine();
    if (line.list) {
        listTests();
        return 0;
    }
    ValidateOptions options;
    options.bundle = plugin;
    options.seed = line.seed;
    options.timeoutSeconds = line.timeout;
    std::vector<const ValidationTest*> tests;
    try {
        if (line.level != "quick" && line.level != "full")
            throw std::invalid_argument("--level is quick or full, not \"" + line.level + "\"");
        if (line.repeat < 1) throw std::invalid_argument("--repeat needs a count of 1 or more");
        if (!(line.timeout > 0)) throw std::invalid_argument("--timeout needs a number of seconds above 0");
        options.level = line.level == "full" ? Level::Full : Level::Quick;
        tests = selectTests(line.only, line.skip);
    } catch (const std::invalid_argument& e) {
        std::cerr << "fxhost: " << e.what() << "\n";
        return kUsage;
    }

    const ChildRunner runner(options.timeoutSeconds);
    // Loading happens in a child too: a bundle may crash as it loads.
    const ChildOutcome load = runner.run([&](int fd) {
        ValidationContext context(options, fd);
        try {
            Bundle bundle(plugin);
        } catch (const std::exception& e) {
            context.fail(e.what());
        }
    });
    if (!load.passed()) {
        const std::string why = load.failures.empty()
                                    ? "loading it " + load.describeEnd(options.timeoutSeconds)
                                    : load.failures.front();
        std::cerr << "fxhost: " << why << "\n";
        return kTrouble;
    }

    // -q: the failures and the verdict alone.
    const bool quiet = Console::level() == Console::Level::Quiet;
    std::ostream unseen(nullptr);
    ValidateReport report(options, line.repeat);
    report.header(quiet ? unseen : std::cout, tests.size());
    for (const ValidationTest* test : tests) {
        for (int run = 1; run <= line.repeat; ++run) {
            TestResult result;
            result.name = test->name;
            result.run = run;
            result.outcome = runner.run([&](int fd) { runInChild(*test, options, fd); });
            report.add(result, quiet && result.outcome.passed() ? unseen : std::cout);
        }
    }
    report.verdict(std::cout);
    try {
        if (!line.junit.empty()) report.writeJUnit(line.junit);
        if (!line.json.empty()) report.writeJson(line.json);
    } catch (const std::runtime_error& e) {
        std::cerr << "fxhost: " << e.what() << "\n";
        return kTrouble;
    }
    return report.allPassed() ? 0 : kFailed;
}

}  // namespace fxhost
