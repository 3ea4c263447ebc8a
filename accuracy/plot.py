"""Draws the error over the true angle, one dot a page, from the files that skew_accuracy writes.

The scale of the error is logarithmic from 0.001 to 45 degrees; smaller errors lie on the lower border.
"""
import csv
import math
import sys

WIDTH, HEIGHT, LEFT, TOP, RIGHT, BOTTOM = 900, 420, 70, 40, 20, 50
SMALLEST, LARGEST, LIMIT = 0.001, 45.0, 45.0
METHODS = [("driver", "#bbbbbb", "SkewCorrection"), ("leptonica", "#e08a1e", "Leptonica"),
           ("page", "#1660b0", "skew_measure_page")]


def x_of(angle):
    return LEFT + (angle + LIMIT) / (2 * LIMIT) * (WIDTH - LEFT - RIGHT)


def y_of(error):
    share = math.log(max(SMALLEST, min(LARGEST, error)) / SMALLEST) / math.log(LARGEST / SMALLEST)
    return HEIGHT - BOTTOM - share * (HEIGHT - TOP - BOTTOM)


def main(paths):
    rows = []
    for path in paths:
        with open(path, newline="") as file:
            rows += [row for row in csv.DictReader(file)
                     if row["kind"] not in ("few words", "picture alone", "blank")]
    print(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif" '
          f'font-size="13">\n<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>')
    for error in (0.001, 0.01, 0.1, 1, 10):
        y = y_of(error)
        print(f'<path d="M{LEFT} {y:.1f}H{WIDTH - RIGHT}" stroke="#dddddd"/>'
              f'<text x="{LEFT - 8}" y="{y + 4:.1f}" text-anchor="end">{error:g}°</text>')
    for angle in range(-45, 46, 15):
        x = x_of(angle)
        print(f'<path d="M{x:.1f} {TOP}V{HEIGHT - BOTTOM}" stroke="#eeeeee"/>'
              f'<text x="{x:.1f}" y="{HEIGHT - BOTTOM + 18}" text-anchor="middle">{angle}°</text>')
    for column, colour, _ in METHODS:
        for row in rows:
            truth, found = float(row["truth"]), float(row[column])
            print(f'<circle cx="{x_of(truth):.1f}" cy="{y_of(abs(found - truth)):.1f}" r="2.6" fill="{colour}" '
                  'fill-opacity="0.75"/>')
    for i, (_, colour, label) in enumerate(METHODS):
        print(f'<circle cx="{LEFT + 10 + i * 190}" cy="20" r="5" fill="{colour}"/>'
              f'<text x="{LEFT + 20 + i * 190}" y="25">{label}</text>')
    print(f'<text x="{WIDTH / 2}" y="{HEIGHT - 10}" text-anchor="middle">true angle of {len(rows)} pages; '
          'error on the left, logarithmic</text>\n</svg>')


main(sys.argv[1:])
