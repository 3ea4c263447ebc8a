"""Images of any kind as the C interface takes them: a pointer, the distance of rows, a size."""
import dataclasses
import sys
from typing import Any

import numpy as np
from numpy.typing import NDArray

Pixels = NDArray[np.uint8]
_LARGEST = 2**31 - 1
_SWAPPED = [2, 1, 0, 3]  # RGBA to the bytes of 0xAARRGGBB, lowest first, and back


@dataclasses.dataclass(frozen=True)
class Image:
    pixels: Pixels    # as the caller sees it
    memory: Pixels    # what the library reads: pixels itself, or a copy
    channels: int     # 1, 3 or 4

    @property
    def width(self) -> int:
        return int(self.memory.shape[1])

    @property
    def height(self) -> int:
        return int(self.memory.shape[0])

    @property
    def stride(self) -> int:
        return int(self.memory.strides[0]) if self.height > 1 else self.width * self.channels


def _array(image: Any) -> NDArray[Any]:
    pillow = sys.modules.get("PIL.Image")
    if pillow is not None and isinstance(image, pillow.Image):
        # What a Pillow image stores need not be what it shows: a palette's indices, CMYK, gray with alpha.
        if image.mode in ("P", "PA", "LA", "La", "RGBa"):
            image = image.convert("RGBA" if image.mode != "P" or "transparency" in image.info else "RGB")
        elif image.mode in ("RGBX", "CMYK", "YCbCr", "LAB", "HSV"):
            image = image.convert("RGB")
    return np.asarray(image)


def _in_place(pixels: Pixels, channels: int) -> bool:
    """Whether the pixels of a row follow one another and rows do not overlap."""
    height, width = pixels.shape[:2]
    packed = all(size == 1 or stride == wanted
                 for size, stride, wanted in zip(pixels.shape[1:], pixels.strides[1:], (channels, 1)))
    return packed and (height == 1 or abs(pixels.strides[0]) >= width * channels)


def take(image: Any) -> Image:
    array = _array(image)
    if array.dtype == np.bool_ and array.ndim == 2:
        array = array * np.uint8(255)
    if array.dtype != np.uint8:
        raise TypeError(f"an image has pixels of type uint8 (or bool), not {array.dtype}")
    channels = 1 if array.ndim == 2 else array.shape[2] if array.ndim == 3 else 0
    if channels not in (1, 3, 4) or array.ndim == 3 and channels == 1:
        raise ValueError("an image is height x width (gray), height x width x 3 (RGB) or height x width x 4 (RGBA), "
                         f"not {' x '.join(map(str, array.shape))}")
    if min(array.shape) < 1 or max(array.shape) > _LARGEST:
        raise ValueError(f"an image has 1 to {_LARGEST} rows and columns, not {array.shape[0]} x {array.shape[1]}")
    if channels == 4:
        return Image(array, np.ascontiguousarray(array[..., _SWAPPED]), 4)
    return Image(array, array if _in_place(array, channels) else np.ascontiguousarray(array), channels)


def rgba(argb: Pixels) -> Pixels:
    return np.ascontiguousarray(argb[..., _SWAPPED])
