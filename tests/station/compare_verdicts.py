"""Checks that our reading of the job schema agrees with an independent validator, for a
complete job and for variants changed in one place.

Usage: compare_verdicts.py SCHEMA_VERDICTS SCHEMA
"""
import copy
import json
import re
import subprocess
import sys

import jsonschema

with open(sys.argv[2], encoding="utf-8") as file:
    schema = json.load(file)
jsonschema.Draft7Validator.check_schema(schema)


def pattern(_, wanted, value, __):
    """As the schema's standard has it: $ is the end alone, while Python also takes a line feed there."""
    if isinstance(value, str) and not re.search(re.sub(r"\$$", r"\\Z", wanted), value):
        yield jsonschema.ValidationError(f"{value!r} does not match {wanted}")


validator = jsonschema.validators.extend(jsonschema.Draft7Validator, {"pattern": pattern})(schema)

image = {"image": "a.bin", "sha256": "0" * 64, "version": "v1.3"}
job = {"format": "pellavox station job 1", "model": "KVR-7", "mcu": image, "capture": image,
       "edid": {"tables": [{"slot": 0, "file": "a", "sha256": "1" * 64}], "mode": "mixed", "slot": 1},
       "serial": {"from": "count", "prefix": "A", "digits": 4, "first": 1, "pattern": "A.*"}, "keys": "keys",
       "steps": [{"do": "mcu", "retries": 1}, {"do": "key"}], "retries": 2,
       "compare": ["mcuVersion", "edidSlot"], "rework": "refuse", "wait": {"device": 1, "restart": 2}}
others = [None, True, 0, -1, 1, 6, 7, 10, 11, 1.5, 1e20, 9007199254740992, "", "x", "count", "0" * 64, "0" * 65,
          "v1.3", "v15.0", "v1", "v01.3", "v1.16",
          "v1.3\n", "0" * 64 + "\n", "A\n", "a" * 16, "\u00c4\u00d6" * 40, "\U0001F600" * 64, [], ["x", "x"],
          ["mcuVersion", "mcuVersion"], [{}] * 8, {}, {"do": "mcu"}]


def places(value, path=()):
    yield path
    items = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for key, member in items:
        yield from places(member, (*path, key))


cases = [job]
for path in places(job):
    for other in others:
        case = copy.deepcopy(job)
        if not path:
            case = other
        else:
            parent = case
            for key in path[:-1]:
                parent = parent[key]
            parent[path[-1]] = other
        cases.append(case)
    if path and isinstance(path[-1], str):
        case = copy.deepcopy(job)
        parent = case
        for key in path[:-1]:
            parent = parent[key]
        parent["more/~"] = parent.pop(path[-1])
        cases.append(case)

lines = "".join(json.dumps(case) + "\n" for case in cases)
said = subprocess.run([sys.argv[1]], input=lines, capture_output=True, text=True, check=True, timeout=60).stdout.split()
wanted = ["yes" if validator.is_valid(case) else "no" for case in cases]
problems = [json.dumps(case) for case, ours, theirs in zip(cases, said, wanted) if ours != theirs]
for problem in problems[:10]:
    print("the verdicts differ on", problem)
print(f"{len(cases)} jobs, {wanted.count('yes')} of them right, {len(problems)} differences")
sys.exit(1 if problems or len(said) != len(cases) or wanted.count("yes") < 10 else 0)
