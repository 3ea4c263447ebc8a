"""What the tests of the command-line tool share: making inputs, running the tool, and asking other programs
(exiftool, tiffinfo, ImageMagick) about what it wrote."""
import json
import os
import pathlib
import shutil
import struct
import subprocess
import tempfile
import unittest
import zlib

TOOL = os.environ.get("SKEWCORRECT", "skewcorrect")
DATA = pathlib.Path(__file__).resolve().parent.parent / "data"
ANGLE = 4.43  # of the sample page


def sh(*command, **options):
    return subprocess.run([str(c) for c in command], capture_output=True, **options)


def convert(*arguments):
    done = sh("convert-im6.q16", *arguments)
    assert done.returncode == 0, done.stderr.decode()


def exif(path, *tags):
    """The values of tags as exiftool gives them; None where a tag is missing."""
    out = sh("exiftool", "-j", "-G1", "-a", *["-" + t for t in tags], path).stdout
    found = {k.split(":")[-1]: v for k, v in json.loads(out)[0].items() if k != "SourceFile"}
    return [found.get(t.split(":")[-1].rstrip("#")) for t in tags]


def png_chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def icc_profile():
    """A small but complete profile of an RGB display, unlike the usual ones: gamma 1.8."""
    def xyz(*values):
        return b"XYZ " + bytes(4) + struct.pack(">3i", *(round(v * 65536) for v in values))

    curve = b"curv" + bytes(4) + struct.pack(">IH", 1, int(1.8 * 256)) + bytes(2)
    name = b"desc" + bytes(4) + struct.pack(">I", 5) + b"test\0" + bytes(78 + 1)
    tags = [(b"desc", name), (b"cprt", b"text" + bytes(4) + b"none\0" + bytes(3)), (b"wtpt", xyz(0.9642, 1, 0.8249)),
            (b"rXYZ", xyz(0.436, 0.2225, 0.0139)), (b"gXYZ", xyz(0.3851, 0.7169, 0.0971)),
            (b"bXYZ", xyz(0.1431, 0.0606, 0.7139)), (b"rTRC", curve), (b"gTRC", curve), (b"bTRC", curve)]
    table, data, start = struct.pack(">I", len(tags)), b"", 128 + 4 + 12 * len(tags)
    for signature, content in tags:
        content += bytes(-len(content) % 4)
        table += struct.pack(">4sII", signature, start + len(data), len(content))
        data += content
    header = bytearray(128)
    struct.pack_into(">I4sI4s4s4s6H", header, 0, start + len(data), b"test", 0x02400000, b"mntr", b"RGB ", b"XYZ ",
                     2026, 1, 1, 0, 0, 0)
    header[36:40] = b"acsp"
    struct.pack_into(">3I", header, 68, 0xF6D6, 0x10000, 0xD32D)
    return bytes(header) + table + data


def write_pdf(path, pictures):
    """A PDF of pages 21 cm wide, each filled by a JPEG."""
    parts, kids = [], []
    for picture in pictures:
        data = picture.read_bytes()
        width, height = exif(picture, "ImageWidth", "ImageHeight")
        n = 3 + len(parts)
        parts.append(b"<</Type/XObject/Subtype/Image/Width %d/Height %d/ColorSpace/DeviceRGB/BitsPerComponent 8"
                     b"/Filter/DCTDecode/Length %d>>stream\n%s\nendstream" % (width, height, len(data), data))
        drawing = b"595 0 0 763 0 0 cm /I Do"
        parts.append(b"<</Length %d>>stream\n%s\nendstream" % (len(drawing), drawing))
        parts.append(b"<</Type/Page/Parent 2 0 R/MediaBox[0 0 595 763]/Resources<</XObject<</I %d 0 R>>>>"
                     b"/Contents %d 0 R>>" % (n, n + 1))
        kids.append(n + 2)
    objects = [b"<</Type/Catalog/Pages 2 0 R>>",
               b"<</Type/Pages/Count %d/Kids[%s]>>" % (len(kids), b" ".join(b"%d 0 R" % k for k in kids))] + parts
    out, places = b"%PDF-1.4\n", []
    for number, body in enumerate(objects, 1):
        places.append(len(out))
        out += b"%d 0 obj\n%s\nendobj\n" % (number, body)
    table = b"".join(b"%010d 00000 n \n" % p for p in places)
    out += b"xref\n0 %d\n0000000000 65535 f \n%strailer\n<</Size %d/Root 1 0 R>>\nstartxref\n%d\n%%%%EOF\n" % (
        len(objects) + 1, table, len(objects) + 1, len(out))
    path.write_bytes(out)


class ToolTest(unittest.TestCase):
    """Each test works in a folder of its own."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="skewcorrect-test-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name):
        return self.folder / name

    def tool(self, *arguments, code=0, **options):
        """Runs the tool in the folder and returns its lines; the exit code must be as said."""
        done = sh(TOOL, *arguments, cwd=self.folder, **options)
        self.out, self.err = done.stdout, done.stderr.decode(errors="replace")
        self.assertEqual(done.returncode, code, f"{arguments}: {self.out[:2000]!r} {self.err}")
        self.assertNotIn("WARNING", self.err)
        self.assertEqual([], [p.name for p in self.folder.rglob(".skewcorrect-*")], "unfinished files stay behind")
        return [] if b"\0" in self.out else self.out.decode(errors="replace").splitlines()

    def angle(self, path, *arguments):
        return json.loads(self.tool("measure", "--json", *arguments, path)[0])["angle"]

    def small_page(self, name, *arguments, turn=0):
        """The sample page in gray, reduced, written as name with further ImageMagick arguments."""
        turned = ["-background", "rgb(80,80,80)", "-rotate", turn] if turn else []
        self.path(name).parent.mkdir(parents=True, exist_ok=True)
        convert(DATA / "page.jpg", "-colorspace", "gray", "-resize", "50%", *turned, *arguments, self.path(name))
        return self.path(name)

    def level_page(self, name, *arguments):
        """The sample page after straightening: nothing is left to do for the tool."""
        convert(DATA / "page.jpg", "-colorspace", "gray", "-background", "rgb(80,80,80)", "-distort", "SRT", -ANGLE,
                "-resize", "50%", *arguments, self.path(name))
        return self.path(name)
