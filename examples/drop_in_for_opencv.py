#!/usr/bin/env python3
"""The same rectification by OpenCV and by Rectiline: times, and what differs.

    python3 examples/drop_in_for_opencv.py RIG

Both turn the pair alike; they choose focal length and principal point by rules of their own, so
Rectiline is given OpenCV's here, and then makes the same maps.
"""

from __future__ import annotations

import sys
import time
from collections.abc import Callable
from statistics import median
from typing import Any

import cv2
import numpy as np

import rectiline


def by_opencv(rig: rectiline.Rig) -> tuple[Any, ...]:
    """R1, R2, P1, P2, Q and both maps."""
    left, right = rig.cameras
    if left.model == "FISHEYE_4_PARAMETERS":
        module, flags = cv2.fisheye, {"flags": cv2.fisheye.CALIB_ZERO_DISPARITY}
    else:
        module, flags = cv2, {"flags": cv2.CALIB_ZERO_DISPARITY}
    R = right.R @ left.R.T
    t = right.t - R @ left.t
    R1, R2, P1, P2, Q = module.stereoRectify(
        left.K, left.D, right.K, right.D, left.size, R, t, **flags
    )[:5]
    maps = [
        module.initUndistortRectifyMap(c.K, c.D, R, P[:, :3], left.size, cv2.CV_32FC1)
        for c, R, P in ((left, R1, P1), (right, R2, P2))
    ]
    return R1, R2, P1, P2, Q, maps


def by_rectiline(rig: rectiline.Rig, P1: Any) -> rectiline.Rectified:
    """The maps into views with OpenCV's focal length and principal point."""
    return rig.rectify(focal_length=P1[0, 0], principal_point=(P1[0, 2], P1[1, 2]))


def milliseconds(work: Callable[[], object]) -> float:
    times = []
    for _ in range(15):
        start = time.perf_counter()
        work()
        times.append(1000 * (time.perf_counter() - start))
    return median(times)


def main() -> None:
    rig = rectiline.Rig.load(sys.argv[1])
    R1, R2, P1, P2, Q, maps = by_opencv(rig)
    ours = by_rectiline(rig, P1)
    baselines = -P2[0, 3] / P2[0, 0], ours.baseline
    angle = np.degrees(np.linalg.norm(cv2.Rodrigues(R1 @ ours.R1.T)[0]))
    turn = np.degrees(np.linalg.norm(cv2.Rodrigues(R1 @ R2.T @ (ours.R1 @ ours.R2.T).T)[0]))
    print(f"baseline          {baselines[0]:.9f} m and {baselines[1]:.9f} m")
    print(f"turn of the pair  differs by {turn:.9f} degrees")
    print(f"views             differ by {angle:.9f} degrees")
    print(f"depth constant    {-P2[0, 3]:.6f} and {ours.depth_constant:.6f}")
    for name, theirs, made in zip(("left", "right"), maps, (ours.left, ours.right)):
        both = made.x >= 0
        difference = max(np.abs(a - b)[both].max() for a, b in zip(theirs, made))
        print(f"{name} map{'':{10 - len(name)}}    differs by at most {difference:.5f} pixels")
    theirs_ms = milliseconds(lambda: by_opencv(rig))
    ours_ms = milliseconds(lambda: by_rectiline(rig, P1))
    print(
        f"time              {theirs_ms:.2f} ms and {ours_ms:.2f} ms: ratio {theirs_ms / ours_ms:.1f}"
    )


if __name__ == "__main__":
    main()
