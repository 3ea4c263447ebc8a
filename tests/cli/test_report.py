"""The report, opened in a browser: it loads nothing else, its pictures show, and its divider moves."""
import re
import subprocess
import tempfile

from support import ToolTest, convert, sh, unittest

FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync", "--hide-scrollbars"]


class Report(ToolTest):
    def browse(self, page, *arguments):
        with tempfile.TemporaryDirectory() as profile:
            return sh("chromium", *FLAGS, f"--user-data-dir={profile}", *arguments, page.as_uri(), timeout=120,
                      env={"HOME": profile, "PATH": "/usr/bin:/bin"})

    def report(self):
        self.small_page("<odd & name>.jpg")
        convert("-size", "900x1200", "xc:white", self.path("blank.png"))
        self.path("broken.jpg").write_bytes(b"\xff\xd8\xff\xe0")
        self.tool("report", "<odd & name>.jpg", "blank.png", "broken.jpg", "-o", "report.html", code=1)
        return self.path("report.html")

    def test_it_says_what_was_found_and_needs_nothing_else(self):
        text = self.report().read_text()
        for words in ["3 pages: 1 to straighten, 1 to leave alone, 1 failed", "&lt;odd &amp; name&gt;.jpg",
                      "fall to the right by 4.4", "windows agree", "nothing on this page to measure"]:
            self.assertIn(words, text)
        self.assertEqual(text.count('class="compare"'), 1, "only a page that is turned has a divider")
        self.assertEqual([a for a in re.findall(r'(?:src|href)="(?!data:image/|#)[^"]*', text)], [])

    def test_it_works_in_a_browser(self):
        report = self.report()
        checks = """<script>addEventListener("load", () => {
          const slider = document.querySelector(".compare input"), after = document.querySelector(".after");
          const wide = [...document.images].every(i => i.complete && i.naturalWidth > 100);
          slider.value = 20; slider.dispatchEvent(new Event("input"));
          const rectangles = document.querySelectorAll("svg.edges rect.agrees").length;
          const found = +document.querySelector("line.found").getAttribute("x1");
          document.title = ["pictures", wide, "divider", getComputedStyle(after).clipPath, "windows", rectangles > 3,
                            "marked", Math.abs(found - (4.43 + 45) * 10) < 2].join(" ");
        })</script></body>"""
        probe = self.path("probe.html")
        probe.write_text(report.read_text().replace("</body>", checks))
        done = self.browse(probe, "--dump-dom")
        title = re.search(r"<title>(.*?)</title>", done.stdout.decode())
        self.assertTrue(title, done.stderr.decode()[-500:])
        self.assertRegex(title[1], r"^pictures true divider inset\(0(px)? 0(px)? 0(px)? 20%\) windows true marked true$")

    def test_it_is_drawn(self):
        self.browse(self.report(), "--window-size=1200,1500", f"--screenshot={self.path('shot.png')}")
        # A page of text beside its edge map: neither empty nor one colour.
        colours = sh("identify-im6.q16", "-format", "%k %w", self.path("shot.png")).stdout.split()
        self.assertGreater(int(colours[0]), 1000)
        self.assertEqual(int(colours[1]), 1200)


if __name__ == "__main__":
    unittest.main()
