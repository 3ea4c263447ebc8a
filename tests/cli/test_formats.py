"""Every format in and out: the page is straight afterwards and nothing that describes it is lost."""
from support import ANGLE, DATA, ToolTest, convert, exif, icc_profile, sh, unittest


class Formats(ToolTest):
    def test_each_format_comes_out_straight_in_the_same_format(self):
        for name, arguments, kind in [
            ("colour.jpg", [], "JPEG"), ("page.png", [], "PNG"), ("page.webp", ["-quality", 90], "Extended WEBP"),
            ("page.ppm", [], "PPM"), ("deep.png", ["-depth", 16], "PNG"), ("palette.png", ["-colors", 16], "PNG"),
            ("clear.png", ["-alpha", "set", "-channel", "A", "-evaluate", "set", "60%", "+channel"], "PNG"),
            ("cmyk.jpg", ["-colorspace", "CMYK"], "JPEG"), ("page.tif", ["-compress", "zip"], "TIFF"),
            ("odd name [1] ü.jpg", [], "JPEG"), ("no extension", [], None),
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

    def test_descriptions_are_kept(self):
        tags = ["IFD0:Artist", "ExifIFD:ISO", "XMP-dc:Title"]
        for name in ["page.jpg", "page.png", "page.tif", "page.webp"]:
            with self.subTest(name):
                self.small_page(name, "-density", 240, "-units", "PixelsPerInch", "-colorspace", "sRGB", "-type",
                                "TrueColor", "-define", "png:color-type=2")
                self.path("profile.icc").write_bytes(icc_profile())
                done = sh("exiftool", "-overwrite_original", "-IFD0:Artist=A. Printer", "-IFD0:XResolution=240",
                          "-IFD0:YResolution=240", "-ExifIFD:ISO=200",
                          "-XMP-dc:Title=Crooked", f"-ICC_Profile<={self.path('profile.icc')}", self.path(name))
                self.assertEqual(done.returncode, 0, done.stderr)
                self.tool("deskew", name, "-d", "out")
                out = self.path("out") / name
                kept = exif(out, *tags)
                self.assertEqual(kept[0], "A. Printer")
                self.assertEqual(kept[1], 200)
                self.assertEqual(kept[2], "Crooked")
                self.assertEqual(sh("exiftool", "-b", "-ICC_Profile", out).stdout, icc_profile())
                if name != "page.webp":
                    density = sh("identify-im6.q16", "-units", "PixelsPerInch", "-format", "%x %y", out).stdout
                    self.assertEqual([round(float(v)) for v in density.split()], [240, 240])

    def test_resolution_unit_stays(self):
        for unit, expected in [("PixelsPerInch", "inches"), ("PixelsPerCentimeter", "cm")]:
            for name in ["page.jpg", "page.tif"]:
                with self.subTest(name=name, unit=unit):
                    self.small_page(name, "-density", 118, "-units", unit)
                    self.tool("deskew", name, "-d", "out", "--overwrite")
                    self.assertEqual(exif(self.path("out") / name, "ResolutionUnit", "XResolution"), [expected, 118])

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
        self.assertIn("standard input: 4.5", line[0])
        self.tool("deskew", "-", "-o", "-", "--format", "jpg", input=source.read_bytes())
        self.assertIn("straightened", self.err)
        self.path("piped.jpg").write_bytes(self.out)
        self.assertAlmostEqual(self.angle("piped.jpg"), 0, delta=0.06)


if __name__ == "__main__":
    unittest.main()
