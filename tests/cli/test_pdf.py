"""PDF files are levelled by a matrix around each page's content: nothing stored changes, whatever hangs on the page
follows, and all of it can be undone."""
import hashlib
import json
import math

import pikepdf
from pikepdf import Array, Dictionary, Name
from support import ANGLE, ToolTest, convert, sh, unittest, write_pdf

LINE = b"BT /F 11 Tf 60 %d Td (The quick brown fox jumps over the lazy dog, and then once again over it) Tj ET\n"
LINES = b"".join(LINE % y for y in range(60, 780, 16))


def turned_lines(degrees, before=b"", after=b"", centre=(297.5, 421)):
    """Content of a page whose lines fall to the right by an angle."""
    c, s = math.cos(math.radians(degrees)), -math.sin(math.radians(degrees))
    x, y = centre
    matrix = b"%f %f %f %f %f %f cm\n" % (c, s, -s, c, x - c * x + s * y, y - s * x - c * y)
    return before + b"q " + matrix + LINES + b"Q\n" + after


def text_page(pdf, content, **keys):
    font = Dictionary(Type=Name.Font, Subtype=Name.Type1, BaseFont=Name.Courier)
    return Dictionary(Type=Name.Page, MediaBox=[0, 0, 595, 842], Resources=Dictionary(Font=Dictionary(F=font)),
                      Contents=pdf.make_stream(content), **keys)


def form(pdf, content, box, **resources):
    stream = pdf.make_stream(content)
    stream.Type, stream.Subtype, stream.BBox = Name.XObject, Name.Form, box
    stream.Resources = Dictionary(**resources)
    return stream


def annotation(pdf, kind, rect, **keys):
    return pdf.make_indirect(Dictionary(Type=Name.Annot, Subtype=Name("/" + kind), Rect=rect, F=4, **keys))


def annotated(pdf, page):
    """Marks in pure red where the lines of the page are, one of every kind of geometry."""
    box = form(pdf, b"1 0 0 rg 0 0 10 10 re f", [0, 0, 10, 10])  # shared and stretched
    corner = form(pdf, b"1 0 0 RG 4 w 60 600 m 160 700 l 160 640 l S", [50, 590, 170, 710])
    page.Annots = Array([
        annotation(pdf, "Stamp", [400, 90, 520, 130], AP=Dictionary(N=box)),
        annotation(pdf, "Stamp", [80, 90, 100, 190], AP=Dictionary(N=box)),
        annotation(pdf, "Ink", [50, 590, 170, 710], InkList=[Array([60, 600, 160, 700, 160, 640])],
                   AP=Dictionary(N=corner)),
        annotation(pdf, "Link", [100, 300, 300, 320], A=Dictionary(S=Name.URI, URI="http://example.org")),
        annotation(pdf, "Highlight", [100, 500, 300, 520], QuadPoints=[100, 520, 300, 520, 100, 500, 300, 500]),
        annotation(pdf, "Widget", [300, 700, 400, 720], FT=Name.Tx, T="field"),
    ])
    pdf.Root.AcroForm = Dictionary(Fields=[page.Annots[-1]], DA="/F 9 Tf")


def patterned(pdf, page):
    tile = pdf.make_stream(b"1 0 0 rg 0 0 30 30 re 30 30 30 30 re f")
    for key, value in dict(PatternType=1, PaintType=1, TilingType=1, BBox=[0, 0, 60, 60], XStep=60, YStep=60,
                           Resources=Dictionary()).items():
        tile[Name("/" + key)] = value
    page.Resources.Pattern = Dictionary(T=tile)
    page.Contents = pdf.make_stream(page.Contents.read_bytes() + b"q /Pattern cs /T scn 60 60 180 180 re f Q")


def tagged(pdf, page):
    figure = pdf.make_indirect(Dictionary(S=Name.Figure, Pg=page.obj, K=0,
                                          A=Dictionary(O=Name.Layout, BBox=[100, 100, 200, 200])))
    pdf.Root.StructTreeRoot = Dictionary(Type=Name.StructTreeRoot, K=[figure])
    pdf.Root.MarkInfo = Dictionary(Marked=True)


def split(pdf, page):
    whole = page.Contents.read_bytes()
    page.Contents = Array([pdf.make_stream(whole[:200]), pdf.make_stream(whole[200:])])


def shared(pdf, page):
    pdf.pages.append(pikepdf.Page(pdf.make_indirect(Dictionary(
        Type=Name.Page, MediaBox=[0, 0, 620, 800], Resources=page.Resources, Contents=page.Contents))))


def content(before=b"", after=b""):
    def edit(pdf, page):
        page.Contents = pdf.make_stream(turned_lines(3, before, after))
    return edit


def keys(**values):
    def edit(_pdf, page):
        for key, value in values.items():
            page.obj[Name("/" + key)] = value
    return edit


def signed(pdf, _page):
    pdf.Root.AcroForm = Dictionary(SigFlags=3, Fields=[Dictionary(FT=Name.Sig, T="s", V=Dictionary(Type=Name.Sig))])


def same_annotation_twice(pdf, page):
    annotated(pdf, page)
    shared(pdf, page)
    pdf.pages[1].obj.Annots = page.obj.Annots


class Pdf(ToolTest):
    def make(self, name, edit=None, **how):
        with pikepdf.new() as pdf:
            pdf.pages.append(pikepdf.Page(pdf.make_indirect(text_page(pdf, turned_lines(3)))))
            if edit:
                edit(pdf, pdf.pages[0])
            pdf.save(self.path(name), **how)
        return name

    def render(self, name, program="poppler", password=""):
        """The first page in colour, at 72 dots an inch."""
        if program == "poppler":
            word = ["-upw", password] if password else []
            done = sh("pdftoppm", "-r", 72, "-cropbox", "-singlefile", *word, self.path(name))
            self.assertEqual(done.returncode, 0, done.stderr)
            self.path("drawn.ppm").write_bytes(done.stdout)
        else:
            sh("mutool", "draw", "-q", "-r", 72, *(["-p", password] if password else []), "-o",
               self.path("drawn.ppm"), self.path(name), 1)
        return self.path("drawn.ppm").read_bytes()

    def red_outside(self, name, angle, program):
        """The share of red pixels that are not red where the original, drawn and then turned, has them."""
        def reds(picture, turn):
            out = sh("convert-im6.q16", "ppm:-", "-virtual-pixel", "white", "-distort", "SRT", turn, "-fuzz", "40%",
                     "-fill", "white", "+opaque", "red", "-fill", "black", "-opaque", "red", "-depth", 8, "gray:-",
                     input=picture).stdout
            return [v < 128 for v in out]
        before = reds(self.render(name, program), -angle)
        after = reds(self.render("level.pdf", program), 0)
        return sum(a != b for a, b in zip(before, after)) / max(1, sum(before))

    def described(self, value, seen=()):
        """An object with all it refers to, streams as digests, without the page tree above."""
        if isinstance(value, pikepdf.Object) and value.is_indirect:
            if value.objgen in seen:
                return "again"
            seen = seen + (value.objgen,)
        if isinstance(value, pikepdf.Stream):
            return [hashlib.sha1(value.read_raw_bytes()).hexdigest(), {
                k: self.described(v, seen) for k, v in value.items() if k != "/Length"}]
        if isinstance(value, Dictionary):
            return {k: self.described(v, seen) for k, v in value.items() if k not in ("/Parent", "/Length")}
        if isinstance(value, Array):
            return [self.described(v, seen) for v in value]
        return str(value)

    def test_everything_on_a_page_follows_and_comes_back(self):
        for what, edit, how, options in [
            ("a plain page", None, {}, []),
            ("turned for display", keys(Rotate=90), {}, []),
            ("a visible part off the middle", keys(CropBox=[50, 300, 545, 800]), {}, []),
            ("large units", keys(UserUnit=2.0), {}, []),
            ("states left open", content(after=b"q q"), {}, []),
            ("content in two parts", split, {}, []),
            ("content shared by pages", shared, {}, []),
            ("annotations", annotated, {}, []),
            ("a pattern", patterned, {}, []),
            ("a structure tree", tagged, {}, []),
            ("object streams", annotated, {"object_stream_mode": pikepdf.ObjectStreamMode.generate}, []),
            ("linearised", annotated, {"linearize": True}, []),
            ("encrypted", annotated, {"encryption": pikepdf.Encryption(user="u", owner="o", R=6)}, ["--password", "u"]),
        ]:
            with self.subTest(what):
                word = options[-1] if options else ""
                name = self.make("in.pdf", edit, **how)
                lines = [json.loads(line) for line in self.tool("deskew", name, "-o", "level.pdf", "--json",
                                                                "--overwrite", *options)]
                self.assertEqual({line["action"] for line in lines}, {"straightened"}, lines)
                self.assertAlmostEqual(lines[0]["angle"], 3, delta=0.03)
                checked = sh("qpdf", "--check", f"--password={word}", self.path("level.pdf"))
                self.assertEqual(checked.returncode, 0, checked.stdout + checked.stderr)
                self.assertEqual(b"File is linearized" in checked.stdout, what == "linearised")
                self.assertEqual(b"not encrypted" not in checked.stdout, what == "encrypted")
                for program in ("poppler", "mutool"):
                    self.render("level.pdf", program, word)
                    self.assertAlmostEqual(self.angle("drawn.ppm"), 0, delta=0.03, msg=program)
                if edit in (annotated, patterned) and not how:
                    for program in ("poppler", "mutool"):
                        self.assertLess(self.red_outside("in.pdf", lines[0]["angle"], program), 0.25, program)

                self.tool("undo", "level.pdf", "-o", "back.pdf", "--overwrite", *options)
                self.assertEqual(self.render("in.pdf", password=word), self.render("back.pdf", password=word))
                with pikepdf.open(self.path("in.pdf"), password=word) as a, \
                        pikepdf.open(self.path("level.pdf"), password=word) as b, \
                        pikepdf.open(self.path("back.pdf"), password=word) as c:
                    self.assertEqual(self.described(a.Root), self.described(c.Root))
                    self.assertNotEqual(self.described(a.Root), self.described(b.Root))
                    if edit is tagged:
                        box = [float(v) for v in b.Root.StructTreeRoot.K[0].A.BBox]
                        self.assertGreater(box[2] - box[0], 100)
                    if edit is annotated:
                        link, field = b.pages[0].Annots[3], b.pages[0].Annots[5]
                        self.assertAlmostEqual(float(link.QuadPoints[3]) - float(link.QuadPoints[1]), 200 * math.sin(
                            math.radians(3)), delta=0.2)
                        self.assertAlmostEqual(float(field.Rect[2]) - float(field.Rect[0]), 100, delta=0.01)

    def test_scans_keep_their_bytes_and_level_pages_are_copied(self):
        page, level = self.small_page("page.jpg"), self.level_page("level.jpg")
        write_pdf(self.path("book.pdf"), [page, level, page])
        self.tool("deskew", "book.pdf", "-d", "out", "--min-angle", 0.2)
        before, after = (self.path(p).read_bytes() for p in ("book.pdf", "out/book.pdf"))
        for picture in (page, level):
            self.assertIn(picture.read_bytes(), after)
        self.assertLess(len(after), len(before) + 3000)
        lines = [json.loads(line) for line in self.tool("measure", "out/book.pdf", "--json")]
        for line in lines:
            self.assertAlmostEqual(line["angle"], 0, delta=0.2)
            self.assertEqual(line["width"], 780, "drawn at the resolution of the scan")
        write_pdf(self.path("straight.pdf"), [level])
        self.tool("deskew", "straight.pdf", "-o", "copy.pdf", "--min-angle", 0.2)
        self.assertEqual(self.path("straight.pdf").read_bytes(), self.path("copy.pdf").read_bytes())
        self.tool("deskew", "book.pdf", "-o", "book.tif")
        self.assertEqual(len(self.tool("measure", "book.tif")), 3)

    def test_what_the_visible_box_hid_stays_hidden(self):
        self.make("in.pdf", lambda pdf, page: (keys(CropBox=[50, 300, 545, 800])(pdf, page), content(
            b"0 0 0 rg 0 0 595 842 re f 1 1 1 rg 50 300 495 500 re f 0 g ")(pdf, page)))
        self.tool("deskew", "in.pdf", "level.pdf")
        for program in ("poppler", "mutool"):
            self.render("level.pdf", program)
            corner = sh("convert-im6.q16", self.path("drawn.ppm"), "-crop", "12x3+0+0", "-depth", 8, "gray:-").stdout
            self.assertGreater(min(corner), 200, program)

    def test_a_second_run_replaces_the_matrix(self):
        self.make("in.pdf", annotated)
        self.tool("rotate", "--angle", 1, "in.pdf", "once.pdf")
        self.tool("deskew", "once.pdf", "twice.pdf")
        self.tool("undo", "twice.pdf", "back.pdf")
        with pikepdf.open(self.path("in.pdf")) as a, pikepdf.open(self.path("twice.pdf")) as b, \
                pikepdf.open(self.path("back.pdf")) as c:
            self.assertEqual(len(b.pages[0].Contents), 3)
            turn = [float(v) for v in b.pages[0].Contents[0].read_bytes().split()[1:5]]
            self.assertAlmostEqual(math.degrees(math.asin(turn[1])), 3, delta=0.03)
            self.assertEqual(self.described(a.Root), self.described(c.Root))

            # What another program adds in between stays; what it moves is turned back from there.
            with pikepdf.open(self.path("twice.pdf")) as edited:
                edited.pages[0].Contents.append(edited.make_stream(b"% a stamp"))
                edited.pages[0].Annots[0].Rect = [200, 200, 300, 250]
                edited.save(self.path("edited.pdf"))
            self.tool("undo", "edited.pdf", "back2.pdf")
            with pikepdf.open(self.path("back2.pdf")) as back:
                self.assertEqual([p.read_bytes() for p in back.pages[0].Contents],
                                 [a.pages[0].Contents.read_bytes(), b"% a stamp"])
                self.assertNotAlmostEqual(float(back.pages[0].Annots[0].Rect[0]), 400, delta=50)
            with pikepdf.open(self.path("twice.pdf")) as edited:
                edited.pages[0].Contents = edited.make_stream(b"q Q")
                edited.save(self.path("other.pdf"))
            self.tool("undo", "other.pdf", "none.pdf", code=1)
            self.assertIn("page 1 was changed by another program", self.err)
            self.assertFalse(self.path("none.pdf").exists())

    def test_what_is_refused(self):
        self.make("signed.pdf", signed)
        self.make("locked.pdf", None, encryption=pikepdf.Encryption(user="u", owner="o", R=6))
        whole = self.path(self.make("whole.pdf")).read_bytes()
        self.path("cut.pdf").write_bytes(whole[:len(whole) // 2])
        self.path("shifted.pdf").write_bytes(whole.replace(b"/MediaBox", b" /MediaBox", 1))
        self.path("empty.pdf").write_bytes(b"")
        for name, options, why in [
            ("signed.pdf", [], "signature"), ("locked.pdf", [], "password"),
            ("locked.pdf", ["--password", "x"], "password"), ("cut.pdf", [], "damaged"),
            ("shifted.pdf", [], "damaged"), ("empty.pdf", [], "is empty"), ("missing.pdf", [], "cannot be opened"),
            ("whole.pdf", ["--canvas", "expand"], "--canvas"),
        ]:
            with self.subTest(name=name, options=options):
                self.tool("deskew", name, "-o", "out.pdf", *options, code=1)
                self.assertIn(why, self.err)
                self.assertEqual(len(self.err.splitlines()), 1)
                self.assertFalse(self.path("out.pdf").exists())
        self.tool("deskew", "signed.pdf", "-o", "forced.pdf", "--force")
        self.tool("deskew", "shifted.pdf", "-o", "repaired.pdf", "--tolerant")
        convert("-size", "300x300", "xc:white", self.path("a.png"))
        self.tool("deskew", "a.png", "-o", "a.pdf", code=1)

        for edit, pages, why in [
            (content(b"0.9 0 0 0.9 9 9 cm "), "straightened", None),
            (content(after=b"0.9 0 0 0.9 9 9 cm Q"), "left alone", "restores more graphics states"),
            (content(after=b"Q Q"), "straightened", None),
            (keys(VP=[Dictionary(BBox=[0, 0, 9, 9])]), "left alone", "viewports"),
            (content(after=b"<< /A"), "left alone", "damaged"),
            (same_annotation_twice, "left alone", "another page lists"),
        ]:
            with self.subTest(why):
                last = [json.loads(line) for line in self.tool(
                    "rotate", "--angle", 3, self.make("in.pdf", edit), "-o", "out.pdf", "--json", "--overwrite")][-1]
                self.assertEqual(last["action"], pages, last)
                self.assertIn(why or "", last.get("why", ""))


if __name__ == "__main__":
    unittest.main()
