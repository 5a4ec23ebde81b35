#!/usr/bin/env bash
# The recipes of docs/architecture.md hold: in a copy of the tree, a scratch column, kernel field, collector, setting, script and
# unit of LIB are made by touching nothing but the sources that their recipes list, the copy builds, and a program finds all of them.
#   recipes.sh SOURCE
set -euo pipefail
source=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
copy=$scratch/tree

mkdir "$copy"
(cd "$source" && git ls-files --cached --others --exclude-standard | while read -r file; do [ ! -e "$file" ] || echo "$file"; done) |
  tar -C "$source" -cf - -T - | tar -C "$copy" -xf -
cd "$copy"
git init -q
git add -A
git -c user.name=recipes -c user.email=recipes@localhost commit -qm "the tree"

fail() {
  echo "recipes: $*" >&2
  exit 1
}

# The files that the recipe TITLE lists.
# shellcheck disable=SC2016 # backquotes of the document
listed() {
  sed -n "/^### $1\$/,/^##* /p" docs/architecture.md | sed -n 's/^| `\([^`]*\)` |.*/\1/p'
}

# Every file of a recipe is there, or is one that it says is new.
for title in "A column" "A kernel field" "A collector" "A setting" "A script" "A unit of LIB that collectors use"; do
  files=$(listed "$title")
  [ -n "$files" ] || fail "there is no recipe '$title'"
  while read -r file; do
    [ -e "$file" ] || [[ "$file" =~ (NEW|New|new) ]] || fail "'$title' names $file, which is not there"
  done <<<"$files"
done

# mentions TITLE NAME PLACE...: every file of the places that mentions NAME, which the tree already has, is in the recipe for another
# of its kind.
mentions() {
  local file files
  files=$(git grep -l "$2" -- "${@:3}") || fail "nothing mentions $2"
  while read -r file; do
    listed "$1" | grep -qxF "${file/$2/new}" || fail "'$1' does not list $file, which mentions $2"
  done <<<"$files"
}
mentions "A setting" g_nProcSleepCnt libzel/Settings.h libzel/Settings.cpp libzel/main.cpp docs tests/support \
  tests/libzel/Settings_test.cpp tests/system/DriverDefaults_test.cpp
mentions "A script" PSInfoLIN runtime docs libzel/scripts tests/libzel/scripts tests/system/HomeKit_test.cpp
mentions "A unit of LIB that collectors use" TrustedWay libzel/CMakeLists.txt

# insert FILE PATTERN LINE: puts LINE before the first line that matches.
insert() {
  grep -qE "$2" "$1" || fail "nothing in $1 matches $2"
  awk -v pattern="$2" -v line="$3" '!done && $0 ~ pattern { print line; done = 1 } { print }' "$1" >"$1.changed"
  mv "$1.changed" "$1"
}
# touched_by TITLE: what changed since the last call is in the recipe.
touched_by() {
  local file
  while read -r file; do
    listed "$1" | grep -qxF "$file" || fail "'$1' does not list $file"
  done < <(git ls-files --modified --others --exclude-standard)
  git add -A
  git -c user.name=recipes -c user.email=recipes@localhost commit -qm "$1"
  echo "$1: $(listed "$1" | wc -l) files in the recipe, $(git diff --name-only HEAD~1 | wc -l) sources touched"
}

insert libzel/disk/MM_IO_Text.cpp 'Column\{"INDEX"' '    zel::Column{"SCRATCH", [](const auto &row) { return row.disk.l_dBusy; }},'
touched_by "A column"

insert libzel/MM_IO_Info.h 'unsigned long long l_nTotSize;' '    unsigned long long scratch; // flushes completed'
touched_by "A kernel field"

cat >libzel/MM_NEW_Info.h <<'EOF'
// CMM_NEW_Info: a scratch collector.
#pragma once

#include "MM_INIT_Info.h"

class CMM_NEW_Info : public CMM_INIT_Info {
public:
    int fMGetScratch();
};
EOF
cat >libzel/cpu/MM_NEW_Info.cpp <<'EOF'
// The scratch collector.
#include "MM_NEW_Info.h"

int CMM_NEW_Info::fMGetScratch() {
    return 42;
}
EOF
insert libzel/Zel.h 'MM_LA_Info.h' '#include "MM_NEW_Info.h"'
insert cmake/PublicHeaders.cmake 'MM_LA_Info.h' '    libzel/MM_NEW_Info.h'
touched_by "A collector"

insert libzel/Settings.h 'extern int g_nKernelRule' 'extern int g_nScratch;'
insert libzel/Settings.cpp 'int g_nKernelRule' 'int g_nScratch;'
insert libzel/main.cpp 'g_nKernelRule = 0' '    g_nScratch = 0;'
touched_by "A setting"

sed -i '/^enum class Script/,/^};/ s/^};/    , Scratch };/' libzel/scripts/HomeScripts.h
sed -i '/^inline constexpr HomeScript HOME_SCRIPTS/,/^};/ s|^};|    {Script::Scratch, 5, "./shell/LINUX/new.sh", nullptr, " > ", "../aproc/shell/new.dat", "", ""},\n};|' \
  libzel/scripts/HomeScripts.h
printf '#!/bin/sh\necho new\n' >runtime/agent/bin/shell/LINUX/new.sh
touched_by "A script"

printf '// A scratch unit.\n#pragma once\n\nint scratchUnit();\n' >LIB/host/NewUnit.h
printf '// A scratch unit.\n#include "host/NewUnit.h"\n\nint scratchUnit() {\n    return 7;\n}\n' >LIB/host/NewUnit.cpp
sed -i 's/|TrustedWay|/|TrustedWay|NewUnit|/' libzel/CMakeLists.txt
sed -i -e 's/return 42;/return 35 + scratchUnit();/' -e 's/^#include "MM_NEW_Info.h"/&\n#include "host\/NewUnit.h"/' libzel/cpu/MM_NEW_Info.cpp
git add libzel/cpu/MM_NEW_Info.cpp
git -c user.name=recipes -c user.email=recipes@localhost commit -qm "a user of the unit" libzel/cpu/MM_NEW_Info.cpp
touched_by "A unit of LIB that collectors use"

cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBUILD_TESTING=OFF -DCMAKE_CXX_FLAGS_DEBUG=-O0 >/dev/null
cmake --build build --target zel zelrt >build.log || { cat build.log >&2; fail "the copy does not build"; }
cat >program.cpp <<'EOF'
#include "Zel.h"
#include "scripts/HomeScripts.h"

#include <cstdio>
#include <cstring>

int main() {
    CMM_NEW_Info collector;
    _ST_DISKSTATS_ line{};
    g_nDiskStrType = 1;
    CMM_IO_Info disks;
    for (int pass = 0; pass < 2; ++pass)
        disks.fMGetIoStat(0, 1, 0);
    std::printf("%s %d %d %llu %s\n", disks.m_pstrPollDiskInfo, collector.fMGetScratch(), g_nScratch, line.scratch,
                zel::homeScript(zel::Script::Scratch).program);
}
EOF
g++ -std=c++20 -I libzel -I LIB program.cpp build/lib/libzel.a build/lib/libzelrt.a -ltirpc -lpthread -o program
output=$(./program | tr '\003\037' '  ')
for expected in 'SCRATCH' ' 42 0 0 ./shell/LINUX/new.sh'; do
  grep -qF -- "$expected" <<<"$output" || fail "the program does not show '$expected': $output"
done
echo "recipes: all of them hold"
