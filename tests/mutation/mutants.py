"""Makes mutants of the program, runs the tests on each and counts the survivors."""

import concurrent.futures
import dataclasses
import os
import pathlib
import queue
import random
import re
import shutil
import subprocess
import sys
import time

FOLDERS = ["app", "ui", "device", "session", "firmware", "video", "audio", "edid", "diag", "simulator"]
NOT_TESTED_HERE = {"device/RTICE_SDK_x64.h", "app/windows_load_config.cpp"}  # the library's contract; Windows only
REQUIRED = 0.95
LIMIT = 240  # seconds for one run of the tests; a mutant that hangs is caught
# Not run on mutants: tests of scripts, benchmarks, linking and code that is not mutated, and
# tests that mostly wait.
LEFT_OUT = "^(scripts_|bench_|hardening_|check_includes|library_replacement|record|station_real|station_killed|soak)"
QUICK = 1.0  # seconds; tests that take less run before the others

# The patterns apply to lines whose texts and comments are blanked out.
OPERATORS = [
    (r" == ", " != "), (r" != ", " == "),
    (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > "),
    (r" && ", " || "), (r" \|\| ", " && "), (r"(?<![\w)\]!])!(?=[\w(])", ""),
    (r" \+ ", " - "), (r" - ", " + "), (r" \* (?=[\w(])", " + "), (r" / ", " * "), (r" % ", " * "),
    (r" << ", " >> "), (r" >> ", " << "), (r" >>= ", " <<= "), (r" \| ", " & "), (r" & (?=[\w(])", " | "),
    (r" \^ ", " | "), (r" \+= ", " -= "), (r"\btrue\b", "false"), (r"\bfalse\b", "true"),
    (r"\bcontinue;", ";"), (r"\bbreak;", ";"),
]
WINDOWS = re.compile(r"#\s*if(def|\s+defined\()\s*\(?(_WIN32|Q_OS_WIN)\b")  # not built here
NUMBER = re.compile(r"(?<![\w.'])(0x[0-9A-Fa-f']+|\d[\d']*)(?![\w.])")
TEXT = re.compile(r'"((?:[^"\\]|\\.)+)"')
STATEMENT = re.compile(r"^\s+(?!return\b|else\b|using\b|constexpr\b|const\b|auto\b|static_assert\b|assert\b|break\b|continue\b)"
                       r"[\w:.>(*-]+.*\);\s*$")
DECLARATION = re.compile(r"^\s+[\w:<>]+[&*]? \w+\(|^\s+(explicit|void|bool|static|virtual|std::|Q\w+ \w)")


# Texts and properties of the form. Most positions are not fixed by requirements.
FORM_TEXT = re.compile(r"<string>([^<]+)</string>")
FORM_NUMBER = re.compile(r"<number>(-?\d+)</number>")
FORM_CHOICES = [("<bool>true</bool>", "<bool>false</bool>"), ("<bool>false</bool>", "<bool>true</bool>"),
                ("<enum>Qt::PlainText</enum>", "<enum>Qt::AutoText</enum>")]


@dataclasses.dataclass(frozen=True)
class Mutant:
    file: str
    line: int  # from 1
    start: int
    end: int
    new: str

    def apply(self, text: str) -> str:
        lines = text.split("\n")
        old = lines[self.line - 1]
        lines[self.line - 1] = old[: self.start] + self.new + old[self.end :]
        return "\n".join(lines)


def blank(line: str) -> str:
    line = re.sub(r'"(?:[^"\\]|\\.)*"', lambda m: '"' + "_" * (len(m[0]) - 2) + '"', line)
    line = re.sub(r"'(?:[^'\\]|\\.)'", lambda m: "_" * len(m[0]), line)
    return re.sub(r"//.*", lambda m: " " * len(m[0]), line)


def without_windows(lines: list[str]) -> list[str]:
    """The lines, those empty that only a compiler for Windows reads."""
    kept = []
    depth = 0  # of conditions inside the one for Windows; 0 = outside
    for line in lines:
        if depth == 0:
            depth = 1 if WINDOWS.match(line) else 0
            kept.append(line)
            continue
        depth += line.startswith("#if")
        depth -= line.startswith("#endif") or (depth == 1 and line.startswith("#el"))
        kept.append("")
    return kept


def mutants_of(file: str, text: str) -> list[Mutant]:
    found = []
    balance = 0
    for number, line in enumerate(without_windows(text.split("\n")), 1):
        code = blank(line)
        whole = balance == 0  # not the rest of a longer statement
        balance += code.count("(") - code.count(")")
        if code.lstrip().startswith(("#", "static_assert", "assert(", "[[")):
            continue
        for pattern, new in OPERATORS:
            found += [Mutant(file, number, m.start(), m.end(), new) for m in re.finditer(pattern, code)]
        for m in NUMBER.finditer(code):
            digits = m[0].replace("'", "")
            if digits.startswith("0x"):
                more = hex(int(digits, 16) + 1)
            elif digits.startswith("0") and len(digits) > 1:
                more = f"0{int(digits, 8) + 1:o}"
            else:
                more = str(int(digits) + 1)
            found.append(Mutant(file, number, m.start(), m.end(), more))
        for m in TEXT.finditer(line):
            if m.start() < len(code.rstrip()) and code[m.start()] == '"':
                found.append(Mutant(file, number, m.start(), m.end(), '"' + m[1] + '~"'))
        if whole and balance == 0 and STATEMENT.match(code) and not DECLARATION.match(code):
            found.append(Mutant(file, number, len(line) - len(line.lstrip()), len(line), ";"))
    return found


def mutants_of_form(file: str, text: str) -> list[Mutant]:
    found = []
    for number, line in enumerate(text.split("\n"), 1):
        for m in FORM_TEXT.finditer(line):
            found.append(Mutant(file, number, m.end(1), m.end(1), "~"))
        for m in FORM_NUMBER.finditer(line):
            found.append(Mutant(file, number, m.start(1), m.end(1), str(int(m[1]) + 1)))
        for old, new in FORM_CHOICES:
            start = line.find(old)
            if start >= 0:
                found.append(Mutant(file, number, start, start + len(old), new))
    return found


def build_aloud(name: str, build: pathlib.Path) -> None:
    """Builds, and prints the progress every ten percent."""
    begin = time.monotonic()
    told = 0
    with subprocess.Popen(["cmake", "--build", str(build)], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True) as process:
        tail: list[str] = []
        for line in process.stdout:
            tail = (tail + [line])[-20:]
            step = re.match(r"\[(\d+)/(\d+)\]", line)
            tenth = int(step[1]) * 10 // int(step[2]) if step else told
            if tenth > told:
                told = tenth
                print(f"{name}: built {10 * tenth} % after {time.monotonic() - begin:.0f} s", flush=True)
    if process.returncode != 0:
        print("".join(tail), end="")
        raise SystemExit(f"FAILED: {name} does not build")


def run(command: list[str], folder: pathlib.Path, limit: float) -> bool:
    process = subprocess.Popen(command, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               start_new_session=True)
    try:
        return process.wait(limit) == 0
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, 9)
        process.wait()
        return False


def ctest(*arguments: str) -> list[str]:
    return ["ctest", "--stop-on-failure", "--no-tests=ignore", "--timeout", "60", "--parallel", "3", *arguments]


def rounds(build: pathlib.Path) -> list[list[str]]:
    """The tests in two parts, the quick ones first, by what a whole run has cost."""
    costs = (build / "Testing/Temporary/CTestCostData.txt").read_text().split("---")[0].splitlines()
    quick = [name for name, _, cost in (line.split() for line in costs) if float(cost) < QUICK]
    these = "^(" + "|".join(quick) + ")$"
    return [["--tests-regex", these, "--exclude-regex", LEFT_OUT], ["--exclude-regex", f"{LEFT_OUT}|{these}"]]


class Copy:
    """A copy of the checkout with its own build, which holds one mutant at a time."""

    def __init__(self, name: str, folder: pathlib.Path):
        print(f"{name}: preparing {folder}", flush=True)
        self.folder = folder
        self.build = folder / "build"
        tracked = subprocess.check_output(["git", "ls-files", "-z"], text=True).split("\0")
        wanted = {file for file in tracked if file and os.path.exists(file)}
        for old in folder.rglob("*"):
            if self.build not in old.parents and old != self.build and old.is_file():
                if str(old.relative_to(folder)) not in wanted:
                    old.unlink()
        for file in wanted:
            target = folder / file
            content = pathlib.Path(file).read_bytes()
            if not target.exists() or target.read_bytes() != content:
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(file, target)
        # Lightly optimised: running the tests takes longer than building a mutant.
        # With warnings as errors, the compiler would reject mutants that tests should catch.
        # Shared libraries are replaced without linking the tests again.
        configure = ["cmake", "-S", str(folder), "-B", str(self.build), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                     "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -Wno-error", "-DCMAKE_C_FLAGS_DEBUG=-O1 -Wno-error",
                     "-DBUILD_SHARED_LIBS=ON", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON",
                     # The calls' own undefined names are those of the device library.
                     "-DCMAKE_EXE_LINKER_FLAGS=-Wl,--allow-shlib-undefined"]
        if shutil.which("ld.lld"):
            configure[-1] += " -fuse-ld=lld"
        subprocess.run(configure, check=True, stdout=subprocess.DEVNULL)
        build_aloud(name, self.build)

    def judge(self, mutant: Mutant, parts: list[list[str]]) -> str:
        path = self.folder / mutant.file
        original = path.read_text()
        path.write_text(mutant.apply(original))
        try:
            module = mutant.file.split("/")[0]
            if not run(["ninja", f"{module}/all", "pellavox_window", "pellavox_calls"], self.build, 600):
                return "refused"  # by the compiler
            # The tests of the same folder are the most likely to notice.
            near = f"tests/{module}"
            if (self.folder / near).is_dir():
                if not run(["ninja", f"{near}/all"], self.build, 600):
                    return "refused"
                if not run(ctest("--test-dir", str(self.build / near), "--exclude-regex", LEFT_OUT), self.build, LIMIT):
                    return "caught"
            if not run(["ninja"], self.build, 600):
                return "refused"
            passes = all(run(ctest("--test-dir", str(self.build), *part), self.build, 3 * LIMIT) for part in parts)
            return "survived" if passes else "caught"
        finally:
            path.write_text(original)


def main() -> int:
    wanted = sys.argv[3:] or FOLDERS
    files = [f for f in subprocess.check_output(["git", "ls-files", *wanted], text=True).split()
             if f.endswith((".cpp", ".h", ".ui")) and f.split("/")[0] in FOLDERS and f not in NOT_TESTED_HERE]
    if not files:
        print("no such files in", " ".join(FOLDERS))
        return 2
    everything = [m for f in files for m in
                  (mutants_of_form if f.endswith(".ui") else mutants_of)(f, pathlib.Path(f).read_text())]
    seed = int(sys.argv[2])
    count = len(everything) if sys.argv[1] == "all" else min(int(sys.argv[1]), len(everything))
    chosen = random.Random(seed).sample(everything, count)
    print(f"{len(everything)} mutants in {len(files)} files; {count} of them, seed {seed}", flush=True)

    workers = os.cpu_count() or 1
    prepared = [Copy(f"copy {i + 1} of {workers}", pathlib.Path("build/mutation").absolute() / str(i))
                for i in range(workers)]
    # At the same time, as later: what they share could make tests fail, too.
    print("running the tests on the unchanged program, in all copies", flush=True)
    all_but_left_out = ["--exclude-regex", LEFT_OUT]
    with concurrent.futures.ThreadPoolExecutor(workers) as pool:
        passed = list(pool.map(lambda copy: run(ctest("--test-dir", str(copy.build), *all_but_left_out), copy.build,
                                                10 * LIMIT), prepared))
    if not all(passed):
        print("FAILED: the tests fail on the unchanged program; see ctest --test-dir",
              prepared[passed.index(False)].build)
        return 1
    parts = rounds(prepared[0].build)
    copies: queue.Queue = queue.Queue()
    for copy in prepared:
        copies.put(copy)

    def judge(mutant: Mutant) -> tuple[Mutant, str]:
        copy = copies.get()
        try:
            return mutant, copy.judge(mutant, parts)
        finally:
            copies.put(copy)

    outcomes = {"caught": 0, "survived": 0, "refused": 0}
    begin = time.monotonic()
    with concurrent.futures.ThreadPoolExecutor(workers) as pool:
        for mutant, outcome in pool.map(judge, chosen):
            outcomes[outcome] += 1
            done = sum(outcomes.values())
            if done % 10 == 0:
                print(f"{done} of {count} after {time.monotonic() - begin:.0f} s: {outcomes['caught']} caught", flush=True)
            if outcome == "survived":
                old = pathlib.Path(mutant.file).read_text()
                print(f"survived: {mutant.file}:{mutant.line}\n"
                      f"  - {old.splitlines()[mutant.line - 1].strip()}\n"
                      f"  + {mutant.apply(old).splitlines()[mutant.line - 1].strip()}", flush=True)
    judged = outcomes["caught"] + outcomes["survived"]
    share = outcomes["caught"] / judged if judged else 0.0
    good = share >= REQUIRED
    print(f"{'PASSED' if good else 'FAILED'}: {outcomes['caught']} of {judged} mutants caught ({100 * share:.1f} %), "
          f"{outcomes['survived']} survived, {outcomes['refused']} refused by the compiler, "
          f"{time.monotonic() - begin:.0f} s.")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
