#include "ValidationTest.h"

#include <fnmatch.h>

#include <stdexcept>

#include "Checks.h"

namespace fxhost {

namespace {

bool matches(const std::string& pattern, const std::string& name) {
    return name == pattern || name.compare(0, pattern.size() + 1, pattern + ".") == 0 ||
           fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
}

bool matchesAny(const std::vector<std::string>& patterns, const std::string& name) {
    for (const std::string& pattern : patterns)
        if (matches(pattern, name)) return true;
    return false;
}

}  // namespace

const std::vector<ValidationTest>& validationTests() {
    static const std::vector<ValidationTest> tests = {
        {"commands.sequence",
         "about, global set-up, parameter set-up, pre-render, render, set-down in the host's order, twice in "
         "one load: every command succeeds, the second frame equals the first, no exception crosses the entry "
         "point, every suite is released",
         checks::commandSequence},
        {"commands.unknown", "selectors the host API does not define: a documented code, never an exception",
         checks::unknownSelectors},
        {"commands.null",
         "every command with in_data, out_data or the frame's extra null: a documented code, no crash, no "
         "exception, no frame reported made",
         checks::nullRecords},
        {"parameters.table",
         "flags the host API defines, num_params matching the parameters registered, names present, printable "
         "and unique, slider ranges ordered and defaults inside them",
         checks::parameterTable},
        {"parameters.values",
         "every float slider at its minimum, maximum, default and just inside its limits renders, and the same "
         "input and settings give the same bytes twice",
         checks::parameterValues},
        {"lifecycle",
         "set-up, frames and set-down cycles in one process: live GL objects of the effect's share group the "
         "same every frame and every cycle, resident size flat, no GL error left pending after a command",
         checks::lifecycle},
        {"host-context",
         "after every command, on success and on the failure paths, the host's context, surfaces and bound API "
         "are current again, its context holds its own objects unchanged (made before set-up) and no others, and "
         "binds none; every GL call made through the shared glbinding library, set-down's too, has a live "
         "context of the effect's current",
         checks::hostContext},
        {"faults.suites",
         "each suite missing, and each acquired with a null table: documented codes, the host's context back "
         "after a failure, the output untouched or fully written, suites released, the next good frame right",
         checks::suiteFaults},
        {"faults.callbacks",
         "each host callback failing (at the full level on each of its calls in turn) and an empty layer: as "
         "for the suites",
         checks::callbackFaults},
        {"faults.memory",
         "each allocation the host makes refused (handles, memory handles, blocks): as for the suites",
         checks::memoryFaults},
        {"faults.allocations",
         "the bundle's own allocations (operator new called from its code) refused one at a time, a few spread "
         "over the sequence, at the full level each in turn: documented codes, no exception out of the entry "
         "point, the host's context back after a failure, then as for the suites",
         checks::allocationFaults},
        {"worlds",
         "empty, 1x1, odd sizes, padded and minimal rowbytes, sizes past the driver's limits, input and output of "
         "different sizes, no pixels: guard bytes around every buffer intact, documented codes, same frame "
         "whatever the padding, same-sized outputs untouched or fully written",
         checks::worlds},
        {"threads", "frames sent from a pool of threads in turn give the same bytes as on the host's thread",
         checks::threads},
        {"renderers",
         "an effect that offers a CPU renderer besides its GL pass: a chart of every alpha through both, at "
         "each float slider's limits and default, agrees but for rounding (one level at full alpha, what "
         "un-premultiplying magnifies below it) in at least 99.5 % of channel values",
         checks::renderers},
        {"timing", "1920x1080 frames render; set-up, first-frame and per-frame times reported, not judged",
         checks::timing},
    };
    return tests;
}

std::vector<const ValidationTest*> selectTests(const std::vector<std::string>& only,
                                               const std::vector<std::string>& skip) {
    for (const auto* patterns : {&only, &skip}) {
        for (const std::string& pattern : *patterns) {
            bool any = false;
            for (const ValidationTest& test : validationTests()) any = any || matches(pattern, test.name);
            if (!any)
                throw std::invalid_argument("no validation test matches \"" + pattern + "\" (see --list)");
        }
    }
    std::vector<const ValidationTest*> chosen;
    for (const ValidationTest& test : validationTests()) {
        if ((only.empty() || matchesAny(only, test.name)) && !matchesAny(skip, test.name))
            chosen.push_back(&test);
    }
    return chosen;
}

}  // namespace fxhost
