"""What is done with a page, where the result goes, and what is said about it."""
import json
import os

from support import ToolTest, convert, sh, unittest


class Decisions(ToolTest):
    def test_when_a_page_is_straightened(self):
        self.small_page("page.jpg")
        self.small_page("rising.jpg", turn=-9)
        self.level_page("level.jpg")
        convert("-size", "900x1200", "xc:white", self.path("blank.jpg"))
        convert("-size", "900x1200", "-seed", 4, "plasma:", "-blur", "0x3", self.path("picture.jpg"))
        for page, options, action, why in [
            ("page.jpg", [], "straightened", None),
            ("rising.jpg", [], "straightened", None),
            ("page.jpg", ["--max-angle", 4], "left alone", "beyond --max-angle"),
            ("page.jpg", ["--min-angle", 5], "left alone", "below --min-angle"),
            ("page.jpg", ["--fast"], "straightened", None),
            ("page.jpg", ["--align", "paper"], "left alone", "the paper's edge is not seen"),
            ("level.jpg", ["--min-angle", 0.2], "left alone", "straight already"),
            ("blank.jpg", ["--force"], "left alone", "blank"),
            ("picture.jpg", [], "left alone", None),
        ]:
            with self.subTest(page=page, options=options):
                (line,) = self.tool("deskew", "--json", page, "-o", "out.jpg", "--overwrite", *options)
                found = json.loads(line)
                self.assertEqual(found["action"], action, line)
                if why:
                    self.assertEqual(found["why"], why)
                same = self.path(page).read_bytes() == self.path("out.jpg").read_bytes()
                self.assertEqual(same, action == "left alone", "an unchanged page is copied byte for byte")

    def test_what_is_said(self):
        page = self.small_page("page.png", "-density", 150, "-units", "PixelsPerInch")
        (line,) = self.tool("measure", "page.png")
        self.assertRegex(line, r"^page\.png: 4\.4\d degrees, trusted$")
        (line,) = self.tool("measure", "--json", "page.png")
        found = json.loads(line)
        self.assertEqual([found[k] for k in ("file", "page", "pages", "width", "height", "verdict", "action")],
                         ["page.png", 1, 1, 780, 1000, "trusted", "measured"])
        self.assertAlmostEqual(found["dpi"], 150, delta=0.1)
        self.assertGreater(found["windows"], 3)
        self.assertTrue(found["range"][0] <= found["angle"] <= found["range"][1], line)
        self.assertTrue(0.5 < found["confidence"] <= 1, line)
        self.assertEqual(found["basis"], "rows")
        self.assertNotIn("reason", found)
        self.assertRegex(self.tool("measure", "--fast", page)[0], r"4\.\d0 degrees$")
        odd = os.fsencode(self.folder) + b"/caf\xe9.png"  # not UTF-8
        os.rename(os.fsencode(page), odd)
        self.assertIn("caf\ufffd.png", json.loads(self.tool("measure", "--json", odd.decode("utf-8", "surrogateescape"))[0])["file"])
        self.assertEqual(self.tool("measure", "-q", self.folder), [])

    def test_rotation_background_and_canvas(self):
        convert("-size", "400x300", "xc:rgb(200,30,40)", "-fill", "black", "-draw", "rectangle 50,50 350,250",
                self.path("red.png"))

        def corner(name):
            return tuple(sh("convert-im6.q16", self.path(name), "-depth", 8, "-crop", "1x1+0+0", "rgb:-").stdout)

        for options, colour in [([], (200, 30, 40)), (["--background", "white"], (255, 255, 255)),
                                (["--background", "black"], (0, 0, 0)), (["--background", "#0a141e"], (10, 20, 30))]:
            with self.subTest(options):
                self.tool("rotate", "--angle", 10, "red.png", "-o", "out.png", "--overwrite", *options)
                self.assertEqual(corner("out.png"), colour)
        for angle, canvas, size in [(10, "keep", b"400 300"), (90, "expand", b"300 400"), (30, "expand", b"497 460"),
                                    (0, "keep", b"400 300")]:
            with self.subTest(angle=angle, canvas=canvas):
                self.tool("rotate", "--angle", angle, "--canvas", canvas, "red.png", "-o", "out.png", "--overwrite")
                self.assertEqual(sh("identify-im6.q16", "-format", "%w %h", self.path("out.png")).stdout, size)
        convert("-size", "300x300", "xc:none", "-fill", "black", "-draw", "rectangle 100,100 200,200", self.path("clear.png"))
        self.tool("rotate", "--angle", 1, "clear.png", "-o", "out.jpg")
        self.assertGreater(min(corner("out.jpg")), 240, "what is transparent is paper")
        convert(self.path("clear.png"), "-background", "white", "-flatten", "-threshold", "50%", "-compress", "group4",
                self.path("bits.tif"))
        self.tool("rotate", "--angle", 1, "bits.tif", "-o", "bits.png")
        self.assertEqual(corner("bits.png"), (255, 255, 255))
        page = self.small_page("page.png")
        sizes = []
        for quality in (30, 95):
            self.tool("deskew", page, "-o", "q.jpg", "--overwrite", "--quality", quality)
            sizes.append(self.path("q.jpg").stat().st_size)
        self.assertGreater(sizes[1], 2 * sizes[0])
        # The angle that measure reports is the one that rotate undoes.
        page = self.small_page("page.png")
        self.tool("rotate", "--angle", self.angle(page), page, "-o", "straight.png")
        self.assertAlmostEqual(self.angle("straight.png"), 0, delta=0.06)

    def test_wrong_usage_ends_with_2(self):
        self.small_page("page.png")
        for arguments in [
            [], ["mesure", "page.png"], ["deskew", "page.png"], ["deskew", "page.png", "-o", "a.png", "-d", "b"],
            ["deskew", "page.png", "page.png", "page.png"], ["deskew", "page.png", "a.png", "--canvas", "grow"],
            ["deskew", "page.png", "a.png", "--background", "#12345"], ["rotate", "page.png", "a.png"],
            ["rotate", "page.png", "a.png", "--angle", "181"], ["measure", "page.png", "-j", "0"],
            ["deskew", "page.png", "--in-place", "--resume"], ["report", "page.png"],
            ["deskew", "page.png", "a.png", "--fast", "--canvas", "expand"], ["deskew", "-", "--in-place"],
            ["deskew", ".", "out"], ["deskew", "page.png", "."], ["deskew", ".", "-o", "a.tif"],
            ["deskew", "page.png", "page.png"], ["deskew", ".", "-d", "."],
            ["deskew", "page.png", "-o", "a.jpg", "--format", "png"],
        ]:
            with self.subTest(arguments):
                self.tool(*arguments, code=2)
                self.assertTrue(self.err.strip() or self.out, "nothing was said")
        for arguments in (["--help"], ["deskew", "--help"], ["--version"]):
            self.tool(*arguments)


if __name__ == "__main__":
    unittest.main()
