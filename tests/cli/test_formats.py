"""Every format in and out: the page is straight afterwards and nothing that describes it is lost."""
import struct

from support import ANGLE, DATA, ToolTest, convert, exif, icc_profile, png_chunk, sh, unittest

ITEMS = {"IFD0:Artist": "A. Printer", "ExifIFD:ISO": 200, "GPS:GPSAltitude": "12 m", "XMP-dc:Title": "Crooked"}


class Formats(ToolTest):
    def test_each_format_comes_out_straight_in_the_same_format(self):
        for name, arguments, kind in [
            ("colour.jpg", [], "JPEG"), ("page.png", [], "PNG"), ("page.webp", ["-quality", 90], "Extended WEBP"),
            ("page.ppm", [], "PPM"), ("deep.png", ["-depth", 16], "PNG"), ("palette.png", ["-colors", 16], "PNG"),
            ("clear.png", ["-alpha", "set", "-channel", "A", "-evaluate", "set", "60%", "+channel"], "PNG"),
            ("cmyk.jpg", ["-colorspace", "CMYK"], "JPEG"), ("page.tif", ["-compress", "zip"], "TIFF"),
            ("odd name [1] ü.jpg", [], "JPEG"), ("no extension", [], None), ("page.bmp", [], "PNG"),
        ]:
            with self.subTest(name):
                source = self.path(name if kind else "none.jpg")
                convert(DATA / "page.jpg", "-resize", "60%", *arguments, source)
                if not kind:
                    source.rename(self.path(name))
                    source, kind = self.path(name), "JPEG"
                self.assertAlmostEqual(self.angle(source), ANGLE, delta=0.1)
                folder = self.path("out of " + source.name)
                self.tool("deskew", source, "-d", folder)
                (out,) = folder.iterdir()
                self.assertEqual(exif(out, "FileType"), [kind])
                self.assertAlmostEqual(self.angle(out), 0, delta=0.06)

    def test_other_formats_on_request(self):
        source = self.small_page("page.jpg")
        for extension, kind in [("png", "PNG"), ("tif", "TIFF"), ("webp", "Extended WEBP"), ("ppm", "PGM"), ("jpg", "JPEG")]:
            with self.subTest(extension):
                self.tool("deskew", source, "-d", "out", "--format", extension)
                self.assertEqual(exif(self.path("out/page." + extension), "FileType"), [kind])

    def test_gray_stays_gray_and_one_bit_stays_one_bit(self):
        for name, arguments, bits in [
            ("gray.jpg", [], 8), ("gray.png", [], 8), ("gray.tif", ["-compress", "lzw"], 8),
            ("bits.tif", ["-threshold", "50%", "-type", "bilevel", "-compress", "group4"], 1),
            ("palette.png", ["-threshold", "50%", "-type", "palette", "-define", "png:color-type=3"], 1),
            ("bits.png", ["-threshold", "50%", "-type", "bilevel", "-define", "png:bit-depth=1"], 1),
        ]:
            with self.subTest(name):
                self.small_page(name, *arguments)
                self.tool("deskew", name, "-d", "out")
                out = self.path("out") / name
                self.assertIn(sh("identify-im6.q16", "-format", "%[channels]", out).stdout, (b"gray", b"gray "))
                if name.endswith("jpg"):
                    continue
                self.assertEqual(exif(out, "BitDepth" if name.endswith("png") else "IFD0:BitsPerSample"), [bits])

    def described_page(self, name, density=(240, 240), unit="PixelsPerInch"):
        """A page with everything that exiftool can write into its container."""
        self.small_page(name, "-density", "%dx%d" % density, "-units", unit, "-colorspace", "sRGB", "-type", "TrueColor",
                        "-define", "png:color-type=2", "+set", "comment")
        self.path("profile.icc").write_bytes(icc_profile())
        iptc = [] if name.endswith((".png", ".webp")) else ["-IPTC:Keywords=ink"]
        comment = ["-Comment=as found"] if name.endswith(".jpg") else []
        done = sh("exiftool", "-overwrite_original", *[f"-{tag}={value}" for tag, value in ITEMS.items()], *iptc,
                  *comment, f"-ICC_Profile<={self.path('profile.icc')}", self.path(name))
        self.assertEqual(done.returncode, 0, done.stderr)
        return self.path(name)

    def test_what_each_container_keeps(self):
        for source in ("jpg", "png", "tif", "webp"):
            page = self.described_page("page." + source)
            for target in ("jpg", "png", "tif", "webp"):
                with self.subTest(source=source, target=target):
                    self.tool("deskew", page, "-o", "out." + target, "--overwrite")
                    out = self.path("out." + target)
                    self.assertEqual(exif(out, *ITEMS), list(ITEMS.values()))
                    self.assertEqual(sh("exiftool", "-b", "-ICC_Profile", out).stdout, icc_profile())
                    if source != "webp":  # what exiftool writes into it says 72
                        self.assertEqual(self.density(out), [240, 240])
                    if source == target == "jpg":
                        self.assertEqual(exif(out, "File:Comment"), ["as found"])
                    if {source, target} <= {"jpg", "tif"}:
                        self.assertEqual(exif(out, "IPTC:Keywords"), ["ink"], "IPTC")
        for name in ("out.jpg", "out.png", "out.tif", "out.webp"):
            self.assertEqual(sh("exiftool", "-validate", "-warning", "-a", self.path(name)).stdout.count(b"Error"), 0)

    def density(self, path):
        """Dots per inch as the container itself tells them, where it does; else as EXIF."""
        if path.suffix == ".webp":
            return exif(path, "IFD0:XResolution", "IFD0:YResolution")
        text = sh("identify-im6.q16", "-units", "PixelsPerInch", "-format", "%x %y", path).stdout.split()
        return [round(float(v)) for v in text]

    def test_resolution_is_neither_invented_nor_lost(self):
        names = {"jpg": "JFIF:XResolution", "png": "PNG-pHYs:PixelsPerUnitX", "tif": "IFD0:XResolution"}
        for kind in names:
            self.small_page("bare." + kind)
            sh("exiftool", "-overwrite_original", "-all=", self.path("bare." + kind))
            if kind == "tif":
                sh("tiffset", "-u", "282", self.path("bare.tif"))
                sh("tiffset", "-u", "283", self.path("bare.tif"))
            for target in ("jpg", "png", "tif", "webp"):
                with self.subTest("none", source=kind, target=target):
                    self.tool("deskew", "bare." + kind, "-o", "out." + target, "--overwrite")
                    told = exif(self.path("out." + target), "IFD0:XResolution", "PNG-pHYs:PixelsPerUnitX")
                    self.assertEqual(told, [None, None])
                    if target == "jpg":
                        self.assertEqual(exif(self.path("out.jpg"), "JFIF:ResolutionUnit"), ["None"])
        for unit, said in [("PixelsPerInch", "inches"), ("PixelsPerCentimeter", "cm")]:
            for name in ("page.jpg", "page.tif"):
                with self.subTest(name=name, unit=unit):
                    self.small_page(name, "-density", 118, "-units", unit)
                    self.tool("deskew", name, "-o", "out" + name[4:], "--overwrite")
                    self.assertEqual(exif(self.path("out" + name[4:]), "ResolutionUnit", "XResolution"), [said, 118])
        self.small_page("page.jpg", "-density", 300, "-units", "PixelsPerInch")
        sh("exiftool", "-overwrite_original", "-JFIF:all=", "-IFD0:XResolution=300", "-IFD0:YResolution=300",
           self.path("page.jpg"))
        self.tool("deskew", "page.jpg", "-o", "out.jpg", "--overwrite")
        self.assertEqual(exif(self.path("out.jpg"), "JFIF:XResolution"), [300], "what OCR programs read")

    def test_pixels_that_are_not_square(self):
        """A page at a known angle, squeezed as a fax squeezes it."""
        convert(DATA / "page.jpg", "-colorspace", "gray", "-resize", "1560x960!", "-density", "204x98", "-units",
                "PixelsPerInch", self.path("fax.tif"))
        convert(DATA / "page.jpg", "-colorspace", "gray", "-resize", "1560x1998!", self.path("square.png"))
        self.assertAlmostEqual(self.angle("fax.tif"), self.angle("square.png"), delta=0.05)
        self.tool("deskew", "fax.tif", "-o", "out.tif")
        self.assertAlmostEqual(self.angle("out.tif"), 0, delta=0.06)
        self.assertEqual(sh("identify-im6.q16", "-format", "%w %h %x %y", self.path("out.tif")).stdout.split(),
                         [b"1560", b"960", b"204", b"98"])
        for kind in ("tif", "png", "jpg"):
            with self.subTest(kind):
                self.tool("rotate", "--angle", 90, "--canvas", "expand", "fax.tif", "-o", "quarter." + kind)
                self.assertEqual(self.density(self.path("quarter." + kind)), [98, 204])

    def test_png_chunks_of_its_own(self):
        page = self.small_page("page.png")
        data = page.read_bytes()
        extra = png_chunk(b"gAMA", struct.pack(">I", 50000)) + png_chunk(b"cHRM", struct.pack(">8I", *range(30000, 30008)))
        extra += png_chunk(b"tEXt", b"Author\0Jos\xe9") + png_chunk(b"iTXt", b"Title\0\0\0\0\0" + "\u65e5".encode())
        page.write_bytes(data[:33] + extra + data[33:])
        self.tool("deskew", page, "-o", "out.png")
        kept = self.path("out.png").read_bytes()
        for chunk in (extra[:16], extra[16:60], png_chunk(b"tEXt", b"Author\0Jos\xe9")):
            self.assertIn(chunk, kept)
        self.assertEqual(exif(self.path("out.png"), "PNG:Title")[0], "\u65e5")

    def test_photos_are_written_upright_without_the_old_preview(self):
        for orientation, turn in [(1, 0), (3, 180), (6, -90), (8, 90)]:
            for name in ["photo.jpg", "photo.tif"]:
                with self.subTest(name=name, orientation=orientation):
                    convert(DATA / "page.jpg", "-resize", "50%", "-rotate", turn, self.path(name))
                    convert(DATA / "page.jpg", "-resize", "160x", self.path("preview.jpg"))
                    preview = [f"-ThumbnailImage<={self.path('preview.jpg')}"] if name.endswith("jpg") else []
                    sh("exiftool", "-overwrite_original", "-n", f"-IFD0:Orientation={orientation}", *preview,
                       self.path(name))
                    self.assertAlmostEqual(self.angle(name), ANGLE, delta=0.1)
                    self.tool("deskew", name, "-d", "out", "--overwrite")
                    out = self.path("out") / name
                    left, small = exif(out, "IFD0:Orientation", "ThumbnailImage")
                    self.assertIn(left, (None, "Horizontal (normal)"))
                    self.assertIsNone(small)
                    size = sh("identify-im6.q16", "-format", "%w %h", out).stdout.decode().split()
                    self.assertLess(int(size[0]), int(size[1]))
                    self.assertAlmostEqual(self.angle(out), 0, delta=0.06)

    def test_standard_input_and_output(self):
        source = self.small_page("page.png")
        line = self.tool("measure", "-", input=source.read_bytes())
        self.assertIn("standard input: 4.4", line[0])
        self.tool("deskew", "-", "-o", "-", "--format", "jpg", input=source.read_bytes())
        self.assertIn("straightened", self.err)
        self.path("piped.jpg").write_bytes(self.out)
        self.assertAlmostEqual(self.angle("piped.jpg"), 0, delta=0.06)


if __name__ == "__main__":
    unittest.main()
