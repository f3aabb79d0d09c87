"""Maps, images through them, and how good they are."""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from dataclasses import dataclass
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _core
from ._core import Camera, View

Floats = npt.NDArray[np.float64]
Plane = npt.NDArray[np.float32]
Bytes = npt.NDArray[np.uint8]
Image = npt.NDArray[Any]


@dataclass(frozen=True)
class Report:
    """What a map covers and how it scales.

    Magnification is in target pixels per source pixel, over the pixels whose right and lower
    neighbours have a source as well. A pixel is folded where the map turns back on itself.

    Attributes:
        valid: (x, y, width, height) of the largest rectangle of pixels that all have a source.
        pixels, pixels_with_source, measured_pixels, folded_pixels: counts.
        broken_pixels: neither a finite position nor -1 in both planes.
        share_with_source: 0 to 1.
        least_magnification, greatest_magnification: 0 when nothing was measured.
    """

    valid: tuple[int, int, int, int]
    pixels: int
    pixels_with_source: int
    broken_pixels: int
    measured_pixels: int
    folded_pixels: int
    share_with_source: float
    least_magnification: float
    greatest_magnification: float


@dataclass(frozen=True, eq=False)
class Map:
    """Where each pixel of a target image is to be sampled in the source image.

    An integer coordinate is the position of a pixel. Iterating gives x and y, so that
    ``cv2.remap(image, *a_map, cv2.INTER_LINEAR)`` works.

    Attributes:
        x: float32 (rows, columns): the source column; -1 where there is no source.
        y: the same for the source row.
        reasons: uint8 (rows, columns): a Reason for each pixel; None where none were made.
        camera: whose images are the source; None when not known.
        view: the virtual camera that sees the target; None for targets with a lens.
    """

    x: Plane
    y: Plane
    reasons: Bytes | None = None
    camera: Camera | None = None
    view: View | None = None

    def __iter__(self) -> Iterator[Plane]:
        return iter((self.x, self.y))

    @property
    def size(self) -> tuple[int, int]:
        """(width, height) of the target, pixels."""
        return self.x.shape[1], self.x.shape[0]

    def remap(self, image: Image, out: Image | None = None) -> Image:
        """As the function :func:`remap`."""
        return remap(image, self, out)

    def report(self) -> Report:
        """What the map covers and how it scales."""
        return Report(**_core.report(self.x, self.y))

    def points_to_view(self, points: npt.ArrayLike) -> tuple[Floats, Bytes]:
        """Raw pixels (n, 2) of the camera as pixels (n, 2) of the target, and their reasons (n).

        Exact, in double precision. A point without an answer is NaN.
        """
        return _core.points_to_view(*self._cameras(), points)

    def points_from_view(self, points: npt.ArrayLike) -> tuple[Floats, Bytes]:
        """Pixels (n, 2) of the target as raw pixels (n, 2) of the camera, and their reasons (n):
        what the map holds, at any place."""
        return _core.points_from_view(*self._cameras(), points)

    def _cameras(self) -> tuple[Camera, View]:
        if self.camera is None or self.view is None:
            raise ValueError("this map does not know its camera and view")
        return self.camera, self.view


def remap(image: Image, through: Map | Sequence[Plane], out: Image | None = None) -> Image:
    """Samples an image at the positions of a map, bilinearly; without a source: 0.

    Args:
        image: uint8 (rows, columns) or (rows, columns, 3 or 4), or uint16 (rows, columns), of
            the camera that the map was made for. Rows may have gaps between them, so a part of
            an image will do; it is not copied.
        through: a map, or its planes x and y, float32.
        out: receives the result: of the image's kind and the map's size; not the image itself.

    Returns:
        out, or a new image.
    """
    x, y = through
    return _core.remap(image, x, y, out)


class RemapPlan:
    """A map compiled for uint8 images of one shape: several times as fast as :func:`remap`.

    A pixel differs by at most one grey level from its exact bilinear value. Making a plan takes
    about as long as 15 images. It never changes; several threads may use it at once.
    """

    def __init__(
        self,
        through: Map | Sequence[Plane],
        shape: tuple[int, ...],
        *,
        gains: Plane | None = None,
        border: int | Sequence[int] = 0,
        stride: int = 0,
    ) -> None:
        """
        Args:
            through: a map, or its planes x and y; not needed afterwards.
            shape: of the source images: (rows, columns) or (rows, columns, 3 or 4).
            gains: float32 (rows, columns) of the source: each pixel is multiplied by its gain in
                the same pass.
            border: for pixels without a source, 0 to 255; one for each channel, or one for all.
            stride: of the source images, bytes from row to row; 0: without gaps.
        """
        x, y = through
        channels = [border] * 4 if isinstance(border, int) else list(border)
        self._plan = _core.RemapPlan(x, y, list(shape), stride, gains, channels)

    @property
    def size(self) -> tuple[int, int]:
        """(width, height) of the target, pixels."""
        return self._plan.size

    @property
    def memory(self) -> int:
        """Bytes that the plan takes."""
        return self._plan.memory

    def apply(self, image: Image, out: Image | None = None) -> Image:
        """One image: of the shape and stride that the plan was made for."""
        return self.apply_all([self], [image], None if out is None else [out])[0]

    @staticmethod
    def apply_all(
        plans: Sequence[RemapPlan], images: Sequence[Image], outs: Sequence[Image] | None = None
    ) -> list[Image]:
        """One image through each of up to 16 plans, as one piece of work: both cameras of a pair
        take less than two calls."""
        return _core.apply_all([p._plan for p in plans], list(images), list(outs or []))
