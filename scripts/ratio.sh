#!/bin/bash
# Non-blank, non-comment lines of C and C++ (.h, .cpp): the tests (Tests/ and Fuzz/) against all the
# other code of the tree (Plugins/, Host/, Bench/). Exits 1 when the tests are more than a third of it.
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
tests=$(count Tests Fuzz); code=$(count Plugins Host Bench)
echo "tests (Tests/, Fuzz/) $tests, code (Plugins/, Host/, Bench/) $code: $((100 * tests / code))%"
[ $((3 * tests)) -le "$code" ]
