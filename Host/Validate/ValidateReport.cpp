#include "ValidateReport.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace fxhost {

namespace {

// Failures printed a test; every one goes to the files.
constexpr size_t kPrintedFailures = 8;

std::string seconds(double s) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f s", s);
    return text;
}

std::string displayName(const TestResult& r, bool repeated) {
    return repeated ? r.name + " #" + std::to_string(r.run) : r.name;
}

std::string xml(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                // XML 1.0 admits no other control characters.
                out += (static_cast<unsigned char>(c) < 0x20 && c != '\t') ? ' ' : c;
        }
    }
    return out;
}

std::ofstream openFile(const std::string& path) {
    std::ofstream file(path);
    if (!file) throw std::runtime_error("cannot write the report file '" + path + "'");
    return file;
}

std::string counted(size_t n, const char* noun) {
    return std::to_string(n) + " " + noun + (n == 1 ? "" : "s");
}

std::string levelName(Level level) {
    return level == Level::Full ? "full" : "quick";
}

}  // namespace

std::vector<std::string> TestResult::failures(double timeoutSeconds) const {
    std::vector<std::string> all = outcome.failures;
    const std::string end = outcome.describeEnd(timeoutSeconds);
    if (!end.empty()) all.push_back("the test's process " + end);
    return all;
}

void ValidateReport::header(std::ostream& out, size_t tests) const {
    out << "fxhost validate " << mOptions.bundle << "\n"
        << counted(tests, "test") << (mRepeat > 1 ? ", each " + std::to_string(mRepeat) + " times" : "")
        << ", level " << levelName(mOptions.level) << ", seed " << mOptions.seed << ", timeout "
        << mOptions.timeoutSeconds << " s a test\n"
        << std::flush;
}

void ValidateReport::add(const TestResult& result, std::ostream& out) {
    mResults.push_back(result);
    char line[160];
    std::snprintf(line, sizeof line, "%s  %-22s %7s", result.outcome.passed() ? "PASS" : "FAIL",
                  displayName(result, mRepeat > 1).c_str(), seconds(result.outcome.seconds).c_str());
    out << line << "\n";
    const std::vector<std::string> failures = result.failures(mOptions.timeoutSeconds);
    for (size_t i = 0; i < failures.size() && i < kPrintedFailures; ++i)
        out << "      " << failures[i] << "\n";
    if (failures.size() > kPrintedFailures)
        out << "      ... and " << failures.size() - kPrintedFailures << " more (all in --junit/--json)\n";
    for (const std::string& note : result.outcome.notes) out << "      note: " << note << "\n";
    out << std::flush;
}

size_t ValidateReport::failedCount() const {
    size_t failed = 0;
    for (const TestResult& r : mResults) failed += r.outcome.passed() ? 0 : 1;
    return failed;
}

void ValidateReport::verdict(std::ostream& out) const {
    double total = 0;
    std::string failed;
    for (const TestResult& r : mResults) {
        total += r.outcome.seconds;
        if (!r.outcome.passed() && failed.find(r.name) == std::string::npos)
            failed += (failed.empty() ? "" : ", ") + r.name;
    }
    if (allPassed()) {
        out << "PASS: " << (mResults.size() == 1 ? "the " : "all ") << counted(mResults.size(), "test")
            << " passed in " << seconds(total) << "\n";
    } else {
        out << "FAIL: " << failedCount() << " of " << counted(mResults.size(), "test") << " failed (" << failed
            << ") in " << seconds(total) << "\n";
    }
    out << std::flush;
}

void ValidateReport::writeJUnit(const std::string& path) const {
    std::ofstream file = openFile(path);
    double total = 0;
    for (const TestResult& r : mResults) total += r.outcome.seconds;
    file << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         << "<testsuites>\n<testsuite name=\"fxhost validate\" tests=\"" << mResults.size()
         << "\" failures=\"" << failedCount() << "\" errors=\"0\" time=\"" << total << "\">\n"
         << "  <properties><property name=\"bundle\" value=\"" << xml(mOptions.bundle)
         << "\"/><property name=\"level\" value=\"" << levelName(mOptions.level)
         << "\"/><property name=\"seed\" value=\"" << mOptions.seed << "\"/></properties>\n";
    for (size_t i = 0; i < mResults.size(); ++i) {
        const TestResult& r = mResults[i];
        file << "  <testcase classname=\"validate\" name=\"" << xml(displayName(r, mRepeat > 1))
             << "\" time=\"" << r.outcome.seconds << "\">\n";
        const std::vector<std::string> failures = r.failures(mOptions.timeoutSeconds);
        if (!failures.empty()) {
            file << "    <failure message=\"" << xml(failures.front()) << "\">";
            for (const std::string& f : failures) file << xml(f) << "\n";
            file << "</failure>\n";
        }
        if (!r.outcome.notes.empty()) {
            file << "    <system-out>";
            for (const std::string& n : r.outcome.notes) file << xml(n) << "\n";
            file << "</system-out>\n";
        }
        file << "  </testcase>\n";
    }
    file << "</testsuite>\n</testsuites>\n";
}

void ValidateReport::writeJson(const std::string& path) const {
    std::ofstream file = openFile(path);
    nlohmann::ordered_json tests = nlohmann::ordered_json::array();
    for (const TestResult& r : mResults) {
        tests.push_back({{"name", r.name},
                         {"run", r.run},
                         {"result", r.outcome.passed() ? "pass" : "fail"},
                         {"seconds", r.outcome.seconds},
                         {"failures", r.failures(mOptions.timeoutSeconds)},
                         {"notes", r.outcome.notes}});
    }
    const nlohmann::ordered_json report = {{"bundle", mOptions.bundle},
                                           {"level", levelName(mOptions.level)},
                                           {"seed", mOptions.seed},
                                           {"passed", allPassed()},
                                           {"tests", tests}};
    // A message from a bundle is not always UTF-8; a stray byte is replaced rather than refused.
    file << report.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
}

}  // namespace fxhost
