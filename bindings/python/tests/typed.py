"""Not run: a type checker reads it, as it reads a caller's program."""
from typing import Optional

import numpy as np
from numpy.typing import NDArray

import skewcorrection

pixels: NDArray[np.uint8] = np.zeros((40, 40), np.uint8)
page: skewcorrection.Page = skewcorrection.measure(pixels)
paper: Optional[float] = page.paper_angle
result = skewcorrection.level(pixels, align="paper", canvas=skewcorrection.Canvas.EXPAND, fill=(255, 255, 255))
image: NDArray[np.uint8] = result.image
points: NDArray[np.float64] = skewcorrection.map_points(result.transform, [(1.5, 2.5)], back=True)
skewcorrection.level(pixels, smallest_angle="wide")  # type: ignore[arg-type]
