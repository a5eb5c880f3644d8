"""Runs the examples in the documents and compares their output.

Usage: check_document.py PROGRAM SAMPLES_PROGRAM DOCUMENT... [--write]

Examples are in ```console blocks. A shell runs each line that begins with "$ "; the
lines below are its output, including standard error. All examples of a document run
on one simulated device that keeps its state, in a folder with the sample files.
--write updates the documents instead.
"""
import os
import pathlib
import subprocess
import sys
import tempfile

paths = [pathlib.Path(argument).resolve() for argument in sys.argv[1:] if argument != "--write"]
program, samples, documents = paths[0], paths[1], paths[2:]
writes = "--write" in sys.argv


def run(command, folder, last_code):
    """The shell's output for the command, and its exit code."""
    if command == "echo $?":
        return f"{last_code}\n", 0
    ended = subprocess.run(["bash", "-c", command], cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                           stdin=subprocess.DEVNULL, timeout=60, check=False)
    return ended.stdout.decode().replace(str(folder), "."), ended.returncode


def check(document, folder):
    """The number of examples in a document, and how many of them differ."""
    lines = document.read_text(encoding="utf-8").splitlines()
    result = []
    problems = 0
    count = 0
    code = 0
    position = 0
    inside = False
    while position < len(lines):
        line = lines[position]
        result.append(line)
        position += 1
        if line.startswith("```"):
            inside = line == "```console"
        if not inside or not line.startswith("$ "):
            continue
        shown = []
        while not lines[position].startswith(("$ ", "```")):
            shown.append(lines[position])
            position += 1
        printed, code = run(line[2:], folder, code)
        count += 1
        result.extend(printed.splitlines())
        if printed.splitlines() != shown and not writes:
            problems += 1
            print(f"{document.name}:{position}: {line}\nprints:\n{printed}but the document shows:\n" + "\n".join(shown))
    if writes and count:
        document.write_text("\n".join(result) + "\n", encoding="utf-8")
    return count, problems


def main():
    total = 0
    total_problems = 0
    path = os.environ["PATH"]
    for document in documents:
        if "```console" not in document.read_text(encoding="utf-8"):
            continue
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "scenario.json").write_text('{"clock": "virtual"}')
            os.environ.update(
                PATH=f"{program.parent}{os.pathsep}{path}",
                RTICE_SIMULATOR_SCENARIO=f"{folder}/scenario.json",
                RTICE_SIMULATOR_STATE=f"{folder}/device",
                TMPDIR=folder)
            subprocess.run([samples, folder], check=True, stdout=subprocess.DEVNULL)
            subprocess.run([samples, "--station", f"{folder}/line"], check=True, stdout=subprocess.DEVNULL)
            count, problems = check(document, folder)
        print(f"{document.name}: {count} examples, {problems} that print something else")
        total += count
        total_problems += problems
    return 1 if total_problems or total == 0 else 0


sys.exit(main())
