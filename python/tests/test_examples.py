"""The examples and the lines of README, as they are."""

from __future__ import annotations

import os
import re
import subprocess
import sys
from pathlib import Path

import cv2
import numpy as np
import pytest

import rectiline
from conftest import FISHEYE_RIG, PINHOLE_RIG, SOURCE, Scene


def run(folder: Path, *arguments: object) -> str:
    command = [sys.executable, *map(str, arguments)]
    done = subprocess.run(command, cwd=folder, env=os.environ, capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    print(done.stdout)
    return done.stdout


def numbers(text: str, pattern: str) -> list[float]:
    found = re.search(pattern, text)
    assert found, text
    return [float(group) for group in found.groups()]


def test_depth_from_stereo(scene: Scene, tmp_path: Path) -> None:
    said = run(
        tmp_path,
        SOURCE / "examples" / "depth_from_stereo.py",
        PINHOLE_RIG,
        scene.folder / "left.png",
        scene.folder / "right.png",
        "-o",
        tmp_path,
        "--truth",
        scene.folder / "left_depth_mm.png",
    )
    (known,) = numbers(said, r"known at ([\d.]+)%")
    median, most = numbers(said, r"error: median ([\d.]+)%, 90th ([\d.]+)%")
    assert known > 50 and median < 2 and most < 6
    depth = np.load(tmp_path / "depth.npy")
    header, points = (tmp_path / "points.ply").read_bytes().split(b"end_header\n", 1)
    assert f"element vertex {np.isfinite(depth).sum()}\n".encode() in header
    assert len(points) == 15 * np.isfinite(depth).sum()


@pytest.mark.parametrize("rig", [PINHOLE_RIG, FISHEYE_RIG], ids=["pinhole", "fisheye"])
def test_drop_in_for_opencv(rig: Path, tmp_path: Path) -> None:
    said = run(tmp_path, SOURCE / "examples" / "drop_in_for_opencv.py", rig)
    for pattern in (r"baseline +([\d.]+) m and ([\d.]+)", r"depth constant +([\d.]+) and ([\d.]+)"):
        theirs, ours = numbers(said, pattern)
        assert ours == pytest.approx(theirs, rel=1e-6)
    assert numbers(said, r"turn of the pair +differs by ([\d.]+)")[0] < 1e-6
    assert numbers(said, r"views +differ by ([\d.]+)")[0] < 1e-6
    for side in ("left", "right"):
        assert numbers(said, side + r" map +differs by at most ([\d.]+)")[0] < 0.01
    assert "ratio" in said


def kalibr_file(camera: rectiline.Camera, T_cam_imu: np.ndarray) -> str:
    """As a calibration of one camera with an inertial unit leaves it."""
    K = camera.K
    return f"""cam0:
  camera_model: pinhole
  distortion_model: radtan
  intrinsics: {[K[0, 0], K[1, 1], K[0, 2], K[1, 2]]}
  distortion_coeffs: {camera.D[:4].tolist()}
  resolution: {list(camera.size)}
  T_cam_imu: {T_cam_imu.tolist()}
"""


def test_readme_goes_from_two_files_and_two_images_to_depth(
    rig: rectiline.Rig, scene: Scene, tmp_path: Path
) -> None:
    block = re.search(r"```python\n(.*?)```", (SOURCE / "README.md").read_text(), re.S)
    assert block and len(block[1].strip().splitlines()) <= 10
    T_ref_imu = np.eye(4)
    T_ref_imu[:3, :3] = cv2.Rodrigues(np.array([0.2, -1.1, 0.7]))[0]
    T_ref_imu[:3, 3] = 0.02, -0.01, 0.05
    for name, camera in zip(("left", "right"), rig.cameras):
        T_cam_ref = np.eye(4)
        T_cam_ref[:3, :3], T_cam_ref[:3, 3] = camera.R, camera.t
        file = tmp_path / f"camchain-{name}.yaml"
        file.write_text(kalibr_file(camera, T_cam_ref @ T_ref_imu))
        (tmp_path / f"{name}.png").symlink_to(scene.folder / f"{name}.png")
    read = rectiline.Rig.load([tmp_path / f"camchain-{name}.yaml" for name in ("left", "right")])
    np.testing.assert_allclose(read.cameras[1].R, rig.cameras[1].R, atol=1e-12)
    np.testing.assert_allclose(read.cameras[1].t, rig.cameras[1].t, atol=1e-12)
    (tmp_path / "lines.py").write_text(block[1])
    run(tmp_path, "lines.py")
    depth = np.load(tmp_path / "depth.npy")
    assert np.isfinite(depth).mean() > 0.5
    # Most of the scene is a room of which both depths know the same middle.
    assert np.nanmedian(depth) == pytest.approx(np.nanmedian(scene.depth), rel=0.2)
