"""Where results go: sources stay, nothing is lost, and what is replaced keeps its place."""
import os
import stat
import subprocess
import threading

from support import TOOL, ToolTest, unittest, write_pdf


class Targets(ToolTest):
    def snapshot(self):
        return {p: p.read_bytes() for p in self.folder.rglob("*") if p.is_file()}

    def made(self, folder):
        return sorted(str(p.relative_to(self.path(folder))) for p in self.path(folder).rglob("*.*"))

    def test_no_result_takes_the_place_of_a_source_or_of_another_result(self):
        page = self.small_page("p/a.jpg")
        for name in ("p/b.jpg", "q/a.jpg", "p/book-001.jpg"):
            self.path(name).parent.mkdir(exist_ok=True)
            self.path(name).write_bytes(page.read_bytes())
        write_pdf(self.path("p/book.pdf"), [page, page])
        os.symlink("../p/b.jpg", self.path("q/link.jpg"))
        os.link(self.path("p/b.jpg"), self.path("q/same.jpg"))
        for arguments, code, said in [
            (["p/a.jpg", "-o", "p/a.jpg"], 1, "--in-place"),
            (["p/a.jpg", "p/b.jpg"], 2, "-o p/b.jpg"),
            (["p/a.jpg", "q/a.jpg", "-d", "q"], 1, "q/a.jpg is a source"),
            (["p/a.jpg", "q/link.jpg", "-d", "p"], 1, "is a source"),
            (["q/link.jpg", "-o", "q/same.jpg"], 1, "is a source"),
            (["p/a.jpg", "p/../p/a.jpg", "-d", "r"], 1, "another input"),
            (["p/a.jpg", "p/./a.jpg", "--in-place", "--min-angle", "45"], 1, "another input"),
            (["p/b.jpg", "q/same.jpg", "--in-place", "--min-angle", "45"], 1, "another input"),
            (["p/book.pdf", "p/book-001.jpg", "--format", "jpg", "--dpi", "40", "-d", "s"], 1, "another input"),
        ]:
            with self.subTest(arguments):
                before = {p: b for p, b in self.snapshot().items() if p.parent.name in "pq"}
                self.tool("deskew", *arguments, "--overwrite", code=code)
                self.assertIn(said, self.err)
                self.assertEqual({p: b for p, b in self.snapshot().items() if p in before}, before)
        self.tool("report", "p/a.jpg", "-o", "p/a.jpg", "--overwrite", code=1)
        self.assertEqual(page.read_bytes(), self.path("q/a.jpg").read_bytes())

    def test_in_place_keeps_name_owner_mode_links_and_time(self):
        for name, kind in [("scan.png", "jpg"), ("scan", "jpg"), ("scan.jpg", "tif")]:
            with self.subTest(name):
                self.small_page("x." + kind).rename(self.path(name))
                self.path("scan.jpg" if name != "scan.jpg" else "scan.tif").write_text("unrelated")
                others = {p: b for p, b in self.snapshot().items() if p.name != name}
                self.tool("deskew", name, "--in-place")
                self.assertAlmostEqual(self.angle(name), 0, delta=0.06)
                self.assertEqual({p: b for p, b in self.snapshot().items() if p.name != name}, others)
        page, link = self.small_page("page.jpg"), self.path("hard.jpg")
        os.link(page, link)
        os.symlink("page.jpg", self.path("soft.jpg"))
        os.chmod(page, 0o640)
        if os.geteuid() == 0:
            os.chown(page, 1234, 4321)
        os.utime(page, (10 ** 9, 10 ** 9))
        before = os.stat(page)
        self.tool("deskew", "soft.jpg", "--in-place", "--keep-time")
        after = os.stat(page)
        for field in ("st_ino", "st_nlink", "st_mode", "st_uid", "st_gid", "st_mtime"):
            self.assertEqual(getattr(after, field), getattr(before, field), field)
        self.assertTrue(self.path("soft.jpg").is_symlink())
        self.assertAlmostEqual(self.angle(link), 0, delta=0.06)
        link.unlink()
        if os.geteuid() == 0:
            self.tool("rotate", "--angle", 5, page, "--in-place")
            self.assertEqual((os.stat(page).st_uid, os.stat(page).st_gid), (1234, 4321))

    def test_folders(self):
        for name in ("in/a.jpg", "in/b.png", "in/deep/c.jpg"):
            self.path(name).parent.mkdir(parents=True, exist_ok=True)
            self.small_page(name)
        self.path("in/notes.txt").write_text("no image")
        before = self.snapshot()
        self.tool("deskew", "in", "--dry-run")
        self.tool("deskew", "in", "-d", "flat", "--dry-run")
        self.assertEqual(self.snapshot(), before)
        self.tool("deskew", "in", "-d", "flat")
        self.assertEqual(self.made("flat"), ["a.jpg", "b.png"])
        self.tool("deskew", "in", "-d", "flat", code=1)
        self.assertIn("exists (use --overwrite)", self.err)
        self.path("flat/a.jpg").unlink()
        self.path("flat/b.png").write_bytes(b"kept")
        lines = self.tool("deskew", "in", "-d", "flat", "--resume")
        self.assertEqual(["skipped" in line for line in lines], [False, True])
        self.tool("deskew", "in", "-d", "flat", "--overwrite")
        self.assertNotEqual(self.path("flat/b.png").read_bytes(), b"kept")
        # Results inside the sources are no sources of the next run.
        for count in (3, 3):
            self.assertEqual(len(self.tool("deskew", "in", "-r", "-d", "in/deep/out", "--resume")), count)
        self.assertEqual(self.made("in/deep/out"), ["a.jpg", "b.png", "deep/c.jpg"])
        self.assertEqual({p: b for p, b in self.snapshot().items() if p in before}, before, "a source was touched")

    @unittest.skipIf(os.geteuid() != 0, "becomes another user")
    def test_a_folder_that_cannot_be_listed_is_named_and_the_rest_goes_on(self):
        self.small_page("a.png")
        self.path("lost+found").mkdir(mode=0o700)
        os.chmod(self.folder, 0o755)
        lines = self.tool("measure", "-r", ".", code=1, user=65534)
        self.assertEqual(len(lines), 1)
        self.assertRegex(self.err, "lost.found cannot be listed: Permission denied")

    def test_devices_and_pipes_are_written_into(self):
        page = self.small_page("page.png")
        os.mkfifo(self.path("pipe"))
        got = []
        reader = threading.Thread(target=lambda: got.append(self.path("pipe").read_bytes()),
                                  daemon=True)
        reader.start()
        self.tool("deskew", page, "-o", "pipe", "--overwrite")
        reader.join(20)
        self.assertTrue(stat.S_ISFIFO(os.stat(self.path("pipe")).st_mode))
        self.assertEqual(got[0][:4], b"\x89PNG")
        with open(self.path("out.png"), "wb") as out:
            subprocess.run([TOOL, "deskew", "page.png", "-q", "-o", "/dev/stdout", "--overwrite"], cwd=self.folder,
                           stdout=out, check=True)
            self.assertEqual(os.fstat(out.fileno()).st_ino, os.stat(self.path("out.png")).st_ino)
        self.assertAlmostEqual(self.angle("out.png"), 0, delta=0.06)
        self.tool("report", page, "-o", "-")
        self.assertIn(b"<h1>Angles of pages</h1>", self.out)

    def test_two_runs_share_a_folder(self):
        self.path("in").mkdir()
        first = self.small_page("in/page0.png")
        for number in range(1, 12):
            os.link(first, self.path(f"in/page{number}.png"))
        runs = [subprocess.Popen([TOOL, "deskew", "in", "-d", "out", "--resume", "-j", "1"], cwd=self.folder,
                                 stdout=subprocess.DEVNULL) for _ in range(3)]
        self.assertEqual([run.wait() for run in runs], [0, 0, 0])
        self.assertEqual(len(self.made("out")), 12)


if __name__ == "__main__":
    unittest.main()
