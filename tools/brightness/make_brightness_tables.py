#!/usr/bin/env python3
"""Builds the 300 brightness tables of PSContrastBrightness and writes them
as literal data.

    python3 tools/brightness/make_brightness_tables.py source/data/brightness_tables_data.cpp

The model:
- values 1..100: a straight line of slope s = e^(0.0063 v) from the origin
  to a knot, then one cubic Hermite arc to (255, 255) with end slope e. The
  knot's output is 128 from value 50 up and rises toward 255 as the value
  falls to 0; knot outputs and end slopes are interpolated between measured
  anchors.
- values 101..150: the same line up to output 128, then a Hermite arc that
  flattens to 255 at input 250 - 0.4 (v - 100).
- negative values: the numerical inverse of the table of the positive value.
The fixed rows (entries 0..9, 64, 128, 192 and 246..255 of values +-1, 50,
100, 150) are then set exactly, and each stretch between them is bent by a
linear correction so that it meets them; tables stay non-decreasing. The
largest deviation from the model is printed.
"""
import math
import sys

FIXED = {
    150: ([0, 3, 5, 8, 10, 13, 15, 18, 21, 23], 162, 239, 253, [255] * 10),
    100: ([0, 2, 4, 6, 8, 9, 11, 13, 15, 17], 120, 209, 245, [254, 254, 254, 254, 255, 255, 255, 255, 255, 255]),
    50: ([0, 1, 3, 4, 5, 7, 8, 10, 11, 12], 88, 171, 228, [253, 253, 254, 254, 254, 254, 254, 255, 255, 255]),
    1: ([0, 1, 2, 3, 4, 5, 6, 7, 8, 9], 64, 129, 194, [247, 248, 248, 249, 250, 251, 252, 253, 254, 255]),
    -1: ([0, 1, 2, 3, 4, 5, 6, 7, 8, 9], 64, 127, 190, [245, 246, 248, 249, 250, 251, 252, 253, 254, 255]),
    -50: ([0, 1, 1, 2, 3, 4, 4, 5, 6, 7], 47, 93, 148, [225, 227, 230, 233, 236, 239, 242, 246, 250, 255]),
    -100: ([0, 1, 1, 2, 2, 3, 3, 4, 4, 5], 34, 68, 111, [196, 200, 204, 209, 214, 220, 227, 236, 245, 255]),
    -150: ([0, 0, 1, 1, 2, 2, 2, 3, 3, 3], 25, 50, 79, [148, 152, 156, 161, 167, 174, 183, 195, 214, 255]),
}

# Measured anchors: value -> (knot output, end slope).
ANCHORS = [(0, 255.0, 1.0), (10, 182.6, 0.58), (25, 146.3, 0.35), (50, 128.0, 0.19), (75, 128.0, 0.12),
           (100, 128.0, 0.10)]


def interp(v, k):
    for (v0, *a0), (v1, *a1) in zip(ANCHORS, ANCHORS[1:]):
        if v0 <= v <= v1:
            t = (v - v0) / (v1 - v0)
            return a0[k] + (a1[k] - a0[k]) * t
    return ANCHORS[-1][1 + k]


def hermite(x, x0, y0, m0, x1, y1, m1):
    h = x1 - x0
    t = (x - x0) / h
    t2, t3 = t * t, t * t * t
    return (2 * t3 - 3 * t2 + 1) * y0 + (t3 - 2 * t2 + t) * h * m0 + (-2 * t3 + 3 * t2) * y1 + (t3 - t2) * h * m1


def positive_model(v):
    s = math.exp(0.0063 * v)
    if v <= 100:
        y0, e, x1 = interp(v, 0), interp(v, 1), 255.0
    else:
        y0, e, x1 = 128.0, 0.0, 250.0 - 0.4 * (v - 100)
    x0 = y0 / s
    out = []
    for x in range(256):
        if x <= x0:
            y = s * x
        elif x < x1:
            y = hermite(x, x0, y0, s, x1, 255.0, e)
        else:
            y = 255.0
        out.append(min(255.0, max(0.0, y)))
    return out


def inverse(table):
    """The real input at which a non-decreasing table reaches each output."""
    out = []
    for y in range(256):
        if y == 255:  # every table ends at 255, and so does its inverse
            out.append(255.0)
            continue
        x = 255.0
        for i in range(255):
            lo, hi = table[i], table[i + 1]
            if lo <= y <= hi:
                x = i if hi == lo else i + (y - lo) / (hi - lo)
                break
        out.append(x)
    return out


def fix_rows(model, fixed):
    """Sets the fixed entries and bends each stretch between them to meet them."""
    first, at64, at128, at192, last = fixed
    known = {i: v for i, v in enumerate(first)}
    known.update({64: at64, 128: at128, 192: at192})
    known.update({246 + i: v for i, v in enumerate(last)})
    keys = sorted(known)
    table = [0.0] * 256
    for a, b in zip(keys, keys[1:]):
        ea, eb = known[a] - model[a], known[b] - model[b]
        for x in range(a, b + 1):
            t = (x - a) / (b - a)
            table[x] = model[x] + ea + (eb - ea) * t
    out = [max(0, min(255, int(math.floor(v + 0.5)))) for v in table]
    for k, v in known.items():
        out[k] = v
    for x in range(1, 256):  # non-decreasing
        if x not in known:
            out[x] = max(out[x], out[x - 1])
    return out


def main():
    tables = {}
    worst = {}
    models = {}
    for v in range(1, 151):
        models[v] = positive_model(v)
    for v in range(1, 151):
        models[-v] = inverse(models[v])
    for v, model in models.items():
        if v in FIXED:
            table = fix_rows(model, FIXED[v])
        else:
            table = [max(0, min(255, int(math.floor(y + 0.5)))) for y in model]
            table[0], table[255] = 0, 255
            for x in range(1, 256):
                table[x] = max(table[x], table[x - 1])
        tables[v] = table
        worst[v] = max(abs(t - m) for t, m in zip(table, model))
    for v in sorted(FIXED):
        print("value %4d: largest deviation from the model %.2f levels" % (v, worst[v]), file=sys.stderr)
    print("all values: largest deviation from the model %.2f levels (value %d)" % (max(worst.values()), max(worst, key=worst.get)),
          file=sys.stderr)
    with open(sys.argv[1], "w") as f:
        f.write("// Generated by tools/brightness/make_brightness_tables.py; do not edit. Re-run:\n")
        f.write("//   python3 tools/brightness/make_brightness_tables.py source/data/brightness_tables_data.cpp\n")
        f.write("// Row v + 150 for values -150..-1, row v + 149 for values 1..150.\n")
        f.write('#include "brightness_tables.h"\n\nnamespace klav {\nnamespace detail {\n\n')
        f.write("const unsigned char kBrightnessTables[300][256] = {\n")
        for v in list(range(-150, 0)) + list(range(1, 151)):
            f.write("    {" + ",".join(str(x) for x in tables[v]) + "},\n")
        f.write("};\n\n}  // namespace detail\n}  // namespace klav\n")


if __name__ == "__main__":
    main()
