#!/usr/bin/env python3
"""Packs the weights of the General text order into src/core/collation_table.inc.

usage: make_table.py collation-general-legacy.tsv > src/core/collation_table.inc

The input has one line per UTF-16 unit: code, class (P A M H K), inline bytes, extra bytes, kana flag, all in hex.
Units with the same class whose weights advance by a constant step form one run; src/core/collation.cpp reads the runs
back. Two-byte weights never hold the byte values 00 and 01 at their end, so they are counted without those.
"""
import sys

CLASSES = "PAMHK"


def ordinal(inline):
    """The inline weight as a number in which neighbouring weights differ by one."""
    if len(inline) == 4:
        return int(inline[:2], 16) * 254 + int(inline[2:], 16) - 2
    return int(inline, 16) if inline else 0


def runs(rows):
    current = None
    for code, kind, inline, extra, flag in rows:
        weight, mark = ordinal(inline), int(extra, 16) if extra else 0
        shape = (kind, len(inline) // 2, bool(extra), flag)
        if current and current["shape"] == shape and current["next"] == code:
            step = (weight - current["last"][0], mark - current["last"][1])
            if current["count"] == 1:
                current["step"] = step
            if step == current["step"]:
                current["count"] += 1
                current["next"] = code + 1
                current["last"] = (weight, mark)
                continue
        if current:
            yield current
        current = dict(shape=shape, code=code, first=(weight, mark), last=(weight, mark), step=(0, 0), count=1,
                       next=code + 1)
    yield current


def unsigned(value):
    out = []
    while value > 0x7F:
        out.append(0x80 | value & 0x7F)
        value >>= 7
    return out + [value]


def signed(value):
    return unsigned(value << 1 if value >= 0 else (-value << 1) - 1)


def main():
    rows = []
    with open(sys.argv[1], encoding="ascii") as table:
        next(table)
        for line in table:
            code, kind, inline, extra, flag = line.rstrip("\n").split("\t")[:5]
            rows.append((int(code, 16), kind, inline, extra, int(flag or 0)))
    out, position, weight = [], 0, 0
    for run in runs(rows):
        kind, length, has_extra, flag = run["shape"]
        out += unsigned(run["code"] - position)
        out += unsigned(run["count"])
        out.append(CLASSES.index(kind) << 5 | length << 2 | has_extra << 1 | (run["count"] > 1))
        if kind == "K":
            out.append(flag)
        if length:
            out += signed(run["first"][0] - weight)
            weight = run["last"][0]
        if has_extra:
            out += unsigned(run["first"][1])
        if run["count"] > 1:
            out += signed(run["step"][0])
            if has_extra:
                out += signed(run["step"][1])
        position = run["next"]
    print("// Made by tools/collation/make_table.py; not to be edited.")
    for start in range(0, len(out), 30):
        print("".join(f"{byte}," for byte in out[start:start + 30]))


main()
