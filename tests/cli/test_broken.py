"""Damaged and hostile files, unwritable targets and interrupts: one clear line for each, the next page goes on, and
nothing half-written stays."""
import os
import signal
import struct
import subprocess
import time
import zlib

from support import DATA, TOOL, ToolTest, convert, unittest


def png_of_zeros(width, height):
    """A black PNG that is small as a file and huge as an image."""
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    packer = zlib.compressobj(9)
    data = b"".join(packer.compress(bytes(width + 1)) for _ in range(height)) + packer.flush()
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 0, 0, 0, 0)) +
            chunk(b"IDAT", data) + chunk(b"IEND", b""))


def lose_pixels(tiff, page):
    """Lets the strips of a page of a little-endian TIFF lie beyond the end of the file."""
    (directory,) = struct.unpack_from("<I", tiff, 4)
    for _ in range(page):
        (entries,) = struct.unpack_from("<H", tiff, directory)
        (directory,) = struct.unpack_from("<I", tiff, directory + 2 + 12 * entries)
    (entries,) = struct.unpack_from("<H", tiff, directory)
    for i in range(entries):
        tag, kind, count, place = struct.unpack_from("<HHII", tiff, directory + 2 + 12 * i)
        if tag == 273:  # the offsets of the strips
            struct.pack_into(f"<{count}I", tiff, place if count > 1 else directory + 10 + 12 * i,
                             *[0x7ffffff0] * count)


class Broken(ToolTest):
    def test_each_bad_input_gets_one_line_and_the_next_page_goes_on(self):
        good = self.small_page("zz good.jpg")
        jpeg = good.read_bytes()
        png = self.small_page("p.png").read_bytes()
        tiff = self.small_page("t.tif", "-compress", "lzw").read_bytes()
        self.small_page("w.webp")
        webp = self.path("w.webp").read_bytes()
        convert(good, good, "-resize", "10%", self.path("moving.gif"))
        self.path("folder").mkdir()
        cases = {
            "half.jpg": (jpeg[:len(jpeg) // 2], "damaged"), "half.png": (png[:len(png) // 2], "damaged"),
            "half.tif": (tiff[:len(tiff) // 2], "damaged"), "half.webp": (webp[:len(webp) // 2], "damaged"),
            "head.jpg": (jpeg[:300], "damaged"), "empty.jpg": (b"", "is empty"),
            "text.jpg": (b"this is no image\n" * 50, "not an image"),
            "zeros.tif": (b"II*\0" + bytes(200), "damaged"), "cut.pdf": (b"%PDF-1.4\n1 0 obj\n<<", "damaged"),
            "bomb.png": (png_of_zeros(30000, 30000), "--max-pixels"),
            "long.png": (png_of_zeros(70000, 40), "65535"),
            "moving.gif": (self.path("moving.gif").read_bytes(), "2 frames"),
            "lies.ppm": (b"P6 60000 60000 255\n" + bytes(1000), "--max-pixels"),
        }
        for name, (content, _) in cases.items():
            self.path(name).write_bytes(content)
        for name, expected in list((n, e) for n, (_, e) in cases.items()) + [("missing.jpg", "No such file"),
                                                                             ("folder", "no page images")]:
            with self.subTest(name):
                lines = self.tool("deskew", name, good, "-d", "out", "--overwrite", code=1)
                self.assertEqual(len(self.err.splitlines()), 1, self.err)
                self.assertIn(expected, self.err)
                self.assertIn(name, self.err)
                self.assertEqual(len(lines), 1, "the good page is straightened")
                self.assertFalse(self.path("out/" + name).exists())
        self.tool("measure", "half.jpg", "--tolerant")

    def test_a_page_that_fails_inside_a_file(self):
        page = self.small_page("1.tif", "-compress", "none")
        subprocess.run(["tiffcp", page, page, page, self.path("book.tif")], check=True)
        data = bytearray(self.path("book.tif").read_bytes())
        lose_pixels(data, 1)
        self.path("book.tif").write_bytes(data)
        lines = self.tool("measure", "book.tif", code=1)
        self.assertEqual([line.split(":")[0] for line in lines], ["book.tif, page 1", "book.tif, page 3"])
        self.tool("deskew", "book.tif", "-d", "out", code=1)
        self.assertIn("page 2 failed", self.err)
        self.assertEqual(list(self.path("out").glob("*")), [], "a book that lacks a page was written")

    def test_targets_that_cannot_be_written(self):
        page = self.small_page("page.jpg")
        self.path("file").write_text("in the way")
        for target in ("file/sub", "/proc/none"):
            with self.subTest(target):
                self.tool("deskew", page, "-d", target, code=1)
                self.assertIn("cannot be written", self.err)
        for kind in ("jpg", "png", "tif", "webp", "ppm"):
            with self.subTest("full disk", kind=kind):
                def limit():
                    import resource
                    resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))

                self.tool("deskew", page, "-d", "out", "--format", kind, code=1, preexec_fn=limit)
                self.assertEqual(len(self.err.splitlines()), 1, self.err)
                self.assertEqual([p for p in self.path("out").glob("*")], [])
        self.tool("report", page, "-o", "file/report.html", code=1)
        self.assertIn("cannot be written", self.err)

    def test_an_interrupt_leaves_nothing_half_written(self):
        convert(DATA / "page.jpg", "-resize", "300%", self.path("large.ppm"))
        for sent, when in [(signal.SIGINT, 0.0), (signal.SIGTERM, 0.1), (signal.SIGHUP, 0.2)]:
            with self.subTest(sent=sent, when=when):
                run = subprocess.Popen([TOOL, "deskew", "large.ppm", "-d", "out", "--format", "png", "--overwrite"],
                                       cwd=self.folder, stdout=subprocess.DEVNULL)
                deadline = time.time() + 30
                while time.time() < deadline and not list(self.folder.glob("out/.skew*")) and run.poll() is None:
                    time.sleep(0.005)
                time.sleep(when)
                run.send_signal(sent)
                self.assertEqual(run.wait(), 128 + sent)
                self.assertEqual(list(self.path("out").iterdir()), [])


if __name__ == "__main__":
    unittest.main()
