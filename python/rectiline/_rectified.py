"""Rectified pairs, and how exact they are."""

from __future__ import annotations

from dataclasses import dataclass, field
from functools import cached_property
from typing import TYPE_CHECKING, Literal

import numpy as np
import numpy.typing as npt

from . import _core
from ._core import Camera
from ._errors import CalibrationWarning
from ._maps import Bytes, Floats, Image, Map, Plane

if TYPE_CHECKING:
    from ._rig import Rig


@dataclass(frozen=True)
class Certificate:
    """How far a rectification is from the exact one, by the exact formulas in double precision.

    Rows and depths are measured at `points` points over the left image, 0.3 m to 30 m away. A
    point that is not found in both maps is left out; map errors cover every pixel with a source.

    Attributes:
        max_row_error, rms_row_error: across the baseline, pixels.
        max_depth_error: share of the true depth (range for latitude-longitude).
        max_map_error_left, max_map_error_right: between map and exact projection, source pixels.
        worst_row, worst_depth, worst_map_left, worst_map_right: where: target pixel x, y, and
            for a point its depth or range in metres, otherwise 0.
    """

    points: int
    max_row_error: float
    rms_row_error: float
    max_depth_error: float
    max_map_error_left: float
    max_map_error_right: float
    worst_row: tuple[float, float, float]
    worst_depth: tuple[float, float, float]
    worst_map_left: tuple[float, float, float]
    worst_map_right: tuple[float, float, float]


@dataclass(frozen=True)
class CameraCertificate:
    """How well the tables of a camera agree with its formulas, where they are valid.

    Attributes:
        max_distortion_error: ray to pixel, pixels; at the ideal radius distortion_error_radius.
        max_undistortion_error: pixel to ray, pixels; at undistortion_error_radius.
        valid_radius: largest ideal radius of the distortion table.
        valid_radius_pixels: pixels this far from the principal point still have a ray.
        field_of_view: full angle at valid_radius, radians.
    """

    max_distortion_error: float
    distortion_error_radius: float
    max_undistortion_error: float
    undistortion_error_radius: float
    valid_radius: float
    valid_radius_pixels: float
    field_of_view: float


def certify_camera(camera: Camera) -> CameraCertificate:
    """Measures a camera's tables against its exact formulas."""
    return CameraCertificate(**_core.certify_camera(camera))


@dataclass(frozen=True, eq=False)
class Rectified:
    """A rectified pair: maps, virtual cameras, and what turns disparity into depth.

    Attributes:
        left, right: the maps; remap the raw images of the two cameras by them. Each has its
            `view`, which are equal but for R_camera_view.
        cameras: indices of the two cameras in the rig.
        axis: of the baseline in the images: 0 along rows (x), 1 along columns (y).
        disparity_sign: 1, or -1 for a pair given right (or lower) camera first.
        baseline: metres.
        depth_constant: depth (metres) = depth_constant / disparity, where disparity = left minus
            right position along the axis; both have the sign above. NaN for latitude-longitude:
            see range_from_columns().
        R1, R2, P1, P2, Q: float64, as OpenCV's stereoRectify gives them; P1, P2, Q are NaN for
            latitude-longitude.
        left_share, right_share: of target pixels that have a source, 0 to 1.
        valid: (x, y, width, height) of the largest rectangle with a source in both maps.
        warnings: what looks wrong; given as Python warnings, too.
    """

    rig: Rig
    left: Map
    right: Map
    cameras: tuple[int, int]
    axis: int
    disparity_sign: int
    baseline: float
    depth_constant: float
    R1: Floats
    R2: Floats
    P1: Floats
    P2: Floats
    Q: Floats
    left_share: float
    right_share: float
    valid: tuple[int, int, int, int]
    warnings: tuple[CalibrationWarning, ...]
    _claim: _core.Rectification = field(repr=False)

    @property
    def size(self) -> tuple[int, int]:
        """(width, height) of the rectified images, pixels."""
        return self.left.size

    @property
    def reasons(self) -> tuple[Bytes | None, Bytes | None]:
        """Why each pixel of the left and right images has a source or none."""
        return self.left.reasons, self.right.reasons

    @cached_property
    def certificate(self) -> Certificate:
        """Measured when first asked for: as long as making some dozens of maps."""
        planes = (*self.left, *self.right)
        return Certificate(**_core.certify(self.rig._core, self._claim, *planes))

    def remap(self, left: Image, right: Image) -> tuple[Image, Image]:
        """Both raw images, rectified: as :func:`remap`."""
        return self.left.remap(left), self.right.remap(right)

    def rectify_points(
        self, points: npt.ArrayLike, side: Literal["left", "right"] = "left"
    ) -> tuple[Floats, Bytes]:
        """Raw pixels (n, 2) of one camera as rectified pixels (n, 2), and their reasons (n,)."""
        return (self.left if side == "left" else self.right).points_to_view(points)

    def depth(self, disparity: npt.ArrayLike) -> Floats:
        """Depths in metres from disparities in rectified pixels, of any shape.

        Positive disparities are in front of the cameras, whichever of them was given first; NaN
        where there is none.
        """
        d = np.asarray(disparity, dtype=np.float64)
        depths = np.full(d.shape, np.nan)
        np.divide(abs(self.depth_constant), d, out=depths, where=d > 0)
        return depths

    def points(self, disparity: npt.ArrayLike) -> Floats:
        """The points (rows, columns, 3) in the frame of the raw left camera, metres, that the
        pixels of the rectified left image see, from their disparities (rows, columns) as for
        depth(); NaN where there is none. Not for latitude-longitude."""
        z = self.depth(disparity)
        view = self._claim.left
        rows, columns = np.indices(z.shape)
        in_view = np.stack(
            [(columns - view.cx) / view.fx * z, (rows - view.cy) / view.fy * z, z], -1
        )
        points: Floats = in_view @ view.R_camera_view.T
        return points

    def range_from_columns(self, left: npt.ArrayLike, right: npt.ArrayLike) -> Floats:
        """Distances (n,), metres from the left camera's centre, of points from their positions
        (n,) along the axis in a pair rectified to latitude-longitude.

        Infinite for a difference of 0, NaN for a point behind the cameras.
        """
        return _core.range_from_columns(self._claim, left, right)


@dataclass(frozen=True, eq=False)
class CalibrationMaps:
    """From one camera to another at the same place.

    Attributes:
        forward: at a pixel of the target the source position.
        inverse: at a pixel of the source the target position.
        gains: float32 (rows, columns) of the source, against vignetting; None: not asked for.
    """

    forward: Map
    inverse: Map
    gains: Plane | None
