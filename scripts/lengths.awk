# Prints every function longer than 80 lines and every file longer than 400, as "FILE:LINE: ...". Tables are exempt: the
# lines of a brace initialiser outside of functions do not count.
#   awk -f scripts/lengths.awk FILE...
BEGIN {
  longestFunction = 80
  longestFile = 400
}
function finishFile() {
  if (file != "" && lines - tableLines > longestFile)
    printf "%s:1: %d lines without tables (%d allowed)\n", file, lines - tableLines, longestFile
}
# What a brace opens, by the text since the last statement ended.
function kindOf(head) {
  if (inside > 0)
    return "block"
  if (head ~ /(^|[^A-Za-z0-9_])(namespace|class|struct|union|enum|extern)([^A-Za-z0-9_]|$)/ && head !~ /\)[^)]*$/)
    return "container"
  return head ~ /\)[^)=]*$/ || head ~ /\)[ ]*(:|->)[^;]*$/ ? "function" : "table"
}
FNR == 1 {
  finishFile()
  file = FILENAME
  depth = inside = tableLines = 0
  head = ""
}
{
  lines = FNR
  text = $0
  gsub(/\\\\/, "", text)
  gsub(/\\["']/, "", text)
  gsub(/"[^"]*"/, "", text)
  gsub(/'[^']*'/, "", text)
  sub(/\/\/.*/, "", text)
  if (text ~ /^#/)
    next
  for (place = 1; place <= length(text); ++place) {
    character = substr(text, place, 1)
    if (character == "{") {
      kind[++depth] = kindOf(head)
      opened[depth] = FNR
      inside += kind[depth] == "function" || kind[depth] == "table"
      head = ""
    } else if (character == "}" && depth > 0) {
      size = FNR - opened[depth] + 1
      if (kind[depth] == "function" && size > longestFunction)
        printf "%s:%d: a function of %d lines (%d allowed)\n", FILENAME, opened[depth], size, longestFunction
      if (kind[depth] == "table")
        tableLines += size
      inside -= kind[depth] == "function" || kind[depth] == "table"
      --depth
      head = ""
    } else if (character == ";") {
      head = ""
    } else {
      head = head character
    }
  }
  head = head " "
}
END { finishFile() }
