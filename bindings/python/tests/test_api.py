"""The Python package against the C interface, on the sample page in every shape that callers have."""
import array
import dataclasses
import os
import pathlib
import re
import subprocess
import sys
import threading
import time
import tracemalloc
import zipfile

import numpy as np
import pytest
from PIL import Image

import skewcorrection as skew

DATA = pathlib.Path(__file__).resolve().parents[3] / "tests/data"
PAGE = Image.open(DATA / "page.jpg").resize((560, 720))
RGB = np.asarray(PAGE)
GRAY = np.asarray(PAGE.convert("L"))
RGBA = np.dstack([RGB, np.arange(RGB[..., 0].size, dtype=np.uint8).reshape(RGB.shape[:2])])


def oracle(image, force=0, canvas=0, fill=None):
    """What C says: the fields of its record in their order, and the pixels of the result."""
    channels = 1 if image.ndim == 2 else image.shape[2]
    memory = image[..., [2, 1, 0, 3]] if channels == 4 else image
    command = [os.environ["SKEW_ORACLE"], channels, image.shape[1], image.shape[0], force, canvas, int(fill is not None),
               fill or "0"]
    done = subprocess.run([str(part) for part in command], input=memory.tobytes(), capture_output=True, check=True)
    fields, pixels = done.stdout.split(b"\n", 1)
    return [float(field) for field in fields.split()], pixels


def fields(result):
    """Those of a Level in the order of C."""
    page = dataclasses.asdict(result.page)
    paper = page.pop("paper_angle")
    alpha = result.fill[3:] + result.fill[:3]
    return [result.action, result.aligned, result.tilt, result.angle, result.canvas, int.from_bytes(bytes(alpha), "big"),
            *dataclasses.astuple(result.transform), page["angle"], page["confidence"], page["lowest_angle"],
            page["highest_angle"], paper or 0.0, page["spread"], page["verdict"], page["reason"], page["basis"],
            paper is not None, page["windows_measured"], page["windows_agreeing"]]


@pytest.mark.parametrize("image", [GRAY, RGB, RGBA], ids=["gray", "RGB", "RGBA"])
@pytest.mark.parametrize("options, in_c", [
    ({}, {}), ({"canvas": "expand", "fill": (10, 20, 30, 40)}, {"canvas": 1, "fill": "280a141e"}),
    ({"canvas": skew.Canvas.EXPAND, "fill": 77}, {"canvas": 1, "fill": "ff4d4d4d"}), ({"force": True}, {"force": 1})])
def test_equals_c(image, options, in_c):
    expected, pixels = oracle(image, **in_c)
    result = skew.level(image, **options)
    assert fields(result) == expected and result.action == skew.Action.LEVELLED
    memory = result.image[..., [2, 1, 0, 3]] if image.shape[2:] == (4,) else result.image
    assert memory.tobytes() == pixels and result.image.shape[2:] == image.shape[2:]
    assert skew.measure(image) == result.page and abs(result.page.angle - 4.43) < 0.05


def gapped(image):
    wide = np.zeros((image.shape[0], image.shape[1] + 13) + image.shape[2:], np.uint8)
    wide[:, :image.shape[1]] = image
    return wide[:, :image.shape[1]]


def read_only(image):
    copy = image.copy()
    copy.flags.writeable = False
    return copy


class OnlyInterface:
    def __init__(self, image):
        self.__array_interface__ = image.__array_interface__
        self.keep = image


@pytest.mark.parametrize("image", [GRAY, RGB, RGBA], ids=["gray", "RGB", "RGBA"])
@pytest.mark.parametrize("shaped", [
    gapped, read_only, np.asfortranarray, OnlyInterface, lambda image: memoryview(image.copy()), Image.fromarray,
    lambda image: np.flipud(np.flipud(image).copy()), lambda image: np.fliplr(np.fliplr(image).copy()),
    lambda image: np.repeat(np.repeat(image, 2, 0), 2, 1)[::2, ::2]])
def test_every_layout_gives_the_same(image, shaped):
    plain, other = skew.level(image), skew.level(shaped(image))
    assert fields(other) == fields(plain) and np.array_equal(other.image, plain.image)


def test_what_is_not_copied():
    blank = np.full((900, 900, 3), 255, np.uint8)
    for image in (GRAY, gapped(GRAY), np.flipud(GRAY), blank):
        tracemalloc.start()
        skew.measure(image)
        assert tracemalloc.get_traced_memory()[1] < image.size / 4
        tracemalloc.stop()
    left = skew.level(blank)
    assert left.image is blank and left.action == skew.Action.LEFT_BLANK and not left.page.trusted


@pytest.mark.parametrize("mode", ["1", "L", "RGB", "RGBA", "P", "LA", "CMYK", "YCbCr"])
def test_pillow_modes_are_taken_as_shown(mode):
    image = PAGE.convert("L").convert(mode) if mode != "P" else PAGE.convert("P", palette=Image.ADAPTIVE)
    shown = {"1": "L", "LA": "RGBA", "RGBA": "RGBA", "L": "L"}.get(mode, "RGB")
    assert np.array_equal(skew.level(image).image, skew.level(np.asarray(image.convert(shown))).image)


@pytest.mark.parametrize("image, error, says", [
    (GRAY.astype(np.uint16), TypeError, "uint16"), (GRAY / 255, TypeError, "float64"), (b"page", TypeError, "not"),
    ("page.jpg", TypeError, "not"), (None, TypeError, "object"), ([[0, 1]], TypeError, "int64"),
    (PAGE.convert("I"), TypeError, "int32"), (GRAY.ravel(), ValueError, "not 403200"),
    (GRAY[..., None], ValueError, "x 1"), (RGB[..., :2], ValueError, "x 2"), (RGB[None], ValueError, "1 x 720"),
    (GRAY[:0], ValueError, "0 x 560"), (array.array("B", [1, 2]), ValueError, "not 2")])
def test_refuses_other_images(image, error, says):
    for function in (skew.measure, skew.level):
        with pytest.raises(error, match=says):
            function(image)


@pytest.mark.parametrize("options, error, says", [
    ({"smallest_angle": -1}, ValueError, "smallest_angle=-1"), ({"largest_angle": float("nan")}, ValueError, "nan"),
    ({"expected_angle": 181}, ValueError, "181"), ({"align": "lines"}, ValueError, "'paper'"),
    ({"align": 3}, ValueError, "'auto'"), ({"canvas": "grow"}, ValueError, "'expand'"), ({"fill": 256}, ValueError, "256"),
    ({"fill": (1, 2)}, ValueError, "fill"), ({"fill": -1}, ValueError, "-1"), ({"fill": 0.5}, TypeError, "float"),
    ({"smallest_angle": "wide"}, TypeError, "")])
def test_refuses_other_options(options, error, says):
    with pytest.raises(error, match=says):
        skew.level(GRAY, **options)


def test_points_go_with_the_pixels():
    page = GRAY.copy()
    page[300:303, 200:203] = 0
    page[280:323, 180:200] = page[280:323, 203:223] = page[280:300, 180:223] = page[303:323, 180:223] = 255
    result = skew.level(page, canvas="expand")
    (x, y), = skew.map_points(result.transform, [(201.5, 301.5)])
    left, top = int(x) - 15, int(y) - 15
    dark = 255.0 - result.image[top:top + 31, left:left + 31]
    dark_y, dark_x = (np.indices(dark.shape) + 0.5).reshape(2, -1) @ dark.ravel() / dark.sum()
    assert abs(left + dark_x - x) < 0.05 and abs(top + dark_y - y) < 0.05
    grid = np.stack(np.meshgrid(np.arange(0.5, 560, 40), np.arange(0.5, 720, 40)), -1)
    back = skew.map_points(result.transform, skew.map_points(result.transform, grid), back=True)
    assert back.shape == grid.shape and abs(back - grid).max() < 1e-3
    for points in ([1.0, 2.0, 3.0], 5.0, [[1.0], [2.0]]):
        with pytest.raises(ValueError, match="pairs"):
            skew.map_points(result.transform, points)
    with pytest.raises(ValueError, match="no inverse"):
        skew.map_points(dataclasses.replace(result.transform, a=0, b=0, c=0, d=0), [(1, 2)])


def test_threads_and_no_leak():
    expected = skew.level(GRAY).image
    wrong = []

    def work():
        for _ in range(15):
            if not np.array_equal(skew.level(GRAY).image, expected):
                wrong.append(1)

    def resident():
        return int(re.search(r"VmRSS:\s+(\d+)", pathlib.Path("/proc/self/status").read_text())[1])

    work()
    before = resident()
    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong and resident() - before < 30_000  # 160 lost results would be 65 MB


def test_others_run_meanwhile():
    running, ended, counted = threading.Event(), threading.Event(), []

    def count():
        running.set()
        while not ended.is_set():
            counted.append(1)
            time.sleep(0)

    interval = sys.getswitchinterval()
    sys.setswitchinterval(1000)  # from now on threads change only where one lets go
    try:
        counter = threading.Thread(target=count)
        counter.start()
        running.wait()
        before = len(counted)
        skew.level(GRAY)
        during = len(counted) - before
    finally:
        ended.set()
        sys.setswitchinterval(interval)
    counter.join()
    assert during > 0


def test_one_wheel_for_every_python():
    wheel, = pathlib.Path(os.environ["SKEW_WHEELS"]).iterdir()
    assert re.fullmatch(r"skewcorrection-\d+\.\d+\.\d+-py3-none-(many)?linux_\w+\.whl", wheel.name)
    names = zipfile.ZipFile(wheel).namelist()
    assert [name for name in names if ".so" in name] == ["skewcorrection/libSkewCorrection_Lib.so"]
    assert "skewcorrection/py.typed" in names
