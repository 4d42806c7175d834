#!/usr/bin/env bash
# Checks that docs/reliability.md matches the tests and their table of outcomes, and that a table which does not match
# the tests is refused: reliability.sh BUILD_FOLDER
set -euo pipefail
cd "$(dirname "$0")/../.."
# shellcheck source=tests/check.sh
. tests/check.sh

tools/reliability.sh "$1" >"$work/page.md"
diff docs/reliability.md "$work/page.md" || {
  echo 'docs/reliability.md: run tools/reliability.sh BUILD_FOLDER >docs/reliability.md'
  exit 1
}

sound=$(printf '%s\n' 'text # Title' 'family A | first' 'family B | second' 'fault Killed.Before | Killed' \
  'A | false | nothing | again' 'others | false | a row | again' 'fault Whole.Stops | Stopped' 'others | false | all | again' \
  'fault Some.Only | Some' 'A | false | nothing | again' 'none B | B has no row.')
tests=$(printf '%s\n' $'Killed.Before/A\tOne, Two' $'Killed.Before/B\tThree' $'Whole.Stops\t' $'Some.Only/A\tOne, Two')

make_page() { awk -f tools/lib/reliability.awk <(printf '%s\n' "$2") <(printf '%s\n' "$1") 2>&1; }

# refuses MESSAGE TABLE TESTS
refuses() {
  local said
  if said=$(make_page "$2" "$3"); then
    fail "accepted, expected '$1'"
  elif [[ $said != *"$1"* ]]; then
    fail "expected '$1', said '$said'"
  fi
}

page=$(make_page "$sound" "$tests")
for line in '# Title' '| first | One, Two |' '| 1 Killed | a | b |' '| 2 Stopped | a | a |' '| 3 Some | a | – |' '5 cells.*' \
  '| b | false | a row | again |' 'Test: `Some.Only`. B has no row.'; do
  grep -q "^$line" <<<"$page" || fail "the page lacks '$line'"
done
refuses 'there is no test Killed.After' "${sound/Killed.Before/Killed.After}" "$tests"
refuses 'there is no test Killed.Before/B' "$sound" "${tests/Killed.Before\/B/Killed.Before/A}"
refuses 'the table leaves out the test New.Fault' "$sound" "$tests"$'\n'"New.Fault/A"
refuses 'the table has no family C' "$sound" "$tests"$'\n'"Killed.Before/C"
refuses 'Some.Only/B is a test, and has no outcome' "$sound" "$tests"$'\n'"Some.Only/B"
refuses 'Killed.Before has no outcome for B' "${sound/others/A}" "$tests"
refuses 'there is no family D' "${sound/others/D}" "$tests"
refuses 'not an outcome' "${sound/ | again/}" "$tests"

finish "$(grep -oE '^[0-9]+ cells' docs/reliability.md)"
