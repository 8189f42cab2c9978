#!/bin/bash
# Non-blank, non-comment lines of C++ (.h, .cpp): the tests against the code they test.
# Prints the whole tree's ratio (Tests/ against Plugins/ + Host/) and the ratio of the unit and
# effect suites (Tests/ without CLI against Plugins/ + Host/Core).
cd "$(dirname "$0")/.."
count() {
    find "$@" \( -name '*.h' -o -name '*.cpp' \) -print0 | xargs -0 cat | awk '
    { line = $0; out = ""
      while (length(line) > 0) {
        if (inComment) { p = index(line, "*/"); if (p == 0) { line = ""; break }; line = substr(line, p + 2); inComment = 0; continue }
        p = index(line, "/*"); q = index(line, "//")
        if (q > 0 && (p == 0 || q < p)) { out = out substr(line, 1, q - 1); break }
        if (p > 0) { out = out substr(line, 1, p - 1); line = substr(line, p + 2); inComment = 1; continue }
        out = out line; line = ""
      }
      if (out ~ /[^ \t]/) n++ }
    END { print n + 0 }'
}
tests=$(count Tests); code=$(count Plugins Host)
units=$(count Tests -path Tests/CLI -prune -o); unitCode=$(count Plugins Host/Core)
echo "whole tree: tests $tests, code $code, $((100 * tests / code))%"
echo "Tests without CLI against Plugins + Host/Core: $units, $unitCode, $((100 * units / unitCode))%"
