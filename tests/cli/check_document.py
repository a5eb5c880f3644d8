"""Runs the examples of docs/command-line.md and holds what they print against it.

Usage: check_document.py PROGRAM SAMPLES_PROGRAM DOCUMENT [--write]

Examples stand in blocks of ```console. A line that begins with "$ " is run by a
shell; the lines below it are what it prints, standard error included. All run on
one simulated device that remembers, in a folder with the sample files. --write
puts what is printed into the document instead.
"""
import os
import pathlib
import subprocess
import sys
import tempfile

program, samples, document = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
writes = sys.argv[4:] == ["--write"]


def run(command, folder, last_code):
    """What a shell prints for the command, and its exit code."""
    if command == "echo $?":
        return f"{last_code}\n", 0
    ended = subprocess.run(["bash", "-c", command], cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                           stdin=subprocess.DEVNULL, timeout=60, check=False)
    return ended.stdout.decode().replace(str(folder), "."), ended.returncode


def main():
    lines = document.read_text(encoding="utf-8").splitlines()
    result = []
    problems = 0
    count = 0
    with tempfile.TemporaryDirectory() as folder:
        (pathlib.Path(folder) / "scenario.json").write_text('{"clock": "virtual"}')
        os.environ.update(
            PATH=f"{program.parent}{os.pathsep}{os.environ['PATH']}",
            RTICE_SIMULATOR_SCENARIO=f"{folder}/scenario.json",
            RTICE_SIMULATOR_STATE=f"{folder}/device",
            TMPDIR=folder)
        subprocess.run([samples, folder], check=True, stdout=subprocess.DEVNULL)
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
    if writes:
        document.write_text("\n".join(result) + "\n", encoding="utf-8")
    print(f"{count} examples, {problems} that print something else")
    return 1 if problems or count == 0 else 0


sys.exit(main())
