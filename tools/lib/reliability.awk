# Makes docs/reliability.md from two inputs: the names of the tests, and the table that says what they show.
#
# Names: SUITE.TEST, or SUITE.TEST/FAMILY and after a tab the operations of the family. The table, tests/chaos/outcomes.txt:
#
#   text TEXT                        as it is
#   family NAME | TITLE              a column
#   fault SUITE.TEST | TITLE         a row, and a section of the outcomes that follow
#   FAMILY... | SEES | HOLDS | ON    an outcome of these families; `others` are all that the fault does not name
#   none FAMILY... | WHY             families that the fault cannot meet

function fail(message) {
  print message > "/dev/stderr"
  failed = 1
}
function trim(s) {
  gsub(/^[ \t]+|[ \t]+$/, "", s)
  return s
}
function has_test(test, family) { return (test in exists) || ((test "/" family) in exists) }

# The text of a cell of the matrix: the letter of its outcome.
function cell(fault, family,    letter) {
  letter = (fault, family) in outcome ? outcome[fault, family] : (fault, "others") in outcome ? outcome[fault, "others"] : ""
  if (letter == "") fail(test_of[fault] " has no outcome for " family)
  if (letter != "–" && !has_test(test_of[fault], family)) fail("there is no test " test_of[fault] "/" family)
  if (letter == "–" && has_test(test_of[fault], family)) fail(test_of[fault] "/" family " is a test, and has no outcome")
  if (letter == "–") ++gaps; else ++cells
  return letter
}

FNR == NR {
  split($0, parts, "\t")
  exists[parts[1]]
  slash = index(parts[1], "/")
  base = slash ? substr(parts[1], 1, slash - 1) : parts[1]
  bases[base]
  if (slash) {
    name = substr(parts[1], slash + 1)
    in_tests[name]
    if (parts[2] != "") operations[name] = parts[2]
  }
  next
}
/^(#|$)/ { next }
/^text( |$)/ { texts[++count_texts] = substr($0, 6); next }
{
  count = split($0, column, "|")
  for (i = 1; i <= count; ++i) column[i] = trim(column[i])
  count_words = split(column[1], word, " ")
}
word[1] == "family" { family_name[++count_families] = word[2]; family_title[word[2]] = column[2]; next }
word[1] == "fault" {
  test_of[++count_faults] = word[2]
  title_of[count_faults] = column[2]
  count_outcomes[count_faults] = 0
  described[word[2]]
  if (!(word[2] in bases)) fail("there is no test " word[2])
  next
}
word[1] == "none" {
  for (i = 2; i <= count_words; ++i) outcome[count_faults, word[i]] = "–"
  reason[count_faults] = reason[count_faults] " " column[2]
  next
}
{
  if (count != 4) fail("not an outcome: " $0)
  n = ++count_outcomes[count_faults]
  letter = substr("abcdefghijklmnop", n, 1)
  for (i = 1; i <= count_words; ++i) {
    if (word[i] != "others" && !(word[i] in family_title)) fail("there is no family " word[i])
    if ((count_faults, word[i]) in outcome) fail(test_of[count_faults] " has two outcomes for " word[i])
    outcome[count_faults, word[i]] = letter
  }
  row[count_faults, n] = "| " letter " | " column[2] " | " column[3] " | " column[4] " |"
}

END {
  for (name in in_tests) if (!(name in family_title)) fail("the table has no family " name)
  for (base in bases) if (!(base in described)) fail("the table leaves out the test " base)
  for (f = 1; f <= count_faults; ++f) {
    matrix[f] = "| " f " " title_of[f] " |"
    for (i = 1; i <= count_families; ++i) matrix[f] = matrix[f] " " cell(f, family_name[i]) " |"
  }
  if (failed) exit 1

  for (i = 1; i <= count_texts; ++i) print texts[i]
  print "\n## Families\n\n| family | operations in the tests |\n|---|---|"
  for (i = 1; i <= count_families; ++i) print "| " family_title[family_name[i]] " | " operations[family_name[i]] " |"
  print "\n## Faults by families\n\n" cells " cells. Each letter is an outcome in the section of its fault" (gaps ? "; – means that the fault does not meet the family.\n" : ".\n")
  head = "| fault |"
  rule = "|---|"
  for (i = 1; i <= count_families; ++i) {
    head = head " " family_title[family_name[i]] " |"
    rule = rule "---|"
  }
  print head "\n" rule
  for (f = 1; f <= count_faults; ++f) print matrix[f]
  for (f = 1; f <= count_faults; ++f) {
    print "\n## " f " " title_of[f] "\n\nTest: `" test_of[f] "`." reason[f] "\n"
    print "| | the caller sees | the database holds | the client goes on |\n|---|---|---|---|"
    for (i = 1; i <= count_outcomes[f]; ++i) print row[f, i]
  }
}
