"""Checks docs/scene.schema.json against scenes: check-schema.py ROOT. It has to accept the right ones, those of the
documents and examples among them, and to refuse those of errors.txt, but for what only the reader can tell."""

import json
import pathlib
import re
import sys

import jsonschema

ROOT = pathlib.Path(sys.argv[1])
DATA = ROOT / "tests/assets/scene/data"

# What is said of scenes that are wrong in what they mean, not in their form: no schema sees that.
MEANING = [
    # names of what the scene itself defines, and a name that stands twice
    "stands twice",
    "unknown texture",
    "unknown font",
    "unknown parameter",
    "unknown template",
    'needs "b"',
    "there is another one",
    "uses itself",
    # what comes of parameters and constants
    r"\((template |for \$)",
    # beside a use, where any name may be a parameter's
    "Visible: expected true or false",
    "/nodes/0/font: unknown property",
    "takes up strings",
    "begins a name that ends",
    # files
    r"\$FOLDER/",
    "nine-patch image must fill",
    "the system does not have",
    "has no style",
    'unknown key "size"',
    # what one value means for another
    "a frame not before",
    "a frame after",
    "comes to a frame",
    "at most 100000 frames",
    "cannot be underlined",
    "there are no surfaces",
    "ends before it begins",
    "at most 20000",
    "ETC1 with alpha cannot",
    "would not be drawn",
    "no class of sprites",
    "without which a background",
    "either a property is animated",
    "a node has either",
    "more than 1000000 frames later",
    "what is stretched needs",
    "without a box",
    "above 0",
    # seconds of a million frames
    "to 33333.3",
    'the "Pivot" of what has "stretchTo"',
    "the layout of the node above",
    "where y points down",
    "whose y points down",
    "what the layout places is larger",
    "as \"U.0400-U.04FF\"",
]


def load(text):
    """JSON with comments, which are read over."""
    token = re.compile(r'("(?:\\.|[^"\\])*")|//[^\n]*|/\*.*?\*/', re.S)
    return json.loads(token.sub(lambda match: match.group(1) or " ", text))


def read_cases():
    """The scenes of errors.txt with what is said of each: "@" begins what they stand in, "=>" what is said."""
    around, text = "%", []
    for line in (DATA / "errors.txt").read_text().splitlines():
        if line.startswith("@ "):
            around = line[2:]
        elif line.startswith("=> "):
            yield around.replace("%", "\n".join(text), 1), line[3:]
            text = []
        elif line and not line.startswith("#"):
            text.append(line)


def main():
    schema = load((ROOT / "docs/scene.schema.json").read_text())
    jsonschema.Draft7Validator.check_schema(schema)
    scenes = jsonschema.Draft7Validator(schema)
    included = jsonschema.Draft7Validator({**schema, **schema["definitions"]["included"], "required": []})
    faults, refused, needed = [], 0, set()
    rights = [*DATA.glob("*.json"), *(ROOT / "examples").rglob("*.json"), *DATA.glob("included/**/*.json")]
    for path in rights:
        document = load(path.read_text())
        if "nodes" in document or "included" in path.parts:
            for fault in ("nodes" in document and scenes or included).iter_errors(document):
                where = jsonschema.exceptions.best_match([fault])
                faults.append(f"{path}: /{'/'.join(map(str, where.absolute_path))}: {where.message[:300]}")
    for text, said in read_cases():
        try:
            valid = scenes.is_valid(load(text))
        except json.JSONDecodeError:
            continue
        refused += not valid
        fitting = [pattern for pattern in MEANING if re.search(pattern, said)]
        needed.update(fitting if valid else [])
        if valid and not fitting:
            faults.append(f"accepted, though {said}\n{text}")
    faults += [f"no scene is accepted for {pattern}" for pattern in MEANING if pattern not in needed]
    print("\n".join(faults) or f"{len(rights)} scenes accepted, {refused} refused")
    return 1 if faults or not refused else 0


sys.exit(main())
