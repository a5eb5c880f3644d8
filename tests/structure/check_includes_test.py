"""Breaks each rule of packaging/linux/check-includes once, in a small scratch tree.
Usage: check_includes_test.py SCRIPT"""

import pathlib
import subprocess
import sys
import tempfile

GOOD = {
    "device/RTICE_SDK_x64.h": "",
    "device/bytes.h": "",
    "audio/codes.cpp": '#include "audio/codes.h"\n',
    "audio/codes.h": '#include "device/bytes.h"\n',
    "audio/calls.cpp": '#include "audio/calls.h"\n\n#include "device/RTICE_SDK_x64.h"\n',
    "audio/calls.h": '#include "audio/codes.h"\n',
    "audio/page.cpp": '#include "audio/calls.h"\n',
    "audio/CMakeLists.txt": "target_sources(pellavox_decoding PRIVATE codes.cpp)\n"
                            "target_sources(pellavox_calls PRIVATE calls.cpp)\n"
                            "target_sources(pellavox_window PRIVATE page.cpp)\n",
    "cli/verbs.h": '#include "audio/calls.h"\n',
    "simulator/device/clock.h": "",
    "simulator/control/control.h": '#include "simulator/device/clock.h"\n',
    "tests/test.cpp": '#include "cli/verbs.h"\n#include "device/RTICE_SDK_x64.h"\n',
}


def function(lines: int) -> str:
    return "void longOne(int argument,\n             int another) {\n" + "  argument += another;\n" * (lines - 3) + "}\n"


# File, its new content, and a part of the line that must be printed; None: no breach.
CASES = [
    ("device/bytes.h", "", None),
    ("audio/page.cpp", '#include "device/RTICE_SDK_x64.h"\n', "which is for the calls"),
    ("audio/codes.h", '#include "device/RTICE_SDK_x64.h"\n', "which is for the calls"),
    ("audio/codes.h", '#include "audio/calls.h"\n', "a layer above"),
    ("device/bytes.h", '#include "audio/codes.h"\n', "device/ includes audio/codes.h"),
    ("audio/page.cpp", '#include "cli/verbs.h"\n', "the window program includes cli/verbs.h"),
    ("audio/page.cpp", '#include "simulator/control/control.h"\n', "the window program includes simulator/"),
    ("simulator/device/clock.h", '#include "cli/verbs.h"\n', "of the command line"),
    ("simulator/device/clock.h", '#include "simulator/control/control.h"\n', "in a circle"),
    ("simulator/device/other.h", '#include "simulator/control/control.h"\n', "does not know it"),
    ("simulator/device/other.h", '#include "audio/codes.h"\n', "the simulated device includes audio/codes.h"),
    ("audio/page.cpp", function(60), None),
    ("audio/page.cpp", function(61), "a function of 61 lines"),
    ("audio/page.cpp", "int number;\n" * 400, None),
    ("audio/page.cpp", "int number;\n" * 401, "has 401 lines"),
    ("tests/test.cpp", function(61), None),
    ("tests/test.cpp", "int number;\n" * 401, "has 401 lines"),
    ("packaging/make", "#!/usr/bin/env bash\n" + "true\n" * 400, "has 401 lines"),
    ("packaging/changelog", "text\n" * 401, None),
    ("tests/judge.py", "pass\n" * 401, "has 401 lines"),
]


def run(script: str, files: dict[str, str]) -> subprocess.CompletedProcess:
    with tempfile.TemporaryDirectory() as folder:
        for name, content in files.items():
            path = pathlib.Path(folder, name)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(content, encoding="utf-8")
        return subprocess.run([sys.executable, script, folder], capture_output=True, text=True, check=False)


failures = 0
for file, content, expected in CASES:
    result = run(sys.argv[1], {**GOOD, file: content})
    good = result.returncode == 0 if expected is None else result.returncode == 1 and expected in result.stderr
    if not good:
        failures += 1
        print(f"{file}, {expected!r}: exit code {result.returncode}\n{result.stdout}{result.stderr}")
print(f"{len(CASES)} trees, {failures} judged wrongly")
sys.exit(failures != 0)
