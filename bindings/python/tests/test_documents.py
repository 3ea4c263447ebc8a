"""The blocks marked python in the documents, run in order as a reader would, beside the sample page."""
import pathlib
import re

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[3]


@pytest.mark.parametrize("document", ["README.md", "docs/python.md"])
def test_code_runs(document, tmp_path, monkeypatch):
    (tmp_path / "page.jpg").symlink_to(ROOT / "tests/data/page.jpg")
    monkeypatch.chdir(tmp_path)
    blocks = re.findall(r"^```python\n(.*?)^```", (ROOT / document).read_text(), re.M | re.S)
    assert blocks
    exec(compile("\n".join(blocks), document, "exec"), {})
