"""Damaged and hostile files, unwritable targets and interrupts: one clear line for each, the next page goes on, and
nothing half-written stays."""
import glob
import os
import signal
import struct
import subprocess
import time
import zlib

from support import DATA, TOOL, ToolTest, convert, png_chunk, unittest


def png_of_zeros(width, height):
    """A black PNG that is small as a file and huge as an image."""
    packer = zlib.compressobj(9)
    data = b"".join(packer.compress(bytes(width + 1)) for _ in range(height)) + packer.flush()
    return (b"\x89PNG\r\n\x1a\n" + png_chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 0, 0, 0, 0)) +
            png_chunk(b"IDAT", data) + png_chunk(b"IEND", b""))


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


def descendants(parent):
    """Processes below a process, parents first."""
    found = []
    for stat in glob.glob("/proc/[0-9]*/stat"):
        try:
            with open(stat) as file:
                number, rest = int(stat.split("/")[2]), file.read().rsplit(")", 1)[1].split()
        except OSError:
            continue
        if int(rest[1]) == parent:
            found += [number] + descendants(number)
    return found


class Broken(ToolTest):
    def test_each_bad_input_gets_one_line_and_the_next_page_goes_on(self):
        good = self.small_page("zz good.jpg")
        jpeg = good.read_bytes()
        png = self.small_page("p.png").read_bytes()
        tiff = self.small_page("t.tif", "-compress", "lzw").read_bytes()
        self.small_page("w.webp")
        webp = self.path("w.webp").read_bytes()
        convert(good, good, "-resize", "10%", self.path("moving.gif"))
        ppm = self.small_page("p.ppm").read_bytes()
        animated = png[:33] + png_chunk(b"acTL", struct.pack(">II", 2, 0)) + png[33:]
        self.small_page("1.tif", "-resize", "30%", "-compress", "lzw")
        subprocess.run(["tiffcp", *[self.path("1.tif")] * 5, self.path("book.tif")], check=True)
        book = self.path("book.tif").read_bytes()
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
            "cut.ppm": (ppm[:len(ppm) // 2], "pixels are missing"), "bits.pbm": (b"P1 64 64 " + b"01" * 100, "missing"),
            "many.ppm": (ppm + ppm, "several pictures"), "book.tif": (book[:len(book) - 400], "cut off"),
            "moving.png": (animated, "2 frames"),
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
        for line in self.tool("deskew", "--json", "book.tif", "-d", "out", code=1):
            self.assertIn('"action":"failed"', line, "a page of a file that was not written")
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

    def test_a_decoder_that_dies_or_never_ends_costs_one_page(self):
        page = self.small_page("in/page0.png")
        for number in range(1, 9):
            os.link(page, self.path(f"in/page{number}.png"))
        run = subprocess.Popen([TOOL, "deskew", "in", "-d", "out", "-j", "1"], cwd=self.folder, text=True,
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        lines = [run.stdout.readline()]
        for child in descendants(run.pid)[1:]:  # the first only starts the others
            os.kill(child, signal.SIGKILL)
        out, err = run.communicate(timeout=60)
        lines += out.splitlines()
        self.assertEqual((run.returncode, len(lines), len(err.splitlines())), (1, 8, 1), err)
        self.assertIn("broke its decoder", err)
        self.path("slow.png").write_bytes(png_of_zeros(60000, 30000))
        lines = self.tool("measure", "slow.png", "in/page1.png", "--max-pixels", 0, "--page-timeout", 1, code=1)
        self.assertIn("--page-timeout", self.err)
        self.assertEqual(len(lines), 1)

    def test_fewer_workers_where_no_more_can_be_started(self):
        page = self.small_page("page.png")

        def limit():
            import resource
            resource.setrlimit(resource.RLIMIT_AS, (700 << 20, 700 << 20))

        self.tool("measure", *[page] * 20, "-j", 256, preexec_fn=limit)

    def test_lines_that_nobody_gets(self):
        page = self.small_page("page.png", "-resize", "30%")
        with open("/dev/full", "w") as full:
            self.assertEqual(subprocess.run([TOOL, "measure", page], stdout=full, stderr=subprocess.DEVNULL).returncode, 1)
        run = subprocess.Popen([TOOL, "measure", *[page] * 200, "-j", "1"],
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        run.stdout.readline()
        run.stdout.close()
        self.assertIn(b"Broken pipe", run.stderr.read())
        self.assertEqual(run.wait(), 1)
        odd = self.path("a\x1b]0;b\x9b.png")
        os.rename(page, odd)
        master, slave = os.openpty()
        subprocess.run([TOOL, "measure", odd], stdout=slave, stderr=slave, check=True)
        said = os.read(master, 4096)
        self.assertIn(b"a\\x1b]0;b\\x9b.png: 4.", said)
        self.assertNotIn(b"\x9b", said)

    def test_an_ignored_hangup_stays_ignored(self):
        page = self.small_page("page.png")
        run = subprocess.Popen([TOOL, "measure", *[page] * 30, "-j", "1"], stdout=subprocess.PIPE,
                               preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        run.stdout.readline()
        run.send_signal(signal.SIGHUP)
        self.assertEqual((len(run.stdout.readlines()), run.wait()), (29, 0))

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
