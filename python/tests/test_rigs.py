"""Rigs from files and arrays, and back."""

from __future__ import annotations

import pickle
from pathlib import Path

import numpy as np
import pytest

import rectiline
from conftest import FISHEYE_RIG, PINHOLE_RIG


def assert_same_rig(a: rectiline.Rig, b: rectiline.Rig, tolerance: float) -> None:
    assert len(a.cameras) == len(b.cameras)
    for x, y in zip(a.cameras, b.cameras):
        assert (x.size, x.model) == (y.size, y.model)
        for name in ("K", "distortion", "R", "t"):
            np.testing.assert_allclose(getattr(x, name), getattr(y, name), atol=tolerance, rtol=0)


@pytest.mark.parametrize("format", ["rectiline", "kalibr", "opencv", "ros", "basalt", "colmap"])
@pytest.mark.parametrize("path", [PINHOLE_RIG, FISHEYE_RIG], ids=["pinhole", "fisheye"])
def test_what_is_saved_loads_back_equal(path: Path, format: str, tmp_path: Path) -> None:
    if format == "opencv" and path == FISHEYE_RIG:
        format = "opencv-fisheye"
    rig = rectiline.Rig.load(path)
    with pytest.MonkeyPatch.context() as patch:
        patch.setattr("warnings.warn", lambda *a, **k: None)  # notes on what is to be filled in
        files = rig.save(tmp_path, format, lossy=path == FISHEYE_RIG)  # the range of its lens
    back = rectiline.Rig.load(files, from_=format, size=rig.cameras[0].size)
    assert back.format == format
    # The library's own format has eight digits.
    assert_same_rig(back, rig, 1e-6 if format == "rectiline" else 1e-12)


def test_arrays_make_the_rig_that_they_are_of(rig: rectiline.Rig, fisheye: rectiline.Rig) -> None:
    for whole, model in ((rig, "opencv"), (fisheye, "opencv-fisheye")):
        left, right = whole.cameras
        K, D = [left.K, right.K], [left.D, right.D]
        of_pair = rectiline.Rig.from_arrays(K, D, right.R, right.t[:, None], model, left.size)
        poses = [left.R, right.R], [left.t, right.t]
        of_each = rectiline.Rig.from_arrays(K, D, *poses, model=[model] * 2, size=[left.size] * 2)
        own = [c.distortion for c in whole.cameras]
        by_name = rectiline.Rig.from_arrays(K, own, *poses, left.model, left.size)
        for made in (of_pair, of_each, by_name):
            assert_same_rig(made, whole, 1e-12)
        assert [c.name for c in of_pair.cameras] == ["left", "right"]
    # OpenCV's order is k1 k2 p1 p2 k3, the record's k0 to k5, p1, p2.
    k = rig.cameras[0].distortion
    np.testing.assert_array_equal(rig.cameras[0].D, [k[0], k[1], k[6], k[7], k[2]])


def test_a_rig_survives_pickling(rig: rectiline.Rig) -> None:
    assert_same_rig(pickle.loads(pickle.dumps(rig)), rig, 0)
    view = rig.rectify().left.view
    assert view is not None and pickle.loads(pickle.dumps(view)).fx == view.fx


def test_reading_takes_the_options_of_the_command(rig: rectiline.Rig, tmp_path: Path) -> None:
    (file,) = rig.save(tmp_path / "rig.yaml", "kalibr")
    swapped = rectiline.Rig.load(file, pair="cam1,cam0")
    np.testing.assert_allclose(swapped.cameras[0].K, rig.cameras[1].K)
    half = rectiline.Rig.load(file, image_size=(376, 240))
    assert half.cameras[0].size == (376, 240)
    np.testing.assert_allclose(half.cameras[0].K[0, 0] * 2, rig.cameras[0].K[0, 0])
    millimetres = rectiline.Rig.load(file, scale="mm")
    np.testing.assert_allclose(millimetres.cameras[1].t * 1000, rig.cameras[1].t)
    with pytest.raises(rectiline.Error, match="fov") as raised:
        rectiline.Rig.load(file, from_="nothing")
    assert raised.value.status == rectiline.Status.BAD_ARGUMENT


def test_a_bad_file_is_refused_with_its_place(tmp_path: Path) -> None:
    file = tmp_path / "chain.yaml"
    file.write_text("cam0:\n  camera_model: pinhole\n  intrinsics: [1, 2, 3]\n")
    with pytest.raises(rectiline.Error, match="chain.yaml") as raised:
        rectiline.Rig.load(file)
    assert raised.value.status == rectiline.Status.BAD_FILE
    assert (raised.value.camera, raised.value.field) == ("cam0", "cam0.intrinsics")


@pytest.mark.parametrize(
    "change, field",
    [
        ({"K": np.zeros((2, 3, 2))}, "K"),
        ({"K": np.ones((2, 3, 3))}, "K"),
        ({"D": [np.zeros(3)] * 2}, "D"),
        ({"D": [np.array([0, 0, 0, 0, 0, 0, 0, 0, 0.1, 0, 0, 0])] * 2}, "D"),
        ({"D": [np.zeros(5)]}, "D"),
        ({"R": -np.eye(3)}, "R"),
        ({"R": np.ones((3, 3))}, "R"),
        ({"t": np.zeros(2)}, "t"),
        ({"model": "fisheye"}, "model"),
        ({"model": "RADIAL_2_PARAMETERS"}, "D"),
        ({"size": (0, 480)}, "size"),
        ({"size": "640x480"}, "size"),
        ({"names": ["n" * 64, "right"]}, "name"),
    ],
)
def test_arrays_of_no_rig_are_refused(change: dict[str, object], field: str) -> None:
    K = np.array([[500.0, 0, 320], [0, 500, 240], [0, 0, 1]])
    good: dict[str, object] = dict(
        K=[K, K], D=[np.zeros(5)] * 2, R=np.eye(3), t=[-0.1, 0, 0], model="opencv", size=(640, 480)
    )
    rectiline.Rig.from_arrays(**good)
    with pytest.raises(rectiline.Error, match=field) as raised:
        rectiline.Rig.from_arrays(**(good | change))
    assert raised.value.field == field
