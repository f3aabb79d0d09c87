"""What callers may give, and sentences for what they may not."""

from __future__ import annotations

from typing import Any, Literal

import numpy as np
import numpy.typing as npt

from . import _core
from ._errors import Error
from ._maps import Floats

Size = tuple[int, int]
Coverage = Literal["valid", "whole"] | float
Projection = Literal["pinhole", "latlon"]

_PROJECTIONS = {"pinhole": _core.PINHOLE, "latlon": _core.LATITUDE_LONGITUDE}
_COVERAGES = {"valid": _core.COVERAGE_VALID, "whole": _core.COVERAGE_WHOLE}


def array(values: npt.ArrayLike, name: str) -> Floats:
    try:
        return np.asarray(values, dtype=np.float64)
    except (TypeError, ValueError) as error:
        raise Error(f"{name}: expected numbers: {error}", field=name) from None


def poses_of_each(R: Floats, t: Floats, count: int) -> tuple[list[Floats], list[Floats]]:
    """A pose for each camera from those, or from the one of a pair."""
    if R.ndim == 2 and count == 2:
        return [np.eye(3), R], [np.zeros(3), t.reshape(-1)]
    if R.ndim == 2 and count == 1:
        return [R], [t.reshape(-1)]
    return list(R), [each.reshape(-1) for each in t]


def required_size(size: Any) -> Size:
    largest = np.iinfo(np.int32).max
    try:
        width, height = (int(n) for n in size)
        is_size = 0 < width <= largest and 0 < height <= largest and (width, height) == tuple(size)
    except (TypeError, ValueError):
        is_size = False
    if not is_size:
        raise Error(f"size: expected (width, height) in pixels, found {size!r}", field="size")
    return width, height


def optional_size(size: Size | None) -> Size | None:
    return None if size is None else required_size(size)


def pair_of_indices(cameras: tuple[int, int]) -> tuple[int, int]:
    try:
        left, right = (int(i) for i in cameras)
        is_pair = 0 <= left < 6 and 0 <= right < 6
    except (TypeError, ValueError):
        is_pair = False
    if not is_pair:
        raise Error(f"cameras: expected two indices, found {cameras!r}", field="cameras")
    return left, right


def sizes_of_each(values: npt.ArrayLike | None) -> list[int] | None:
    if values is None:
        return None
    pairs = array(values, "sizes").reshape(-1, 2).tolist()
    return [side for pair in pairs for side in required_size(pair)]


def numbers_of_each(values: npt.ArrayLike | None) -> list[float] | None:
    return None if values is None else array(values, "values").reshape(-1).tolist()


def view_options(
    size: Size | None,
    focal_length: float | None,
    field_of_view: float | None,
    coverage: Coverage | None,
    principal_point: tuple[float, float] | None,
    projection: Projection,
    keep_outside: bool,
) -> _core.Options:
    options = _core.Options()
    if size is not None:
        options.width, options.height = required_size(size)
    options.focal_length = focal_length or 0.0
    options.field_of_view = field_of_view or 0.0
    if principal_point is not None:
        options.has_principal_point = 1
        options.cx, options.cy = principal_point
    if isinstance(coverage, str):
        options.coverage = chosen(_COVERAGES, coverage, "coverage")
    elif coverage is not None:
        options.coverage = _core.COVERAGE_BETWEEN
        options.alpha = coverage
    options.projection = chosen(_PROJECTIONS, projection, "projection")
    options.keep_outside = int(keep_outside)
    return options


def chosen(words: dict[str, int], word: str, name: str) -> int:
    if word not in words:
        raise Error(f"{name}: expected {' or '.join(words)}, found {word!r}", field=name)
    return words[word]
