"""The pictures show what they are of."""

from __future__ import annotations

import subprocess
import sys

import numpy as np

import rectiline
from conftest import Scene


def test_the_package_does_not_import_matplotlib() -> None:
    code = "import rectiline.plot, sys; sys.exit('matplotlib' in sys.modules)"
    assert subprocess.run([sys.executable, "-c", code]).returncode == 0


def test_pictures(rig: rectiline.Rig, fisheye: rectiline.Rig, scene: Scene) -> None:
    from rectiline import plot

    rectified = rig.rectify()
    left, right = rectified.remap(scene.left, scene.right)
    picture = plot.rows(left, right, spacing=100).images[0].get_array()
    np.testing.assert_array_equal(picture, np.hstack([left, right]))

    axes = plot.reasons(rectified.left)
    shown = axes.images[0].get_array()
    reasons = rectified.left.reasons
    assert reasons is not None and len(np.unique(shown.reshape(-1, 3), axis=0)) == len(
        np.unique(reasons)
    )
    texts = [text.get_text() for text in axes.get_legend().get_texts()]
    assert len(texts) == len(np.unique(reasons)) and any("outside image" in t for t in texts)

    curve = plot.distortion(fisheye.cameras[0]).lines[0].get_xydata()
    at_60 = curve[np.isclose(curve[:, 0], 60)][0, 1]
    per_radian = at_60 / np.radians(60)
    assert abs(per_radian / fisheye.cameras[0].K[0, 0] - 1) < 0.05  # nearly equidistant

    scale = plot.magnification(rectified.left).images[0].get_array()
    report = rectified.left.report()
    assert report.least_magnification <= np.nanmin(scale)
    assert np.nanmax(scale) <= report.greatest_magnification

    result = rig.check(scene.left, scene.right)
    dots = plot.row_error(result).collections[0]
    assert len(dots.get_offsets()) == result.matches > 100
