"""TIFF files of several pages, and PDF pages: every page keeps its own size, compression and descriptions."""
import json
import re

from support import ANGLE, DATA, ToolTest, convert, exif, sh, unittest, write_pdf


def pages_of(path):
    """Width, height, bits, compression and resolution of each page, as tiffinfo tells them."""
    text = sh("tiffinfo", path).stdout.decode()
    found = []
    for page in text.split("=== TIFF directory")[1:]:
        size = re.search(r"Image Width: (\d+) Image Length: (\d+)", page)
        found.append((int(size[1]), int(size[2]), int(re.search(r"Bits/Sample: (\d+)", page)[1]),
                      re.search(r"Compression Scheme: (.*)", page)[1].strip(),
                      re.search(r"Resolution: (.*)", page)[1].strip()))
    return found


class Tiff(ToolTest):
    def book(self, level=False):
        """Four pages of different size, depth, compression and resolution; the second is level if asked."""
        make = self.level_page if level else self.small_page
        self.small_page("1.tif", "-resize", "90%", "-density", 200, "-units", "PixelsPerInch", "-threshold", "50%",
                        "-type", "bilevel", "-compress", "group4")
        make("2.tif", "-density", 118, "-units", "PixelsPerCentimeter", "-compress", "jpeg", "-quality", 95)
        convert(DATA / "page.jpg", "-resize", "45%", "-compress", "lzw", self.path("3.tif"))
        self.small_page("4.tif", "-resize", "80%", "-compress", "zip")
        done = sh("tiffcp", *[self.path(f"{n}.tif") for n in (1, 2, 3, 4)], self.path("book.tif"))
        self.assertEqual(done.returncode, 0, done.stderr)
        return self.path("book.tif")

    def test_pages_keep_their_own_size_and_compression(self):
        for jobs in (1, 4):
            with self.subTest(jobs=jobs):
                book = self.book()
                self.tool("deskew", book, "-o", f"out{jobs}.tif", "-j", jobs)
                self.assertEqual(pages_of(self.path(f"out{jobs}.tif")), pages_of(book))
                lines = self.tool("measure", "--json", f"out{jobs}.tif")
                self.assertEqual([json.loads(line)["page"] for line in lines], [1, 2, 3, 4])
                for line in lines:
                    self.assertAlmostEqual(json.loads(line)["angle"], 0, delta=0.06, msg=line)
        self.assertEqual(self.path("out1.tif").read_bytes(), self.path("out4.tif").read_bytes())

    def test_a_level_page_passes_untouched_among_others(self):
        book = self.book(level=True)
        lines = self.tool("deskew", book, "-o", "out.tif", "--min-angle", 0.2)
        self.assertEqual(["straightened" in line for line in lines], [True, False, True, True], lines)
        self.assertEqual(pages_of(self.path("out.tif")), pages_of(book))
        for number, same in [(0, False), (1, True)]:
            with self.subTest(page=number):
                pixels = [sh("convert-im6.q16", f"{p}[{number}]", "gray:-").stdout for p in (book, self.path("out.tif"))]
                self.assertEqual(pixels[0] == pixels[1], same)

    def test_a_whole_level_file_is_copied_byte_for_byte(self):
        page = self.level_page("level.tif", "-compress", "zip")
        sh("tiffcp", page, page, self.path("two.tif"))
        self.tool("deskew", "two.tif", "-d", "out", "--min-angle", 0.2)
        self.assertEqual(self.path("out/two.tif").read_bytes(), self.path("two.tif").read_bytes())

    def test_a_book_that_stands_already_gets_one_line(self):
        book = self.book()
        self.path("out.tif").write_bytes(b"kept")
        self.assertEqual(self.tool("deskew", book, "-o", "out.tif", code=1), [])
        self.assertEqual(len(self.err.splitlines()), 1, self.err)
        self.tool("deskew", book, "-o", "out.tif", "--resume")
        self.assertEqual(self.path("out.tif").read_bytes(), b"kept")
        self.tool("deskew", book, "--in-place")
        self.assertAlmostEqual(self.angle(book), 0, delta=0.06)

    def test_tags_stay(self):
        tags = {"IFD0:GeoTiffAsciiParams": "WGS 84", "IFD0:WhitePoint": "0.3127 0.329", "GPS:GPSAltitude": "12 m",
                "ExifIFD:ISO": 200, "IPTC:Keywords": "ink", "XMP-dc:Title": "Crooked", "IFD0:PageName": "vii"}
        page = self.small_page("page.tif", "-compress", "lzw")
        done = sh("exiftool", "-overwrite_original", *[f"-{t}={v}" for t, v in tags.items()], page)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.tool("deskew", page, "-o", "out.tif")
        self.assertEqual(exif(self.path("out.tif"), *tags), exif(page, *tags))
        self.assertNotIn(None, exif(page, *tags))

    def test_colours_are_those_that_others_see(self):
        for space, compress in [("YCbCr", "lzw"), ("YCbCr", "jpeg"), ("Lab", "lzw"), ("CMYK", "zip"), ("sRGB", "zip")]:
            with self.subTest(space=space, compress=compress):
                convert("-size", "300x300", "xc:rgb(200,120,40)", "-colorspace", space, "-compress", compress,
                        self.path("page.tif"))
                self.tool("rotate", "--angle", 0.5, "page.tif", "-o", "out.png", "--overwrite")
                rgb = sh("convert-im6.q16", self.path("out.png"), "-colorspace", "sRGB", "-crop", "1x1+150+150", "-depth",
                         8, "rgb:-").stdout
                for found, put in zip(rgb, (200, 120, 40)):
                    self.assertAlmostEqual(found, put, delta=40 if space == "CMYK" else 8)

    def test_pages_of_a_pdf(self):
        for number in (1, 2):
            convert(DATA / "page.jpg", "-resize", "1000x", self.path(f"{number}.jpg"))
        write_pdf(self.path("two.pdf"), [self.path("1.jpg"), self.path("2.jpg")])
        lines = self.tool("measure", "--json", "two.pdf", "--dpi", 100)
        self.assertEqual(len(lines), 2)
        self.assertAlmostEqual(json.loads(lines[1])["angle"], ANGLE, delta=0.1)
        self.assertEqual(json.loads(lines[1])["dpi"], 100)
        self.tool("deskew", "two.pdf", "-d", "out", "--dpi", 100, "--format", "tif")
        self.assertEqual([p[4] for p in pages_of(self.path("out/two.tif"))], ["100, 100 pixels/inch"] * 2)
        self.tool("deskew", "two.pdf", "-d", "out", "--dpi", 100, "--format", "jpg")
        self.assertEqual([exif(self.path(f"out/two-00{n}.jpg"), "XResolution")[0] for n in (1, 2)], [100, 100])


if __name__ == "__main__":
    unittest.main()
