#!/usr/bin/env bash
# Lists the tests that a ctest run skipped, each with the reason it gave (the text GoogleTest
# prints after "Skipped", or the reason in pytest's -rs summary), from the run's log
# (BUILD/Testing/Temporary/LastTest.log).
set -euo pipefail
log="${1:?usage: tools/list_skips.sh BUILD/Testing/Temporary/LastTest.log}"
[ -f "$log" ] || { echo "No test log at $log."; exit 0; }
awk '
  /^[0-9]+\/[0-9]+ Test: / { name = $3; reason = ""; grab = 0; next }
  /: Skipped$/ { grab = 1; next }
  grab && /^\[  SKIPPED \]/ { grab = 0; next }
  grab { reason = reason (reason == "" ? "" : " ") $0; next }
  /^SKIPPED \[[0-9]+\] / {
    # pytest -rs: "SKIPPED [N] FILE:LINE: reason"
    line = $0
    sub(/^SKIPPED \[[0-9]+\] [^ ]*: /, "", line)
    reason = reason (reason == "" ? "" : "; ") line
    next
  }
  /^Skip regular expression found in output/ {
    order[n++] = name
    why[name] = reason == "" ? "(no reason given)" : reason
  }
  END {
    if (n == 0) { print "No test was skipped."; exit }
    printf "%d test(s) skipped:\n", n
    for (i = 0; i < n; i++) printf "  %s: %s\n", order[i], why[order[i]]
  }
' "$log"
