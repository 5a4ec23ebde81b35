#!/usr/bin/env python3
"""Asks the tests of a room whether they notice small mistakes in its sources.

  scripts/mutate.py [--count N] [--seed N] [--filter FILTER] FILE...

    scripts/mutate.py --count 20 --seed 7 LIB/text/NStringLib.cpp libzel/rates/Growth.h

One mutation is made at a time, chosen by the seed from all that are possible in the files: a comparison is flipped, a
condition negated, a constant changed by one or set to 0, an operator exchanged, a statement removed. The test program
that has the file's tests is built again and the tests of its room run: those below tests/LIB/ROOM or tests/libzel/ROOM, those
that include the file, or what FILTER selects (as --gtest_filter takes it). A mutant is

  killed     a test fails, crashes or does not end
  SURVIVED   all tests pass: a test is missing, or the mutation changes nothing that can be seen; a person looks
  (none)     it does not compile: it does not count, and another one is made

Ends with the share of mutants that were killed. Not part of the gate. Works on a copy of the tracked files in build-mutate/,
never on the working tree; the first run builds everything there. A mutant may signal or remove what it should not: root runs
it in a process namespace of its own, others run it with their rights. Exit status: 0 when none survived, 1 otherwise, 2 when
the tests fail without any mutation.
"""

import argparse
import os
import pathlib
import random
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build-mutate"
TREE = WORK / "tree"
BUILD = WORK / "build"
BUILD_LIMIT = 900  # seconds
FIRST_BUILD_LIMIT = 7200
SLACK = 20  # seconds; a mutant may take so much longer than three times what the tests take without it

# Pattern of a piece of code, what it becomes, and the name of the mutation. The formatting of the sources keeps these
# apart from templates and pointers: binary operators have a blank on both sides.
RULES = [
    (r" < ", [" <= ", " > "], "comparison"),
    (r" <= ", [" < "], "comparison"),
    (r" > ", [" >= ", " < "], "comparison"),
    (r" >= ", [" > "], "comparison"),
    (r" == ", [" != "], "comparison"),
    (r" != ", [" == "], "comparison"),
    (r" \+ ", [" - "], "operator"),
    (r" - ", [" + "], "operator"),
    (r" \* ", [" / "], "operator"),
    (r" / ", [" * "], "operator"),
    (r" && ", [" || "], "operator"),
    (r" \|\| ", [" && "], "operator"),
    (r"\+\+(?=\w)", ["--"], "operator"),
    (r"\btrue\b", ["false"], "constant"),
    (r"\bfalse\b", ["true"], "constant"),
]
NUMBER = re.compile(r"(?<![\w.'])\d+(?![\w.'xX])")
CONDITION = re.compile(r"\b(?:if|while) \(")
STATEMENT = re.compile(r"^[ ]+(?!return\b|break\b|continue\b|case\b|using\b|throw\b|goto\b)[\w:\->.\[\]*()+]+.*;$", re.M)
NOT_CODE = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'|^[ ]*#(?:\\\n|[^\n])*'
    r"|^[ ]*(?:using|static_assert|template|namespace)\b[^\n]*",
    re.S | re.M,
)


class Mutation:
    """One change: `text` of the file from `start` to `end` becomes `after`."""

    def __init__(self, path, text, start, end, after, kind):
        self.path = path
        self.kind = kind
        self.line = text.count("\n", 0, start) + 1
        self.mutated = text[:start] + after + text[end:]
        line_start = text.rfind("\n", 0, start) + 1
        self.before_line = text[line_start : text.find("\n", start)].strip()
        self.after_line = self.mutated[line_start : self.mutated.find("\n", start)].strip() or "(nothing)"

    def __str__(self):
        return f"{self.path}:{self.line} {self.kind}: {self.before_line}  ->  {self.after_line}"


def blanked(text):
    """The text with everything that is no code replaced by blanks of the same length."""
    return NOT_CODE.sub(lambda match: re.sub(r"[^\n]", " ", match.group()), text)


def end_of_condition(code, start):
    """The place of the bracket that closes the one before `start`."""
    depth = 1
    for place in range(start, len(code)):
        depth += {"(": 1, ")": -1}.get(code[place], 0)
        if depth == 0:
            return place
    return start


def mutations_of(path):
    """Every mutation of a file."""
    text = (TREE / path).read_text()
    code = blanked(text)
    found = []
    for pattern, replacements, kind in RULES:
        for match in re.finditer(pattern, code):
            found += [Mutation(path, text, match.start(), match.end(), after, kind) for after in replacements]
    for match in NUMBER.finditer(code):
        number = int(match.group())
        for changed in sorted({number + 1, max(number - 1, 0), 0} - {number}):
            found.append(Mutation(path, text, match.start(), match.end(), str(changed), "constant"))
    for match in CONDITION.finditer(code):
        end = end_of_condition(code, match.end())
        condition = text[match.end() : end]
        if ";" not in condition and condition.strip():
            found.append(Mutation(path, text, match.end(), end, f"!({condition})", "negated condition"))
    for match in STATEMENT.finditer(code):
        indent = len(match.group()) - len(match.group().lstrip())
        found.append(Mutation(path, text, match.start() + indent, match.end(), ";", "removed statement"))
    return found


def run(command, limit, **options):
    """The exit status and the output; 124 after the limit, with everything that was started ended."""
    with subprocess.Popen(
        command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace", start_new_session=True, **options
    ) as process:
        try:
            output = process.communicate(timeout=limit)[0]
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, 9)
            process.communicate()
            return 124, "time limit"
        return process.returncode, output


def copy_tree():
    """Brings the copy up to the working tree's tracked files; what did not change keeps its time."""
    TREE.mkdir(parents=True, exist_ok=True)
    listed = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, check=True, capture_output=True).stdout
    tracked = {name for name in listed.decode().split("\0") if name and (ROOT / name).is_file()}
    for old in [path for path in TREE.rglob("*") if path.is_file() and str(path.relative_to(TREE)) not in tracked]:
        old.unlink()
    for name in tracked:
        source, copy = ROOT / name, TREE / name
        if copy.exists() and copy.read_bytes() == source.read_bytes():
            continue
        copy.parent.mkdir(parents=True, exist_ok=True)
        copy.write_bytes(source.read_bytes())
        copy.chmod(source.stat().st_mode)


def configure():
    """A quick build of the tests; they are not listed while it builds, for a mutant may hang in that."""
    status, output = run(
        ["cmake", "-S", str(TREE), "-B", str(BUILD), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0",
         "-DBUILD_TESTING=ON", "-DZEL_WERROR=OFF", "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST"],
        BUILD_LIMIT,
    )
    if status != 0:
        sys.exit(output)


def program_of(path):
    """The test program that has the tests of a file."""
    return "zelrt_tests" if path.startswith("LIB/") else "zel_tests"


def tests_of(path):
    """The test files of a file: those of its room, and those that include it."""
    parts = pathlib.Path(path).parts
    room = TREE / "tests" / parts[0] / parts[1] if len(parts) > 2 else None
    files = set(room.glob("*_test.cpp")) if room and room.is_dir() else set()
    included = "/".join(parts[1:])
    for test in (TREE / "tests" / parts[0]).rglob("*_test.cpp"):
        if f'#include "{included}"' in test.read_text():
            files.add(test)
    return sorted(files)


def filter_of(path):
    """Selects every suite of the test files; all tests when there are none."""
    suites = set()
    for test in tests_of(path):
        suites |= set(re.findall(r"^(?:TYPED_)?TEST(?:_F|_P)?\((\w+),", test.read_text(), re.M))
    patterns = [pattern for suite in sorted(suites) for pattern in (f"{suite}.*", f"*/{suite}.*")]
    return ":".join(patterns) if patterns else "*"


def build(program, limit=BUILD_LIMIT):
    return run(["cmake", "--build", str(BUILD), "--target", program], limit)


def namespace():
    """What runs a command where it can signal nobody else. The shell is its first process, which ignores most signals."""
    command = ["unshare", "--pid", "--fork", "--mount-proc", "--kill-child", "sh", "-c", '"$@"; exit $?', "sh"]
    try:
        return command if run([*command, "true"], SLACK)[0] == 0 else []
    except OSError:
        return []


def test(program, selected, limit):
    command = [*namespace(), str(BUILD / "bin" / program), f"--gtest_filter={selected}", "--gtest_brief=1"]
    return run(command, limit, cwd=WORK)


class Room:
    """Builds and tests one file's room. Its tests pass without a mutation, and how long they take is known."""

    def __init__(self, path, selected):
        self.program = program_of(path)
        self.selected = selected or filter_of(path)
        status, output = build(self.program, FIRST_BUILD_LIMIT)
        if status == 0:
            before = os.times().elapsed
            status, output = test(self.program, self.selected, BUILD_LIMIT)
            self.limit = 3 * (os.times().elapsed - before) + SLACK
        if status != 0:
            print(output[-4000:], f"mutate: the tests of {path} fail without any mutation", sep="\n", file=sys.stderr)
            sys.exit(2)

    def verdict(self, mutation):
        """killed, SURVIVED, or None for what does not compile."""
        file = TREE / mutation.path
        original = file.read_text()
        try:
            file.write_text(mutation.mutated)
            if build(self.program)[0] != 0:
                return None
            status = test(self.program, self.selected, self.limit)[0]
        finally:
            file.write_text(original)
        return "SURVIVED" if status == 0 else "killed"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=20, help="mutants that are tested (20)")
    parser.add_argument("--seed", type=int, default=1, help="of the choice (1)")
    parser.add_argument("--filter", default="", help="tests that are run, as --gtest_filter takes them")
    parser.add_argument("files", nargs="+", metavar="FILE", help="sources, by their path in the repository")
    arguments = parser.parse_args()

    copy_tree()
    configure()
    rooms = {path: Room(path, arguments.filter) for path in arguments.files}
    candidates = [mutation for path in arguments.files for mutation in mutations_of(path)]
    random.Random(arguments.seed).shuffle(candidates)

    counts = {"killed": 0, "SURVIVED": 0, None: 0}
    for mutation in candidates:
        if counts["killed"] + counts["SURVIVED"] == arguments.count:
            break
        verdict = rooms[mutation.path].verdict(mutation)
        counts[verdict] += 1
        if verdict is not None:
            print(f"{verdict:8} {mutation}", flush=True)
    tested = counts["killed"] + counts["SURVIVED"]
    share = 100 * counts["killed"] / tested if tested else 0
    print(f"{tested} mutants of {len(candidates)} possible: {counts['killed']} killed, {counts['SURVIVED']} survived, "
          f"{share:.1f} % killed ({counts[None]} more did not compile)")
    return 1 if counts["SURVIVED"] else 0


if __name__ == "__main__":
    sys.exit(main())
