"""Is a calibration right for images?"""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass
from typing import TYPE_CHECKING

import numpy as np
import numpy.typing as npt

from . import _core
from ._arguments import pair_of_indices
from ._maps import Floats, Image

if TYPE_CHECKING:
    from ._rig import Rig


@dataclass(frozen=True, eq=False)
class Matches:
    """The points found in both images of a pair, n of them.

    Attributes:
        raw_left, raw_right: (n, 2) in the images that were given, pixels.
        left, right: (n, 2) after rectification by the rig as it was given.
        row_error: (n,): left minus right position across the baseline, rectified pixels.
        disparity: (n,): left minus right position along it; positive in front of the cameras.
        inlier: (n,): agrees with the trend of the row errors; others are not measured with.
    """

    raw_left: Floats
    raw_right: Floats
    left: Floats
    right: Floats
    row_error: Floats
    disparity: Floats
    inlier: npt.NDArray[np.bool_]


@dataclass(frozen=True, eq=False)
class CheckResult:
    """The verdict on a calibration and what it is founded on.

    Attributes:
        verdict: "ok", "inaccurate", "swapped-images", "same-image", "swapped-cameras",
            "inverted-poses", "transposed-rotation", "negated-translation", "wrong-distortion" or
            "too-few-matches".
        sentence: the same for a person.
        matches: inliers in all pairs; everything below is measured with them.
        row_error_median, row_error_rms: of the rig as it was given, rectified pixels; NaN when it
            cannot be rectified or nothing was matched.
        turn_degrees, turn_sigma: (3,): the turn of the right camera about x (right), y (down) and
            z (forward) that would best remove the row errors, and its standard errors.
        positive_disparities: share of the matches.
        row_error_median_undone: without the mistake that the verdict names; NaN without one.
        alternatives: other verdicts that explain the images nearly as well.
        pairs: the matches of each pair.
    """

    verdict: str
    sentence: str
    matches: int
    row_error_median: float
    row_error_rms: float
    turn_degrees: Floats
    turn_sigma: Floats
    positive_disparities: float
    row_error_median_undone: float
    alternatives: tuple[str, ...]
    pairs: tuple[Matches, ...]

    @property
    def is_ok(self) -> bool:
        return self.verdict == "ok"


def check(
    rig: Rig,
    left: Image | Sequence[Image],
    right: Image | Sequence[Image],
    *,
    cameras: tuple[int, int] = (0, 1),
    max_corners: int = 800,
) -> CheckResult:
    """Judges two cameras of a rig by what they saw at the same time; names the usual mistakes.

    Args:
        left, right: raw grey images, uint8 (rows, columns): one each, or a list of them. All
            pairs are judged together.
        cameras: indices of the cameras that the images are from.
        max_corners: looked for in each pair.

    Raises:
        Error: for images of another size than the cameras', and for fewer than two cameras.
    """
    lefts = [left] if isinstance(left, np.ndarray) else list(left)
    rights = [right] if isinstance(right, np.ndarray) else list(right)
    found = _core.check(rig._core, pair_of_indices(cameras), lefts, rights, max_corners)
    found["pairs"] = tuple(Matches(**matches) for matches in found["pairs"])
    return CheckResult(**found)
