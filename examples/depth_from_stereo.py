#!/usr/bin/env python3
"""From a calibration and a raw stereo pair to a depth map and a cloud of points.

    python3 examples/depth_from_stereo.py RIG LEFT RIGHT -o DIRECTORY

writes depth.npy (float32, metres, of the rectified left image, NaN where there is none) and
points.ply (metres, in the frame of the raw left camera, with their grey levels). With --truth,
16-bit millimetres along the raw left camera's axis as `rectiline render` draws them, the error of
the depth is printed, too. Matching is OpenCV's.
"""

from __future__ import annotations

import argparse
from pathlib import Path

import cv2
import numpy as np
import numpy.typing as npt

import rectiline

Array = npt.NDArray[np.float64]
Grey = npt.NDArray[np.uint8]


def match(left: Grey, right: Grey, disparities: int) -> Array:
    """Disparities of the left image, pixels; negative where there is none."""
    block = 5
    matcher = cv2.StereoSGBM_create(
        minDisparity=0,
        numDisparities=disparities,
        blockSize=block,
        P1=8 * block**2,
        P2=32 * block**2,
        disp12MaxDiff=1,
        uniquenessRatio=10,
        speckleWindowSize=100,
        speckleRange=2,
    )
    units_per_pixel = 16
    return np.asarray(matcher.compute(left, right), np.float64) / units_per_pixel


def write_ply(path: Path, points: Array, grey: Grey) -> None:
    """Binary, a colour for each point."""
    vertices = np.empty(len(points), [("xyz", "<f4", 3), ("rgb", "u1", 3)])
    vertices["xyz"] = points
    vertices["rgb"] = grey[:, None]
    properties = [f"property float {c}" for c in "xyz"]
    properties += [f"property uchar {c}" for c in ("red", "green", "blue")]
    header = ["ply", "format binary_little_endian 1.0", f"element vertex {len(points)}"]
    text = "\n".join([*header, *properties, "end_header\n"])
    path.write_bytes(text.encode() + vertices.tobytes())


def depth_errors(rectified: rectiline.Rectified, points: Array, truth: Array) -> Array:
    """Relative errors of the points' depths along the raw left camera's axis."""
    seen = ~np.isnan(points[..., 2])
    height, width = truth.shape
    rows = np.rint(rectified.left.y[seen]).astype(int).clip(0, height - 1)
    columns = np.rint(rectified.left.x[seen]).astype(int).clip(0, width - 1)
    true_depths = truth[rows, columns]
    errors = points[seen][:, 2] / true_depths - 1
    return np.asarray(errors[np.isfinite(errors)])


def main() -> None:
    parser = argparse.ArgumentParser(description=(__doc__ or "").splitlines()[0])
    parser.add_argument("rig")
    parser.add_argument("left")
    parser.add_argument("right")
    parser.add_argument("-o", "--output", type=Path, required=True)
    parser.add_argument("--truth")
    parser.add_argument("--disparities", type=int, default=128, help="a multiple of 16")
    arguments = parser.parse_args()

    rig = rectiline.Rig.load(arguments.rig)
    raw = [cv2.imread(file, cv2.IMREAD_GRAYSCALE) for file in (arguments.left, arguments.right)]
    if any(image is None for image in raw):
        parser.error("an image cannot be read")
    rectified = rig.rectify()
    left, right = rectified.remap(*raw)
    disparity = match(left, right, arguments.disparities)
    disparity[rectified.left.x < 0] = -1

    depth = rectified.depth(disparity)
    points = rectified.points(disparity)
    known = ~np.isnan(depth)
    arguments.output.mkdir(parents=True, exist_ok=True)
    np.save(arguments.output / "depth.npy", depth.astype(np.float32))
    write_ply(arguments.output / "points.ply", points[known], left[known])
    print(f"depth known at {known.mean():.1%} of the pixels, median {np.nanmedian(depth):.3f} m")
    if arguments.truth:
        millimetres = cv2.imread(arguments.truth, cv2.IMREAD_UNCHANGED)
        truth = np.where(millimetres > 0, millimetres / 1000.0, np.nan)
        errors = np.abs(depth_errors(rectified, points, truth))
        print(f"depth error: median {np.median(errors):.3%}, 90th {np.quantile(errors, 0.9):.3%}")


if __name__ == "__main__":
    main()
