"""Draws what skew_accuracy measured.

  plot.py errors OUT.svg CSV...                the error over the true angle, one dot a page
  plot.py reliability OUT.svg NAME=CSV...      for each set, how often an angle of some confidence was right to
                                               0.25 degree; prints the expected calibration errors as a table
"""
import bisect
import csv
import math
import sys

WIDTH, HEIGHT, LEFT, TOP, RIGHT, BOTTOM = 900, 420, 70, 40, 20, 50
SMALLEST, LARGEST, LIMIT = 0.001, 45.0, 45.0
METHODS = [("driver", "#bbbbbb", "SkewCorrection"), ("leptonica", "#e08a1e", "Leptonica"),
           ("angle", "#1660b0", "skew_measure_page")]
BINS = [0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 0.95, 0.98, 1]  # upper ends; most pages are near 1
RIGHT_WITHIN, PANEL = 0.25, 300


def read(path):
    with open(path, newline="") as file:
        return list(csv.DictReader(file))


def svg(width, height, body):
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" font-family="sans-serif" '
            f'font-size="13">\n<rect width="{width}" height="{height}" fill="white"/>\n' + "\n".join(body) + "\n</svg>\n")


def text(x, y, words, anchor="middle", more=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{more}>{words}</text>'


def errors(paths):
    def x_of(angle):
        return LEFT + (angle + LIMIT) / (2 * LIMIT) * (WIDTH - LEFT - RIGHT)

    def y_of(error):
        share = math.log(max(SMALLEST, min(LARGEST, error)) / SMALLEST) / math.log(LARGEST / SMALLEST)
        return HEIGHT - BOTTOM - share * (HEIGHT - TOP - BOTTOM)

    rows = [row for path in paths for row in read(path) if row["lines"] == "1"]
    body = []
    for error in (0.001, 0.01, 0.1, 1, 10):
        body += [f'<path d="M{LEFT} {y_of(error):.1f}H{WIDTH - RIGHT}" stroke="#dddddd"/>',
                 text(LEFT - 8, y_of(error) + 4, f"{error:g}°", "end")]
    for angle in range(-45, 46, 15):
        body += [f'<path d="M{x_of(angle):.1f} {TOP}V{HEIGHT - BOTTOM}" stroke="#eeeeee"/>',
                 text(x_of(angle), HEIGHT - BOTTOM + 18, f"{angle}°")]
    for column, colour, _ in METHODS:
        dots = ""
        for row in rows:
            apart = abs(float(row[column]) - float(row["truth"])) % 90
            dots += f'M{x_of(float(row["truth"])):.0f} {y_of(min(apart, 90 - apart)):.0f}h0'
        body.append(f'<path d="{dots}" stroke="{colour}" stroke-opacity="0.75" stroke-width="5" '
                    'stroke-linecap="round"/>')
    for i, (_, colour, label) in enumerate(METHODS):
        body += [f'<circle cx="{LEFT + 10 + i * 190}" cy="20" r="5" fill="{colour}"/>',
                 text(LEFT + 20 + i * 190, 25, label, "start")]
    body.append(text(WIDTH / 2, HEIGHT - 10, f"true angle of {len(rows)} pages; error on the left, logarithmic"))
    return svg(WIDTH, HEIGHT, body)


def panel(left, name, pages):
    """One set: a square from 0 to 1 each way, a dot for each bin, as large as it has pages."""
    top, size = 40, PANEL - 70
    body = [f'<path d="M{left} {top}V{top + size}H{left + size}M{left} {top + size}L{left + size} {top}" '
            'fill="none" stroke="#bbbbbb"/>']
    for share in (0, 0.5, 1):
        body += [text(left - 6, top + size * (1 - share) + 4, f"{share:g}", "end"),
                 text(left + size * share, top + size + 16, f"{share:g}")]
    calibration = 0
    bins = [[] for _ in BINS]
    for confidence, right in pages:
        bins[bisect.bisect_left(BINS, min(confidence, 1))].append((confidence, right))
    for members in filter(None, bins):
        expected, seen = (sum(m[i] for m in members) / len(members) for i in (0, 1))
        calibration += abs(expected - seen) * len(members) / len(pages)
        x, y = left + size * expected, top + size * (1 - seen)
        body += [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="{3 + 9 * math.sqrt(len(members) / len(pages)):.1f}" '
                 'fill="#1660b0" fill-opacity="0.7"/>',
                 text(x - 10, y + (20 if seen > 0.5 else -10), len(members), "end" if seen > 0.5 else "start",
                      more=' font-size="10" fill="#555555"')]
    body += [text(left + size / 2, 18, f"{name}, {len(pages)} pages"),
             text(left + size / 2, 33, f"calibration error {calibration:.3f}", more=' font-size="11"'),
             text(left + size / 2, top + size + 30, "confidence", more=' font-size="11"')]
    return body, calibration


def reliability(sets):
    body = [text(14, 155, "right to 0.25°", more=' transform="rotate(-90 14 155)" font-size="11"')]
    print("| pages | number | mean confidence | right to 0.25° | expected calibration error |\n|---|---:|---:|---:|---:|")
    for i, (name, path) in enumerate(sets):
        pages = [(float(row["confidence"]), float(row["off"]) <= RIGHT_WITHIN) for row in read(path)
                 if row["sure"] == "1" and row["verdict"] != "blank"]
        drawn, calibration = panel(50 + i * PANEL, name, pages)
        body += drawn
        mean, right = (sum(p[k] for p in pages) / len(pages) for k in (0, 1))
        print(f"| {name} | {len(pages)} | {mean:.3f} | {right:.3f} | {calibration:.3f} |")
    return svg(50 + PANEL * len(sets), PANEL + 10, body)


def main(what, out, inputs):
    drawn = errors(inputs) if what == "errors" else reliability([i.split("=", 1) for i in inputs])
    with open(out, "w") as file:
        file.write(drawn)


main(sys.argv[1], sys.argv[2], sys.argv[3:])
