# Makes one source of several test files: first what any of them includes, then every file in a namespace of its own, so that the
# names of one are nothing to the others. What a header costs is paid once.
#   awk -f batch.awk FILE...      in the directory of the tests

function beside(file, line,    path, nothing, found) {
  path = file
  sub(/[^\/]*$/, "", path)
  match(line, /"[^"]*"/)
  path = path substr(line, RSTART + 1, RLENGTH - 2)
  found = (getline nothing < path) >= 0
  close(path)
  return found ? "#include \"" path "\"" : line
}

FNR == 1 { files[++count] = FILENAME }
/^#include "/ { $0 = beside(FILENAME, $0) }
/^#include / && !seen[$0]++ { print }

END {
  for (i = 1; i <= count; ++i)
    printf "\nnamespace file%d {\n#include \"%s\"\n}\n", i, files[i]
}
