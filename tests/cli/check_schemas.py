"""Runs command lines of pellavox-cli with -j and checks their output against its
schemas.

Usage: check_schemas.py PROGRAM SCHEMAS_FOLDER LINES_FILE SAMPLE_LINE
Each line of the file holds the exit code, then the arguments. Exit code 1 and a message
if something is wrong.
"""
import hashlib
import json
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

import jsonschema

program, folder = sys.argv[1], pathlib.Path(sys.argv[2])
schemas = {}
for file in sorted(folder.glob("*.json")):
    schema = json.loads(file.read_text())
    jsonschema.Draft7Validator.check_schema(schema)
    schemas["pellavox-cli/" + file.stem] = jsonschema.Draft7Validator(schema)

# Files named in the lines.
files = tempfile.TemporaryDirectory()
for name, content in (("IMAGE", b"KVR-7 V1.04.00"), ("OTHER", b"KVR-5 V1.04.00"), ("KEY", b"0123456789")):
    (pathlib.Path(files.name) / name).write_bytes(content)
recordings = folder.parent.parent / "tests/recorder/recordings"
(pathlib.Path(files.name) / "RECORDING").write_bytes((recordings / "failing-burn.jsonl").read_bytes())
subprocess.run([program, "edid", "read", "--slot", "1", "-o", files.name + "/TABLE"], check=True, timeout=60,
               stdout=subprocess.DEVNULL)
job = {"format": "pellavox station job 1", "model": "KVR-7", "serial": {"from": "scan"},
       "edid": {"tables": [{"slot": 1, "file": "TABLE", "sha256": hashlib.sha256(
           (pathlib.Path(files.name) / "TABLE").read_bytes()).hexdigest()}]},
       "steps": [{"do": "edid"}]}
(pathlib.Path(files.name) / "JOB").write_text(json.dumps(job))
table = bytearray((pathlib.Path(files.name) / "TABLE").read_bytes())
table[-1] ^= 1
(pathlib.Path(files.name) / "WRONG").write_bytes(table)
subprocess.run([sys.argv[4], files.name], check=True, timeout=60)
subprocess.run([program, "snapshot", files.name + "/SNAPSHOT"], check=True, timeout=60)

problems = []
used = set()
count = 0
for line in pathlib.Path(sys.argv[3]).read_text().splitlines():
    words = [re.sub("^(SNAPSHOT|IMAGE|OTHER|KEY|TABLE|WRONG|RECORDING|JOB|LINE|BADLINE|LEDGER|CHANGED)$", files.name + r"/\1", word) for word in shlex.split(line)]
    if not words:
        continue
    count += 1
    ended = subprocess.run([program, "-j", *words[1:]], capture_output=True, timeout=60, check=False,
                           stdin=subprocess.DEVNULL)
    if ended.returncode != int(words[0]):
        problems.append(f"{line.strip()}: ended with {ended.returncode}: {ended.stdout.decode()[:300]}")
    try:
        document = json.loads(ended.stdout)
        used.add(document["schema"])
        for error in schemas[document["schema"]].iter_errors(document):
            problems.append(f"{line.strip()}: {error.json_path}: {error.message}")
    except (ValueError, KeyError, TypeError) as error:
        problems.append(f"{line.strip()}: no document of a known schema: {error!r}: {ended.stdout.decode()[:300]}")

for name in sorted(set(schemas) - used):
    problems.append(f"no command line printed a document of {name}")
for problem in problems:
    print(problem)
print(f"{count} command lines, {len(used)} schemas, {len(problems)} problems")
sys.exit(1 if problems or count == 0 else 0)
