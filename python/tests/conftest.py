"""What the tests share: rigs, and a rendered pair with its true depth."""

from __future__ import annotations

import os
import subprocess
from pathlib import Path
from typing import NamedTuple

import cv2
import numpy as np
import numpy.typing as npt
import pytest

import rectiline

SOURCE = Path(__file__).resolve().parents[2]
RIGS = SOURCE / "examples" / "rigs"
PINHOLE_RIG = RIGS / "radtan_752x480.rig.xml"
FISHEYE_RIG = RIGS / "fisheye_512x512.rig.xml"


class Scene(NamedTuple):
    """What `rectiline render` draws: raw images, and the depth along the raw left camera's axis."""

    folder: Path
    left: npt.NDArray[np.uint8]
    right: npt.NDArray[np.uint8]
    depth: npt.NDArray[np.float64]  # metres; NaN where there is none


@pytest.fixture(scope="session")
def rig() -> rectiline.Rig:
    return rectiline.Rig.load(PINHOLE_RIG)


@pytest.fixture(scope="session")
def fisheye() -> rectiline.Rig:
    return rectiline.Rig.load(FISHEYE_RIG)


@pytest.fixture(scope="session")
def scene(tmp_path_factory: pytest.TempPathFactory) -> Scene:
    command = os.environ.get("RECTILINE_COMMAND")
    if not command:
        pytest.skip("RECTILINE_COMMAND does not name the command that renders")
    folder = tmp_path_factory.mktemp("scene")
    subprocess.run([command, "render", PINHOLE_RIG, "-o", folder, "--force"], check=True)
    millimetres = cv2.imread(str(folder / "left_depth_mm.png"), cv2.IMREAD_UNCHANGED)
    depth = np.where(millimetres > 0, millimetres / 1000.0, np.nan)
    left, right = (
        cv2.imread(str(folder / f"{side}.png"), cv2.IMREAD_GRAYSCALE) for side in ("left", "right")
    )
    return Scene(folder, left, right, depth)
