"""The C interface: records and functions as include/skewcorrection/page.h, rotate.h and level.h declare them."""
import ctypes
import pathlib
from ctypes import POINTER, Structure, c_double, c_int, c_ssize_t, c_uint32, c_void_p
from typing import Any

OK, INVALID_ARGUMENT, OUT_OF_MEMORY = 0, 1, 2


class PageRecord(Structure):
    _fields_ = [("angle", c_double), ("confidence", c_double), ("lowest_angle", c_double), ("highest_angle", c_double),
                ("paper_angle", c_double), ("spread", c_double), ("verdict", c_int), ("reason", c_int),
                ("basis", c_int), ("paper_found", c_int), ("windows_measured", c_int), ("windows_agreeing", c_int)]


class TransformRecord(Structure):
    _fields_ = [("width", c_int), ("height", c_int), ("out_width", c_int), ("out_height", c_int),
                ("a", c_double), ("b", c_double), ("c", c_double), ("d", c_double), ("e", c_double), ("f", c_double)]


class OptionsRecord(Structure):
    _fields_ = [("smallest_angle", c_double), ("largest_angle", c_double), ("expected_angle", c_double),
                ("expected_within", c_double), ("align", c_int), ("force", c_int), ("canvas", c_int),
                ("fill_mode", c_int), ("fill", c_uint32), ("upright", c_int)]


class LevelRecord(Structure):
    _fields_ = [("action", c_int), ("aligned", c_int), ("tilt", c_double), ("angle", c_double), ("canvas", c_int),
                ("fill", c_uint32), ("transform", TransformRecord), ("page", PageRecord)]


def _load() -> ctypes.CDLL:
    """The library in the wheel, or the system's where the package came without one."""
    beside = pathlib.Path(__file__).with_name("libSkewCorrection_Lib.so")
    return ctypes.CDLL(str(beside) if beside.exists() else "libSkewCorrection_Lib.so.1")


_library = _load()


def _function(name: str, *arguments: Any) -> Any:
    function = getattr(_library, name)
    function.argtypes, function.restype = arguments, c_int
    return function


_rotation = (c_void_p, c_ssize_t, c_int, c_int, c_double, c_int, c_void_p, c_ssize_t)
_planning = (c_void_p, c_ssize_t, c_int, c_int, POINTER(OptionsRecord), POINTER(LevelRecord))
plan_gray = _function("skew_plan_gray", *_planning)
plan_rgb = _function("skew_plan_rgb", *_planning)
plan_argb = _function("skew_plan_argb", *_planning)
rotate_gray = _function("skew_rotate_gray", *_rotation, ctypes.c_ubyte)
rotate_rgb = _function("skew_rotate_rgb", *_rotation, c_void_p)
rotate_argb = _function("skew_rotate_argb", *_rotation, c_uint32)
map_points = _function("skew_map_points", POINTER(TransformRecord), c_int, c_void_p, c_int)
