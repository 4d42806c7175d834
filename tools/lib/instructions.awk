# Adds up by function what callgrind_annotate lists: our functions by name, others by their library.
#
#   callgrind_annotate --auto=no --threshold=100 FILE | awk -v things=N -f instructions.awk
#
# prints lines of: instructions per thing, function or library.

!/^ *[0-9,]+ \( *[0-9.]+%\) / || /PROGRAM TOTALS/ { next }
{
  count = $1
  gsub(/,/, "", count)
  where = $0  # "file:function(types) [library]"; inlined code has no library
  sub(/^ *[0-9,]+ \( *[0-9.]+%\)  */, "", where)
  library = ""
  if (match(where, / \[\/[^\]]*\]$/)) {
    library = substr(where, RSTART + 2, RLENGTH - 3)
    where = substr(where, 1, RSTART - 1)
  }
  name = substr(where, index(where, ":") + 1)
  if (library != "") library_of[name] = library
  spent[name] += count
}

function whose(name,   library) {
  library = library_of[name]
  sub(/^.*\//, "", library)
  sub(/[.-].*$/, "", library)
  if (library != "" && library !~ /^(libDbmsAPI|libsqlapi)$/) return library
  gsub(/\[abi:cxx11\]|\(anonymous namespace\)::/, "", name)
  sub(/^void /, "", name)
  if (name !~ /operator</) sub(/<.*$/, "", name)
  sub(/\(.*$/, "", name)
  return name ~ /^(std|__)/ ? "standard library, inlined" : name
}

END {
  for (name in spent) total[whose(name)] += spent[name]
  for (one in total) printf "%.1f\t%s\n", total[one] / things, one
}
