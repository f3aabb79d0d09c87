from collections.abc import Sequence
from typing import Any

import numpy as np
import numpy.typing as npt

from ._maps import Bytes, Floats, Image, Plane

STATUS_OK: int
STATUS_BAD_ARGUMENT: int
STATUS_BAD_CAMERA: int
STATUS_SAME_PLACE: int
STATUS_CANNOT_RECTIFY: int
STATUS_OUT_OF_MEMORY: int
STATUS_BAD_FILE: int
STATUS_INTERNAL_ERROR: int
PIXEL_OK: int
PIXEL_OK_PAST_LAST_CENTRE: int
PIXEL_BEHIND_CAMERA: int
PIXEL_BEYOND_DISTORTION: int
PIXEL_NO_INVERSE: int
PIXEL_OUTSIDE_IMAGE: int
PIXEL_NOT_MADE: int
WARNING_RIGHT_IS_LEFT: int
WARNING_TURNED: int
WARNING_LONG_BASELINE: int
WARNING_SHORT_BASELINE: int
WARNING_FEW_SOURCES: int
WARNING_TABLE_ERROR: int
WARNING_FAILED_CHECKS: int
PINHOLE: int
LATITUDE_LONGITUDE: int
COVERAGE_VALID: int
COVERAGE_WHOLE: int
COVERAGE_BETWEEN: int

def version() -> str: ...
def set_log(level: int, console: bool) -> None: ...

class Camera:
    @property
    def name(self) -> str: ...
    @property
    def size(self) -> tuple[int, int]: ...
    @property
    def model(self) -> str: ...
    @property
    def distortion(self) -> Floats: ...
    @property
    def line_time_ns(self) -> int: ...
    @property
    def rs_center_row(self) -> int: ...
    @property
    def K(self) -> Floats: ...
    @property
    def D(self) -> Floats: ...
    @property
    def R(self) -> Floats: ...
    @property
    def t(self) -> Floats: ...
    def points_to_rays(self, points: npt.ArrayLike) -> tuple[Floats, Bytes]: ...
    def rays_to_points(self, rays: npt.ArrayLike) -> tuple[Floats, Bytes]: ...

class View:
    @property
    def projection(self) -> str: ...
    @property
    def size(self) -> tuple[int, int]: ...
    @property
    def fx(self) -> float: ...
    @property
    def fy(self) -> float: ...
    @property
    def cx(self) -> float: ...
    @property
    def cy(self) -> float: ...
    @property
    def axis(self) -> int: ...
    @property
    def R_camera_view(self) -> Floats: ...

class Rig:
    @property
    def has_poses(self) -> bool: ...
    @property
    def format(self) -> str: ...
    @property
    def notes(self) -> list[str]: ...
    @property
    def cameras(self) -> list[Camera]: ...

class Options:
    left_camera: int
    right_camera: int
    projection: int
    width: int
    height: int
    has_principal_point: int
    coverage: int
    cx: float
    cy: float
    focal_length: float
    field_of_view: float
    alpha: float
    keep_outside: int
    def __init__(self) -> None: ...

class Rectification:
    @property
    def left(self) -> View: ...
    @property
    def right(self) -> View: ...

class RemapPlan:
    def __init__(
        self,
        x: Plane,
        y: Plane,
        shape: Sequence[int],
        stride: int,
        gains: Plane | None,
        border: Sequence[int],
    ) -> None: ...
    @property
    def size(self) -> tuple[int, int]: ...
    @property
    def memory(self) -> int: ...

_MapArrays = tuple[Plane, Plane, Bytes]
_Planes = tuple[Plane, Plane]

def make_camera(
    name: str,
    size: tuple[int, int],
    K: npt.ArrayLike,
    D: npt.ArrayLike,
    model: str,
    R: npt.ArrayLike,
    t: npt.ArrayLike,
) -> Camera: ...
def load(
    files: Sequence[str],
    from_: str | None,
    pair: str,
    size: tuple[int, int] | None,
    scale: str | None,
    image_size: tuple[int, int] | None,
    fit: bool,
) -> Rig: ...
def written(rig: Rig, format: str, lossy: bool) -> tuple[list[tuple[str, str]], list[str]]: ...
def from_cameras(cameras: Sequence[Camera]) -> Rig: ...
def rectify(
    rig: Rig, options: Options
) -> tuple[
    _MapArrays,
    _MapArrays,
    Rectification,
    dict[str, Any],
    list[tuple[int, int, float, str]],
]: ...
def undistort(camera: Camera, options: Options) -> tuple[_MapArrays, View]: ...
def see_through(
    rig: Rig, eyes: Rig, plane_distance: float, keep_outside: bool
) -> tuple[_MapArrays, _MapArrays]: ...
def range_from_columns(
    rectification: Rectification, left: npt.ArrayLike, right: npt.ArrayLike
) -> Floats: ...
def linear(
    rig: Rig, largest: bool, sizes: Sequence[int] | None, intrinsics: Sequence[float] | None
) -> Rig: ...
def calibration_maps(
    source: Rig,
    target: Rig,
    keep_outside: bool,
    vignetting: bool,
    rotations: Sequence[float] | None,
) -> list[tuple[_Planes, _Planes, Plane | None]]: ...
def remap(image: Image, x: Plane, y: Plane, out: Image | None) -> Image: ...
def apply_all(
    plans: Sequence[RemapPlan], images: Sequence[Image], outs: Sequence[Image]
) -> list[Image]: ...
def points_to_view(camera: Camera, view: View, points: npt.ArrayLike) -> tuple[Floats, Bytes]: ...
def points_from_view(camera: Camera, view: View, points: npt.ArrayLike) -> tuple[Floats, Bytes]: ...
def report(x: Plane, y: Plane) -> dict[str, Any]: ...
def certify(
    rig: Rig,
    claim: Rectification,
    left_x: Plane,
    left_y: Plane,
    right_x: Plane,
    right_y: Plane,
) -> dict[str, Any]: ...
def certify_camera(camera: Camera) -> dict[str, Any]: ...
def check(
    rig: Rig,
    cameras: tuple[int, int],
    left: Sequence[Image],
    right: Sequence[Image],
    max_corners: int,
) -> dict[str, Any]: ...
