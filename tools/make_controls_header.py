#!/usr/bin/env python3
"""Writes include/qrt_controls.h from frame/controls.def, so that the table stays the one place to edit.

Run it from the root of the repository after a change of the table; with --check it only says whether the header is up
to date (exit code 1 if not), which a test does.
"""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
TABLE = ROOT / "frame" / "controls.def"
HEADER = ROOT / "include" / "qrt_controls.h"
ROW = re.compile(r'^(INTEGER|COUNTED_INTEGER|READER|REAL|ALIAS_REAL)\((\d+), (\w+), (.*), "((?:[^"\\]|\\.)*)"\)$')

CHARACTER_CONTROLS = {
    "Cname": "name of the model, and of the NAME card an import looks for",
    "Cobjective": "name of the objective row",
    "Crhs": "name of the right-hand-side set",
    "Crange": "name of the range set",
    "Cbound": "name of the bound set",
    "Cbasis": "name of the basis",
}

FIXED = """
/** @brief Minimise: Rmaxmin 1. */
QRT_API int qrt_setMinimize(QRTModel *model);
/** @brief Maximise: Rmaxmin -1. */
QRT_API int qrt_setMaximize(QRTModel *model);
/** @brief Lets branch and bound use Rbbcutoff. */
QRT_API int qrt_activateCutoff(QRTModel *model);
/** @brief Branch and bound no longer uses Rbbcutoff. */
QRT_API int qrt_deactivateCutoff(QRTModel *model);
/** @brief Mask of the fast integer method: the high half of the strategy word. */
QRT_API int qrt_getIfastinteger(QRTModel *model);
/** @brief Sets the mask of the fast integer method. */
QRT_API int qrt_setIfastinteger(QRTModel *model, int value);
/** @brief Number of quadratic blocks. */
QRT_API int qrt_getInumquadraticblocks(QRTModel *model);"""


def number_declarations():
    for line in TABLE.read_text().splitlines():
        match = ROW.match(line)
        if not match:
            continue
        kind, _, name, rest, meaning = match.groups()
        fields = [field.strip() for field in rest.split(",")]
        default = fields[3 if kind == "ALIAS_REAL" else 2]
        meaning = meaning.replace('\\"', "'")
        ctype = "double" if kind.endswith("REAL") else "int"
        yield f"/** @brief {name}: {meaning} (default {default}). */"
        yield f"QRT_API {ctype} qrt_get{name}(QRTModel *model);"
        if kind == "READER":
            continue
        result = "always refused: its negative position" if "READ" in fields else "0, or 1 for a refused value"
        yield f"/** @brief Sets {name}. @return {result}. */"
        yield f"QRT_API int qrt_set{name}(QRTModel *model, {ctype} value);"


def character_declarations():
    for name, meaning in CHARACTER_CONTROLS.items():
        yield f"/** @brief {name}: {meaning}; owned by the model. */"
        yield f"QRT_API const char *qrt_get{name}(QRTModel *model);"
        yield f"/** @brief Sets {name}; cut at 79 characters. @return 0. */"
        yield f"QRT_API int qrt_set{name}(QRTModel *model, const char *value);"


def header_text():
    lines = [
        "/** @file qrt_controls.h",
        " *  Accessors of the control variables, included by qrt_c_api.h. Made from frame/controls.def by",
        " *  tools/make_controls_header.py: edit there. */",
        "#ifndef QRT_CONTROLS_H",
        "#define QRT_CONTROLS_H",
        *number_declarations(),
        *character_declarations(),
        FIXED,
        "#endif",
        "",
    ]
    return "\n".join(lines)


def main():
    text = header_text()
    if "--check" in sys.argv[1:]:
        if HEADER.read_text() != text:
            print(f"{HEADER} is not what {TABLE} gives: run tools/make_controls_header.py")
            return 1
        return 0
    HEADER.write_text(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
