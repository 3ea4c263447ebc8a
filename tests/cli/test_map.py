"""Where straightening took each point: in the JSON lines, beside the results, and applied to recognised text."""
import json
import math
import re
import xml.etree.ElementTree as tree

from support import ToolTest, convert, sh, unittest, write_pdf

ANGLE, WIDTH, HEIGHT = 4.0, 1000, 800
ALTO = "{http://www.loc.gov/standards/alto/ns-v4#}"


def turned(x, y, degrees=ANGLE):
    """Where content turned clockwise about the middle of the page takes a point."""
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    x, y = x - WIDTH / 2, y - HEIGHT / 2
    return c * x - s * y + WIDTH / 2, s * x + c * y + HEIGHT / 2


def around(*points):
    xs, ys = zip(*points)
    return min(xs), min(ys), max(xs), max(ys)


class Map(ToolTest):
    def setUp(self):
        super().setUp()
        # Words are bars of different heights on level lines; the page is then turned.
        bars, lines = [], []
        for top in range(150, 650, 60):
            words = [(left, top - (left // 7) % 9, left + 70, top + 24) for left in range(150, 830, 100)]
            bars += words
            lines.append([around(*[turned(x, y) for x in w[::2] for y in w[1::2]]) for w in words])
        draw = " ".join("rectangle %d,%d %d,%d" % (a, b, c - 1, d - 1) for a, b, c, d in bars)
        convert("-size", f"{WIDTH}x{HEIGHT}", "xc:white", "-fill", "black", "-draw", draw, "-virtual-pixel", "white",
                "-distort", "SRT", ANGLE, self.path("page.png"))
        self.ink = sum((c - a) * (d - b) for a, b, c, d in bars)
        self.lines = [(words, [turned(150, top + 24), turned(820, top + 24)])
                      for words, top in zip(lines, range(150, 650, 60))]
        self.tool("rotate", "--angle", ANGLE, "page.png", "-o", "level.png", "--sidecar")

    def write_alto(self, name, unit="pixel", width=WIDTH):
        text = [f"<?xml version='1.0'?>\n<alto xmlns='{ALTO[1:-1]}'><Description><MeasurementUnit>{unit}"
                "</MeasurementUnit><sourceImageInformation><fileName>page.png</fileName></sourceImageInformation>"
                f"</Description><Layout><Page WIDTH='{width}' HEIGHT='{HEIGHT}' ID='p'><PrintSpace>"]
        for words, ((x0, y0), (x1, y1)) in self.lines:
            a, b, c, d = around(*[p for w in words for p in (w[:2], w[2:])])
            text.append(f"<TextLine HPOS='{a:.3f}' VPOS='{b:.3f}' WIDTH='{c - a:.3f}' HEIGHT='{d - b:.3f}' "
                        f"BASELINE='{x0:.3f},{y0:.3f} {x1:.3f},{y1:.3f}'>")
            for a, b, c, d in words:
                text.append(f"<String CONTENT='&lt;ä' HPOS='{a:.3f}' VPOS='{b:.3f}' WIDTH='{c - a:.3f}' "
                            f"HEIGHT='{d - b:.3f}'/>")
            text.append("</TextLine>")
        self.path(name).write_text("".join(text) + "</PrintSpace></Page></Layout></alto>\n")

    def numbers_of(self, name):
        return [float(n) for n in re.findall(r"-?\d+(?:\.\d+)?", self.path(name).read_text().split("?>")[-1])]

    def back_and_forth(self, name):
        self.tool("map", "--sidecar", "level.png.json", name, "-o", "there-" + name)
        self.tool("map", "--sidecar", "level.png.json", "--back", "there-" + name, "-o", "back-" + name)
        before, after = self.numbers_of(name), self.numbers_of("back-" + name)
        self.assertEqual(len(before), len(after))
        self.assertLess(max(abs(a - b) for a, b in zip(before, after)), 0.01)
        return self.path("there-" + name)

    def darkness(self, boxes):
        """Dark pixels of the level page under boxes, each counted once."""
        draw = " ".join("rectangle %d,%d %d,%d" % (math.floor(a), math.floor(b), math.ceil(c) - 1, math.ceil(d) - 1)
                        for a, b, c, d in boxes)
        out = sh("convert-im6.q16", self.path("level.png"), "(", "-size", f"{WIDTH}x{HEIGHT}", "xc:white", "-fill",
                 "black", "-draw", draw, ")", "-compose", "Lighten", "-composite", "-depth", 8, "gray:-").stdout
        return sum(255 - v for v in out) / 255

    def test_alto(self):
        self.write_alto("page.xml")
        root = tree.parse(self.back_and_forth("page.xml")).getroot()
        words = [[float(w.get(k)) for k in ("HPOS", "VPOS", "WIDTH", "HEIGHT")] for w in root.iter(ALTO + "String")]
        self.assertAlmostEqual(self.darkness([(a, b, a + c, b + d) for a, b, c, d in words]) / self.ink, 1, delta=0.01)
        self.assertEqual({w.get("CONTENT") for w in root.iter(ALTO + "String")}, {"<\u00e4"})
        self.assertEqual(root.find(f".//{ALTO}fileName").text, "level.png")
        boxes = []
        for line in root.iter(ALTO + "TextLine"):
            x0, y0, x1, y1 = (float(n) for n in re.split("[ ,]", line.get("BASELINE")))
            self.assertAlmostEqual(math.degrees(math.atan2(y1 - y0, x1 - x0)), 0, delta=0.02)
            left, top, width, height = (float(line.get(k)) for k in ("HPOS", "VPOS", "WIDTH", "HEIGHT"))
            self.assertLess(height, 45)
            boxes.append((left, top, left + width, top + height))
        self.assertAlmostEqual(self.darkness(boxes) / self.ink, 1, delta=0.03)

    def test_hocr(self):
        lines = []
        for words, ((x0, y0), (x1, y1)) in self.lines:
            a, b, c, d = around(*[p for w in words for p in (w[:2], w[2:])])
            slope = (y1 - y0) / (x1 - x0)
            lines.append(f"<span class='ocr_line' title='bbox {a:.3f} {b:.3f} {c:.3f} {d:.3f}; baseline {slope:.9f} "
                         f"{y0 + slope * (a - x0) - d:.3f}; x_size 20'>" + "".join(
                             "<span class='ocrx_word' title='bbox %.3f %.3f %.3f %.3f; x_wconf 90'>w&nbsp;</span>" % w
                             for w in words) + "</span>")
        self.path("page.hocr").write_text(
            '<?xml version="1.0" encoding="UTF-8"?>\n<!DOCTYPE html PUBLIC "-//W3C//DTD XHTML 1.0 Transitional//EN" '
            '"http://www.w3.org/TR/xhtml1/DTD/xhtml1-transitional.dtd">\n<html><body><div class="ocr_page" title='
            f"'image \"page;1.png\"; bbox 0 0 {WIDTH} {HEIGHT}'>" + "".join(lines) + "</div></body></html>\n")
        self.tool("map", "--sidecar", "level.png.json", "page.hocr", "-o", "level.hocr")
        self.tool("map", "--sidecar", "level.png.json", "--back", "level.hocr", "-o", "back.hocr")

        def boxes(name):
            return [float(n) for box in re.findall("bbox ([-0-9. ]+)", self.path(name).read_text())
                    for n in box.split()]
        before, after = boxes("page.hocr"), boxes("back.hocr")
        self.assertEqual(len(before), len(after))
        self.assertLess(max(abs(a - b) for a, b in zip(before, after)), 0.01)
        text = self.path("level.hocr").read_text()
        self.assertIn("w&nbsp;", text)
        self.assertIn("&quot;level.png&quot;", text)
        for slope in re.findall("baseline ([-0-9.e]+)", text):
            self.assertLess(abs(math.degrees(math.atan(float(slope)))), 0.02)
        self.tool("map", "--sidecar", "level.png.json", "--whole", "page.hocr", "-o", "whole.hocr")
        self.assertEqual([n for n in boxes("whole.hocr") if n != int(n)], [])

    def test_tables(self):
        words = [w for line, _ in self.lines for w in line]
        for name, heading, rows in [
            ("a.csv", "text,x0,y0,x1,y1", ['"a, ""b""\nc",%.3f,%.3f,%.3f,%.3f' % w for w in words]),
            ("b.csv", "x;y;w;h", ["%.3f;%.3f;%.3f;%.3f" % (a, b, c - a, d - b) for a, b, c, d in words]),
            ("c.tsv", "level\tpage_num\tleft\ttop\twidth\theight\ttext",
             [f"1\t1\t0\t0\t{WIDTH}\t{HEIGHT}\t"] + ["5\t1\t%.3f\t%.3f\t%.3f\t%.3f\t\"" % (a, b, c - a, d - b)
                                                  for a, b, c, d in words]),
        ]:
            with self.subTest(name):
                self.path(name).write_text("\n".join([heading] + rows) + "\n")
                self.assertNotEqual(self.back_and_forth(name).read_text(), self.path(name).read_text())

    def test_page_xml_keeps_its_coordinates(self):
        self.path("page.xml").write_text(
            f"<PcGts xmlns='http://x'><Page imageFilename='page.png' imageWidth='{WIDTH}' imageHeight='{HEIGHT}'>"
            "<TextRegion id='r'><Coords points='1,2 3,4'/></TextRegion></Page></PcGts>\n")
        self.tool("map", "--sidecar", "level.png.json", "page.xml", "-o", "level.xml")
        page = tree.parse(self.path("level.xml")).getroot()[0]
        self.assertAlmostEqual(float(page.get("orientation")), -ANGLE, delta=0.01)
        self.assertEqual(page[0].attrib, {"filename": "level.png", "comments": "deskewed"})
        self.assertIn("points=\"1,2 3,4\"", self.path("level.xml").read_text())
        self.tool("map", "--sidecar", "level.png.json", "--back", "level.xml", "-o", "back.xml")
        self.assertEqual(tree.canonicalize(from_file=self.path("back.xml")),
                         tree.canonicalize(from_file=self.path("page.xml")))

    def test_sidecars(self):
        """The numbers say where the pixels went, on every canvas and for every page of a file."""
        convert("-size", "300x200", "xc:white", "-fill", "black", "-draw", "rectangle 200,40 209,49", self.path("dot.png"))
        for options in [], ["--canvas", "expand"], ["--fast"]:
            with self.subTest(options):
                self.tool("rotate", "--angle", 20, "dot.png", "-o", "turned.png", "--sidecar", "--overwrite",
                          "--background", "white", *options)
                line = json.loads(self.path("turned.png.json").read_text())
                a, b, c, d, e, f = line["transform"]
                width, height = (int(n) for n in sh("identify-im6.q16", "-format", "%w %h",
                                                    self.path("turned.png")).stdout.split())
                self.assertEqual(line["size_out"], [width, height])
                pixels = sh("convert-im6.q16", self.path("turned.png"), "-depth", 8, "gray:-").stdout
                ink = [(255 - v, i % width + 0.5, i // width + 0.5) for i, v in enumerate(pixels) if v < 255]
                total = sum(v for v, _, _ in ink)
                self.assertAlmostEqual(sum(v * x for v, x, _ in ink) / total, a * 205 + c * 45 + e, delta=0.1)
                self.assertAlmostEqual(sum(v * y for v, _, y in ink) / total, b * 205 + d * 45 + f, delta=0.1)
        page, level = self.small_page("page.jpg"), self.level_page("level.jpg")
        write_pdf(self.path("book.pdf"), [page, level])
        self.tool("deskew", "book.pdf", "-o", "out.pdf", "--sidecar", "--min-angle", 0.2)
        first, second = (json.loads(line) for line in self.path("out.pdf.json").read_text().splitlines())
        self.assertEqual([first["page"], second["page"]], [1, 2])
        self.assertEqual(second["transform"], [1, 0, 0, 1, 0, 0])
        self.tool("rotate", "--angle", 1, "dot.png", "-o", "other.png")
        self.path("other.png").unlink()
        self.path("other.png.json").write_text("mine")
        self.tool("rotate", "--angle", 1, "dot.png", "-o", "other.png", "--sidecar", code=1)
        self.assertEqual(self.path("other.png.json").read_text(), "mine")

    def test_what_is_refused(self):
        self.write_alto("page.xml")
        self.write_alto("inches.xml", unit="inch1200")
        self.write_alto("other.xml", width=999)
        whole = self.path("page.xml").read_text()
        self.path("cut.xml").write_text(whole[:-30])
        self.path("twice.xml").write_text(whole.replace("</Layout>", f"<Page WIDTH='{WIDTH}' HEIGHT='{HEIGHT}'/></Layout>"))
        self.path("number.xml").write_text(whole.replace("HPOS='", "HPOS='x", 1))
        self.path("bomb.xml").write_text("<!DOCTYPE alto [<!ENTITY a 'aaaaaaaa'>" + "".join(
            f"<!ENTITY a{i} '{'&a%s;' % (i - 1 or '') * 10}'>" for i in range(1, 12)) + "]><alto>&a11;</alto>")
        self.path("fetch.xml").write_text("<!DOCTYPE alto [<!ENTITY a SYSTEM 'file:///etc/passwd'>]><alto>&a;</alto>")
        self.path("plain.csv").write_text("a,b,c\n1,2,3\n")
        self.path("open.csv").write_text('x0,y0,x1,y1,t\n1,2,3,4,"\n')
        self.path("bad.json").write_text("{}")
        for name, why, sidecar in [
            ("inches.xml", "inch1200", None), ("other.xml", "999 x 800", None), ("cut.xml", "not well-formed", None),
            ("twice.xml", "more pages", None), ("number.xml", "no number", None), ("bomb.xml", "", None),
            ("fetch.xml", "entities", None), ("plain.csv", "heading", None), ("open.csv", "quote", None),
            ("page.xml", "no sidecar", "bad.json"), ("page.xml", "cannot be opened", "none.json"),
            ("missing.xml", "", None),
        ]:
            with self.subTest(name=name, sidecar=sidecar):
                self.tool("map", "--sidecar", sidecar or "level.png.json", name, "-o", "out.xml", code=1)
                self.assertEqual(len(self.err.splitlines()), 1, self.err)
                self.assertIn(why, self.err)
                self.assertNotIn("root:", self.err)
                self.assertFalse(self.path("out.xml").exists())


if __name__ == "__main__":
    unittest.main()
