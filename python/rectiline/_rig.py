"""Rigs of cameras, and what is made of them."""

from __future__ import annotations

import os
import warnings
from collections.abc import Iterable, Sequence
from pathlib import Path
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _core
from ._arguments import (
    Coverage,
    Projection,
    Size,
    array,
    numbers_of_each,
    optional_size,
    pair_of_indices,
    poses_of_each,
    required_size,
    sizes_of_each,
    view_options,
)
from ._check import CheckResult, check
from ._core import Camera
from ._errors import CalibrationWarning, Error
from ._maps import Image, Map
from ._rectified import CalibrationMaps, Rectified

FilePath = str | os.PathLike[str]


class Rig:
    """One to six cameras, and how they lie to each other. Never changed once made.

    Attributes:
        cameras: of the rig, in order; camera 0 is the reference frame of what is read from files.
        format: the word for the format that it was read from; empty: none.
        notes: sentences on what was ignored or assumed when it was read.
        has_poses: False when nothing says how several cameras lie to each other.
    """

    def __init__(self, core: _core.Rig) -> None:
        """For the functions of this package: use load(), from_arrays() or from_cameras()."""
        self._core = core
        self.cameras: tuple[Camera, ...] = tuple(core.cameras)
        self.format: str = core.format
        self.notes: tuple[str, ...] = tuple(core.notes)
        self.has_poses: bool = core.has_poses

    def __repr__(self) -> str:
        return f"<rectiline.Rig {', '.join(map(repr, self.cameras))}>"

    def __reduce__(self) -> tuple[type[Rig], tuple[_core.Rig]]:
        return Rig, (self._core,)

    @staticmethod
    def load(
        path: FilePath | Sequence[FilePath],
        *,
        from_: str | None = None,
        pair: str = "",
        size: Size | None = None,
        scale: str | float | None = None,
        image_size: Size | None = None,
        fit: bool = False,
    ) -> Rig:
        """Reads the calibration of another program, or a rig file.

        Args:
            path: one file; or the files of one rig, as a list or as text with commas between
                them.
            from_: its format, as "kalibr", where its content does not tell.
            pair: cameras to take, "left,right" by name or index; empty: all of them.
            size: (width, height) of the calibrated images, for files that do not say it.
            scale: unit of its translations: "mm", "cm", "m" or a number of metres.
            image_size: (width, height) of images that were scaled from the calibrated size.
            fit: take the closest lens model for one that cannot be had.

        Raises:
            Error: in one sentence, with file, camera and field.
        """
        if isinstance(path, str):
            files = path.split(",")
        else:
            files = [os.fspath(p) for p in ([path] if isinstance(path, os.PathLike) else path)]
        unit = None if scale is None else str(scale)
        return Rig(
            _core.load(
                files, from_, pair, optional_size(size), unit, optional_size(image_size), fit
            )
        )

    @staticmethod
    def from_arrays(
        K: npt.ArrayLike,
        D: npt.ArrayLike,
        R: npt.ArrayLike,
        t: npt.ArrayLike,
        model: str | Sequence[str],
        size: Size | Sequence[Size],
        names: Sequence[str] = (),
    ) -> Rig:
        """A rig from matrices.

        Args:
            K: (n, 3, 3): a camera matrix for each camera, pixels.
            D: n vectors of coefficients.
            R, t: for each camera (n, 3, 3) and (n, 3): x_camera = R x_rig + t, metres. Or, of a
                pair, one R (3, 3) and t (3,) or (3, 1): x_right = R x_left + t, as OpenCV's
                stereoCalibrate gives them.
            model: "opencv": D holds k1 k2 p1 p2 (k3 (k4 k5 k6)); "opencv-fisheye": k1 k2 k3 k4;
                or the library's name of a lens model, then D holds k0 to k5, p1, p2. One for all
                cameras, or one for each.
            size: (width, height) of the images; one for all cameras, or one for each.
            names: of the cameras; "left" and "right", or "camera0" and so on, when empty.
        """
        matrices = list(array(K, "K"))
        count = len(matrices)
        rotations, translations = poses_of_each(array(R, "R"), array(t, "t"), count)
        coefficients = [D] if count == 1 and np.ndim(D) == 1 else list(D)  # type: ignore[arg-type]
        models = [model] * count if isinstance(model, str) else list(model)
        sizes: list[Any] = [size] * count if np.ndim(size) == 1 else list(size)
        default = ["left", "right"] if count == 2 else [f"camera{i}" for i in range(count)]
        labels = list(names) or default
        each: tuple[list[Any], ...] = (
            labels,
            sizes,
            matrices,
            coefficients,
            models,
            rotations,
            translations,
        )
        for name, values in zip(("names", "size", "K", "D", "model", "R", "t"), each):
            if len(values) != count:
                raise Error(f"{name}: expected one for each of {count} cameras", field=name)
        return Rig.from_cameras(
            _core.make_camera(name, required_size(of_size), *lens_and_pose)
            for name, of_size, *lens_and_pose in zip(*each)
        )

    @staticmethod
    def from_cameras(cameras: Iterable[Camera]) -> Rig:
        """A rig of cameras whose poses are in one frame, as those of another rig."""
        return Rig(_core.from_cameras(list(cameras)))

    def save(self, path: FilePath, format: str = "rectiline", *, lossy: bool = False) -> list[Path]:
        """Writes the rig in a format that can be written: rectiline, kalibr, opencv,
        opencv-fisheye, ros, basalt or colmap.

        Args:
            path: a file; or a directory, for a format of several files or when it is one.
            lossy: leave out what the format cannot hold, and take its closest lens model.

        Returns:
            the files. What was left out is a CalibrationWarning's sentence.
        """
        files, notes = _core.written(self._core, format, lossy)
        target = Path(path)
        if len(files) > 1:
            target.mkdir(exist_ok=True)
        paths = [target / name if target.is_dir() else target for name, _ in files]
        for file, (_, text) in zip(paths, files):
            file.write_text(text, encoding="utf-8")
        for note in notes:
            warnings.warn(note, UserWarning, stacklevel=2)
        return paths

    def rectify(
        self,
        *,
        cameras: tuple[int, int] = (0, 1),
        size: Size | None = None,
        focal_length: float | None = None,
        field_of_view: float | None = None,
        coverage: Coverage | None = None,
        principal_point: tuple[float, float] | None = None,
        projection: Projection = "pinhole",
        keep_outside: bool = False,
    ) -> Rectified:
        """Rectifies two cameras: the maps, and what turns disparity into depth.

        The virtual cameras stand where the real ones do, are turned half-way towards each other
        and then so that the baseline lies along an image axis. Without arguments: pinhole views
        of the left camera's size.

        Args:
            cameras: indices of the left and the right camera.
            size: (width, height) of the rectified images, pixels; the left camera's.
            focal_length: pixels (latitude-longitude: pixels per radian).
            field_of_view: across the width, radians.
            coverage: "valid": no pixel without a source, in either image; "whole": all of both
                images; or 0 to 1 in between. At most one of these last three may be given.
            principal_point: (cx, cy), pixels.
            projection: "latlon" is for lenses near and beyond 180 degrees.
            keep_outside: keep positions outside the source image in the maps.

        Raises:
            Error: a bad argument or camera, cameras at one place, a baseline along the view, or
                a coverage that cannot be had.
        """
        options = view_options(
            size, focal_length, field_of_view, coverage, principal_point, projection, keep_outside
        )
        options.left_camera, options.right_camera = pair_of_indices(cameras)
        left, right, claim, facts, found = _core.rectify(self._core, options)
        indices = facts["cameras"]
        complaints = tuple(
            CalibrationWarning(text, code, camera if camera >= 0 else None, value)
            for code, camera, value, text in found
        )
        for complaint in complaints:
            warnings.warn(complaint, stacklevel=2)
        return Rectified(
            rig=self,
            left=Map(*left, camera=self.cameras[indices[0]], view=claim.left),
            right=Map(*right, camera=self.cameras[indices[1]], view=claim.right),
            warnings=complaints,
            _claim=claim,
            **facts,
        )

    def undistort(
        self,
        camera: int = 0,
        *,
        size: Size | None = None,
        focal_length: float | None = None,
        field_of_view: float | None = None,
        coverage: Coverage | None = None,
        principal_point: tuple[float, float] | None = None,
        projection: Projection = "pinhole",
        keep_outside: bool = False,
    ) -> Map:
        """The map of one camera to a virtual camera of the same orientation.

        Without arguments: a pinhole of the camera's own size and principal point with the focal
        length that the lens has at its centre. Arguments as for rectify().
        """
        options = view_options(
            size, focal_length, field_of_view, coverage, principal_point, projection, keep_outside
        )
        chosen = self._camera(camera)
        planes, view = _core.undistort(chosen, options)
        return Map(*planes, camera=chosen, view=view)

    def linear(
        self,
        *,
        largest: bool = True,
        sizes: npt.ArrayLike | None = None,
        intrinsics: npt.ArrayLike | None = None,
    ) -> Rig:
        """The same rig with pinhole cameras: the target of calibration_maps().

        Args:
            largest: choose the focal length so that the whole height of the undistorted centre
                column stays visible; False: keep that of the lens.
            sizes: (n, 2): width and height of each camera, pixels; the intrinsics scale with it.
            intrinsics: (n, 4): fx, fy, cx, cy of each camera, pixels.
        """
        return Rig(
            _core.linear(self._core, largest, sizes_of_each(sizes), numbers_of_each(intrinsics))
        )

    def calibration_maps(
        self,
        target: Rig,
        *,
        keep_outside: bool = False,
        vignetting: bool = False,
        rotations: npt.ArrayLike | None = None,
    ) -> list[CalibrationMaps]:
        """Maps from each camera of this rig to the camera of another rig at the same place.

        Args:
            vignetting: the gains of the fixed radial fall-off, too.
            rotations: (n, 3): axis times angle, radians: target frame into source frame.
        """
        made = _core.calibration_maps(
            self._core, target._core, keep_outside, vignetting, numbers_of_each(rotations)
        )
        return [
            CalibrationMaps(Map(*forward, camera=source), Map(*inverse, camera=other), gains)
            for source, other, (forward, inverse, gains) in zip(self.cameras, target.cameras, made)
        ]

    def see_through(
        self, eyes: Rig, plane_distance: float, *, keep_outside: bool = False
    ) -> tuple[Map, Map]:
        """For each eye the map that shows, at every pixel of the eye's camera, what the matching
        camera of this rig sees of a plane parallel to the eye's image.

        Args:
            eyes: two cameras, left and right, in the frame of this rig.
            plane_distance: metres in front of each eye; infinite: only the rotation counts.
        """
        left, right = _core.see_through(self._core, eyes._core, plane_distance, keep_outside)
        return Map(*left, camera=self.cameras[0]), Map(*right, camera=self.cameras[1])

    def check(
        self,
        left: Image | Sequence[Image],
        right: Image | Sequence[Image],
        *,
        cameras: tuple[int, int] = (0, 1),
        max_corners: int = 800,
    ) -> CheckResult:
        """As the function :func:`check`."""
        return check(self, left, right, cameras=cameras, max_corners=max_corners)

    def _camera(self, index: int) -> Camera:
        if not 0 <= index < len(self.cameras):
            raise Error(
                f"camera: is {index}; the rig has cameras 0 to {len(self.cameras) - 1}",
                field="camera",
            )
        return self.cameras[index]
