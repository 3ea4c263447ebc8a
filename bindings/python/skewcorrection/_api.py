import ctypes
import dataclasses
import enum
import operator
from typing import Any, Optional, Sequence, Tuple, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _images, _native


class Verdict(enum.IntEnum):
    """How far an angle can be relied on."""
    TRUSTED = 0    #: it can be used without a look at the page
    UNCERTAIN = 1  #: there is content, but no sure direction: the angle is the best guess
    BLANK = 2      #: no content to measure; the angle is 0


class Reason(enum.IntEnum):
    """Why an answer is not trusted."""
    NONE = 0            #: it is trusted
    NO_CONTENT = 1      #: blank
    LITTLE_TEXT = 2     #: a few words, or too little of anything
    TWO_DIRECTIONS = 3  #: parts of the page lie at different angles, as two pages in view do
    NOT_PARALLEL = 4    #: the lines fan out or bend: perspective or curled paper
    ONLY_STRUCTURE = 5  #: no writing, and the straight parts do not agree well enough
    RASTER = 6          #: the direction may be that of the pixels: JPEG blocks, dither, halftone
    UNCLEAR = 7         #: the parts of the page do not agree


class Basis(enum.IntEnum):
    """What an angle follows."""
    NONE = 0       #: nothing: a blank page
    ROWS = 1       #: lines of writing that run across the page
    COLUMNS = 2    #: lines of writing that run down the page
    STRUCTURE = 3  #: rules, frames, staves, the lines of a drawing: no lines of writing were found


class Action(enum.IntEnum):
    """What level() did."""
    LEVELLED = 0
    LEFT_LEVEL = 1       #: left alone: level already, turning would not change a pixel
    LEFT_SMALL = 2       #: left alone: tilted by less than smallest_angle
    LEFT_LARGE = 3       #: left alone: tilted by more than largest_angle
    LEFT_UNTRUSTED = 4   #: left alone: the angle is not trusted; page.reason says why
    LEFT_BLANK = 5       #: left alone: no content to measure
    LEFT_NO_PAPER = 6    #: left alone: no edges of a sheet are seen
    LEFT_UNEXPECTED = 7  #: left alone: too far from expected_angle


class Align(enum.IntEnum):
    """What is made level."""
    TEXT = 0   #: the lines
    PAPER = 1  #: the edges of the sheet, where they are seen, whatever the text does
    AUTO = 2   #: the lines where they are trusted, else the edges of the sheet where they are seen


class Canvas(enum.IntEnum):
    """What becomes of the size."""
    KEEP = 0    #: that of the source: corners are cut off
    EXPAND = 1  #: as large as needed to show the whole source


@dataclasses.dataclass(frozen=True)
class Page:
    """A measurement. Angles are degrees."""
    angle: float                  #: -45.5 ... 45.5; turning by it levels the lines; 0.0 for a blank page
    confidence: float             #: 0 ... 1: the probability that angle is within 0.25 degree of the lines' direction
    lowest_angle: float           #: the line direction varies over the page from here ...
    highest_angle: float          #: ... to here; both equal angle where it does not vary measurably
    paper_angle: Optional[float]  #: direction of the sheet's edges; None where they are not seen
    spread: float                 #: root mean square distance of the agreeing windows' angles from angle
    verdict: Verdict
    reason: Reason
    basis: Basis
    windows_measured: int         #: windows of the page that were measured on their own
    windows_agreeing: int         #: those whose angle lies within a degree of the page's

    @property
    def trusted(self) -> bool:
        return self.verdict == Verdict.TRUSTED


@dataclasses.dataclass(frozen=True)
class Transform:
    """Where points go: x' = a * x + c * y + e and y' = b * x + d * y + f.

    A point is a position in pixels from the upper left corner, y downward: the centre of the first pixel is (0.5, 0.5).
    """
    width: int       #: of the source, pixels
    height: int
    out_width: int   #: of the result, pixels
    out_height: int
    a: float
    b: float
    c: float
    d: float
    e: float
    f: float


@dataclasses.dataclass(frozen=True)
class Level:
    """What level() found and made."""
    image: NDArray[np.uint8]  #: the level image, of the source's number of channels; the source where it is left alone
    action: Action
    aligned: Align            #: TEXT or PAPER: what tilt is the direction of
    tilt: float               #: the direction found, degrees; 0.0 if none was found
    angle: float              #: by which the page was turned: tilt, or 0.0 when it is left alone
    canvas: Canvas
    fill: Tuple[int, int, int, int]  #: the colour of what came into view: red, green, blue, alpha, each 0 ... 255
    transform: Transform      #: from the source to the image; nothing moves when it is left alone
    page: Page                #: the measurement


_PLAN = {1: _native.plan_gray, 3: _native.plan_rgb, 4: _native.plan_argb}


def _values(record: ctypes.Structure) -> Any:
    return {name: getattr(record, name) for name, *_ in record._fields_}


def _page(record: _native.PageRecord) -> Page:
    values = _values(record)
    paper = values["paper_angle"] if values.pop("paper_found") else None
    values.update(paper_angle=paper, verdict=Verdict(record.verdict), reason=Reason(record.reason),
                  basis=Basis(record.basis))
    return Page(**values)


def _check(code: int, refused: str) -> None:
    if code == _native.INVALID_ARGUMENT:
        raise ValueError(refused)
    if code != _native.OK:
        raise MemoryError("no memory for the image, or the result would be too large")


def _plan(source: _images.Image, options: Optional[_native.OptionsRecord], refused: str = "") -> _native.LevelRecord:
    record = _native.LevelRecord()
    code = _PLAN[source.channels](source.memory.ctypes.data, source.stride, source.width, source.height,
                                  None if options is None else ctypes.byref(options), ctypes.byref(record))
    _check(code, refused)
    return record


def measure(image: Any) -> Page:
    """Measures how far the lines of a page are tilted.

    image: see the package. Alpha has no effect. Below 32 rows or columns a page is reported blank.
    Measuring takes a few megabytes of memory, and one byte a pixel for colour images.
    """
    return _page(_plan(_images.take(image), None).page)


def _named(kind: Any, name: str, value: Any) -> int:
    """The member of an enumeration, also by its name in small letters."""
    try:
        return int(kind[value.upper()] if isinstance(value, str) else kind(value))
    except (KeyError, ValueError):
        names = ", ".join(repr(member.name.lower()) for member in kind)
        raise ValueError(f"{name} is one of {names}, not {value!r}") from None


def _colour(fill: Union[int, Sequence[int]]) -> int:
    parts = [operator.index(part) for part in (fill if isinstance(fill, Sequence) else [fill] * 3)]
    if len(parts) not in (3, 4) or not all(0 <= part <= 255 for part in parts):
        raise ValueError(f"fill is a gray value or three or four values of a colour, each 0 to 255, not {fill!r}")
    red, green, blue, alpha = (parts + [255])[:4]
    return alpha << 24 | red << 16 | green << 8 | blue


def _turn(source: _images.Image, record: _native.LevelRecord) -> NDArray[np.uint8]:
    if record.action != Action.LEVELLED:
        return source.pixels
    size = record.transform
    try:
        out = np.empty((size.out_height, size.out_width) + ((source.channels,) if source.channels > 1 else ()), np.uint8)
    except ValueError:  # more than can be addressed
        raise MemoryError("the result would be too large") from None
    place = (source.memory.ctypes.data, source.stride, source.width, source.height, record.angle, record.canvas,
             out.ctypes.data, out.strides[0])
    if source.channels == 1:
        code = _native.rotate_gray(*place, record.fill & 0xFF)
    elif source.channels == 3:
        code = _native.rotate_rgb(*place, (record.fill & 0xFFFFFF).to_bytes(3, "big"))
    else:
        code = _native.rotate_argb(*place, record.fill)
    _check(code, "the image cannot be turned")
    return out if source.channels < 4 else _images.rgba(out)


def level(image: Any, *, smallest_angle: float = 0.05, largest_angle: float = 45.0, expected_angle: float = 0.0,
          expected_within: float = 180.0, align: Union[Align, str] = Align.TEXT, force: bool = False,
          canvas: Union[Canvas, str] = Canvas.KEEP, fill: Union[None, int, Sequence[int]] = None) -> Level:
    """Measures a page, judges the measurement, and turns the page level or leaves it alone.

    image            see the package
    smallest_angle   smaller tilts are left alone, degrees, 0 or more
    largest_angle    larger tilts are left alone, degrees, at least smallest_angle
    expected_angle   an angle known before, -180 ... 180 degrees
    expected_within  a page is left alone unless its angle lies within so many degrees of expected_angle
    align            what is made level: "text", "paper" or "auto" (Align)
    force            turn by an angle that is not trusted, too; a blank page stays alone all the same
    canvas           "keep" the size or "expand" it so that no corner is cut (Canvas)
    fill             the colour of what comes into view: a gray value, or red, green, blue and perhaps alpha, each
                     0 ... 255; None takes that of the page's own border

    The image of the result is an array of the source's shape (of booleans: bytes 0 and 255 or between), its size that
    of the canvas; where the page is left alone it is the source itself, not a copy.
    """
    source = _images.take(image)
    options = _native.OptionsRecord(
        smallest_angle, largest_angle, expected_angle, expected_within, _named(Align, "align", align), bool(force),
        _named(Canvas, "canvas", canvas), fill is not None, 0xFFFFFFFF if fill is None else _colour(fill), 0)
    record = _plan(source, options, f"an angle is out of range: smallest_angle={smallest_angle}, "
                   f"largest_angle={largest_angle}, expected_angle={expected_angle}, expected_within={expected_within}")
    fill_bytes = record.fill.to_bytes(4, "big")
    return Level(_turn(source, record), Action(record.action), Align(record.aligned), record.tilt, record.angle,
                 Canvas(record.canvas), (fill_bytes[1], fill_bytes[2], fill_bytes[3], fill_bytes[0]),
                 Transform(**_values(record.transform)), _page(record.page))


def map_points(transform: Transform, points: ArrayLike, *, back: bool = False) -> NDArray[np.float64]:
    """Moves points from the source of a transform to its result, or back.

    transform  that of a level(), or any other that has an inverse
    points     pairs x, y: an array of any shape whose last axis has 2 values. They may lie outside the image
    Returns a new array of that shape. There and back again a point of an image moves by less than 0.001 pixel.
    """
    moved = np.array(points, dtype=np.float64, order="C")
    if moved.ndim < 1 or moved.shape[-1] != 2:
        raise ValueError(f"points are pairs x, y, not an array of {' x '.join(map(str, moved.shape)) or 'one value'}")
    if moved.size // 2 > 2**31 - 1:
        raise ValueError("more than 2147483647 points")
    record = _native.TransformRecord(*dataclasses.astuple(transform))
    code = _native.map_points(ctypes.byref(record), bool(back), moved.ctypes.data, moved.size // 2)
    _check(code, f"this transform has no inverse: {transform}")
    return moved
