#!/usr/bin/env python3
"""Writes include/qrt_controls.h and docs/controls.md from frame/controls.def, so that the table stays the one place to edit.

Run it after a change of the table; with --check it only says whether both are up to date (exit code 1 if not), which a
test does.
"""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
TABLE = ROOT / "frame" / "controls.def"
HEADER = ROOT / "include" / "qrt_controls.h"
GUIDE = ROOT / "docs" / "controls.md"
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


def number_rows():
    """Kind, name, default, low, high, access and meaning of each control that has an accessor."""
    for line in TABLE.read_text().splitlines():
        match = ROW.match(line)
        if not match:
            continue
        kind, _, name, rest, meaning = match.groups()
        fields = [field.strip() for field in rest.split(",")]
        if kind == "ALIAS_REAL":
            fields.pop(0)  # the field that it shares
        # home, default, default of models, low, high, ..., access
        yield kind, name, fields[1:], meaning.replace('\\"', "'")


def number_declarations():
    for kind, name, fields, meaning in number_rows():
        default = fields[1]
        ctype = "double" if kind.endswith("REAL") else "int"
        yield f"/** @brief {name}: {meaning} (default {default}). */"
        yield f"QRT_API {ctype} qrt_get{name}(QRTModel *model);"
        if kind == "READER":
            continue
        result = "always refused: its negative position" if "READ" in fields else "0, or 1 for a refused value"
        yield f"/** @brief Sets {name}. @return {result}. */"
        yield f"QRT_API int qrt_set{name}(QRTModel *model, {ctype} value);"


NO_LIMIT = {"INT32_MAX", "INT32_MIN", "REAL_ANY", "-REAL_ANY"}


def guide_text():
    lines = [
        "# Control variables",
        "",
        "All that have accessors `qrt_get...()` and `qrt_set...()`, in the order of their table; the first letter says the kind: `I`",
        "an integer, `R` a real, `C` a text. Made from `frame/controls.def` by `tools/make_controls_header.py`: edit there. A",
        "value outside the range is refused, and the call returns 1. Those of barrier, branch and bound and quadratic",
        "methods are kept and saved but act on nothing yet.",
        "",
        "Worth knowing: `Imaxiter`, `Rtolpinf`, `Rtoldinf`, `Iiterufreq`, `Ilogfreq`, `Rbbcutoff`, `Istopmask`, `Ioneobj`,",
        "`Inumchar` and the names that an import looks for (`Cname` to `Cbound`). The rest is best left alone.",
        "",
        "| name | default | from | to | meaning |",
        "|---|---|---|---|---|",
    ]
    for kind, name, fields, meaning in number_rows():
        low, high = ("" if text in NO_LIMIT else text for text in fields[2:4])
        read_only = "; read only" if kind == "READER" or "READ" in fields else ""
        default = fields[1]
        lines.append(f"| {name} | {default} | {low} | {high} | {meaning}{read_only} |")
    for name, meaning in CHARACTER_CONTROLS.items():
        lines.append(f"| {name} | blank | | | {meaning} |")
    return "\n".join(lines) + "\n"


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
    stale = False
    for path, text in ((HEADER, header_text()), (GUIDE, guide_text())):
        if "--check" not in sys.argv[1:]:
            path.write_text(text)
        elif not path.exists() or path.read_text() != text:
            print(f"{path} is not what {TABLE} gives: run tools/make_controls_header.py")
            stale = True
    return int(stale)


if __name__ == "__main__":
    sys.exit(main())
