#!/usr/bin/env python3
"""Packs upper and lower case of the UTF-16 units from U+0080 into src/core/case_table.inc.

usage: make_table.py > src/core/case_table.inc

The mappings are those of the C library for Unicode (locale C.UTF-8). Each row is a run of units that lie `step` apart
and move by the same distance.
"""
import ctypes

LC_CTYPE_MASK = 1
PER_LINE = 4


def mapping(name):
    library = ctypes.CDLL("libc.so.6")
    library.newlocale.restype = ctypes.c_void_p
    locale = library.newlocale(LC_CTYPE_MASK, b"C.UTF-8", None)
    fold = getattr(library, name)
    fold.argtypes = [ctypes.c_uint, ctypes.c_void_p]
    for unit in range(0x80, 0x10000):
        folded = fold(unit, locale)
        if not 0xD800 <= unit < 0xE000 and folded != unit and folded < 0x10000:
            yield unit, folded - unit


def runs(pairs):
    current = None
    for unit, distance in pairs:
        if current and current["distance"] == distance:
            step = unit - current["last"]
            if step == current["step"] or (current["first"] == current["last"] and step <= 2):
                current.update(last=unit, step=step)
                continue
        if current:
            yield current
        current = dict(first=unit, last=unit, step=1, distance=distance)
    yield current


def main():
    print("// Made by tools/case/make_table.py; not to be edited.")
    for kind, function in (("kUpper", "towupper_l"), ("kLower", "towlower_l")):
        rows = ["{0x%04X, 0x%04X, %d, %d}" % (r["first"], r["last"], r["step"], r["distance"])
                for r in runs(mapping(function))]
        print("constexpr CaseRun %s[] = {" % kind)
        for at in range(0, len(rows), PER_LINE):
            print("    " + ", ".join(rows[at:at + PER_LINE]) + ",")
        print("};")


main()
