"""Measures how far the text lines of a photographed or scanned page are tilted, and turns the image level.

    page = skewcorrection.measure(image)          # page.angle, page.verdict, page.confidence
    result = skewcorrection.level(image)          # result.image, result.action, result.transform
    points = skewcorrection.map_points(result.transform, [(120.5, 80.5)])

An image is one of
    an array of numpy, unsigned bytes: height x width gray (0 black ... 255 white), height x width x 3 RGB or
        height x width x 4 RGBA; of booleans, height x width: False is black, True white. Any strides; read-only is fine
    a Pillow image; an orientation that EXIF tells is not applied (PIL.ImageOps.exif_transpose does it)
    anything else of those shapes that numpy can look at: the buffer protocol, __array_interface__
Gray and RGB are worked on where they lie if the pixels of a row follow one another, whatever the distance of the rows;
anything else is copied once. Images are never changed; nobody else may change them during a call.

Angles are degrees. A positive angle means that lines fall from left to right as displayed; turning by it levels them.

Every function may run on several threads at once, and lets other threads of Python run while it works.

Exceptions: TypeError for pixels of another type, ValueError for another shape or an option out of range, both before
anything is measured; MemoryError if memory does not suffice.
"""
from ._api import (Action, Align, Basis, Canvas, Level, Page, Reason, Transform, Verdict, level, map_points, measure)

__all__ = ["Action", "Align", "Basis", "Canvas", "Level", "Page", "Reason", "Transform", "Verdict", "level",
           "map_points", "measure"]
