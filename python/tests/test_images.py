"""Images through maps and plans; arrays in the caller's memory."""

from __future__ import annotations

from typing import Any

import cv2
import numpy as np
import numpy.typing as npt
import pytest

import rectiline


@pytest.fixture(scope="module")
def small() -> rectiline.Map:
    """A map of 40 x 30 pixels into images of 64 x 48, some of them outside."""
    y, x = np.mgrid[0:30, 0:40].astype(np.float32)
    return rectiline.Map(x * 1.7 - y * 0.1 - 2, y * 1.6 + x * 0.05)


def noise(*shape: int, dtype: npt.DTypeLike = np.uint8) -> Any:
    return np.random.default_rng(1).integers(0, np.iinfo(dtype).max, shape, dtype)


@pytest.mark.parametrize(
    "shape, dtype",
    [((48, 64), "uint8"), ((48, 64, 3), "uint8"), ((48, 64, 4), "uint8"), ((48, 64), "uint16")],
)
def test_remap_is_bilinear_interpolation(
    small: rectiline.Map, shape: tuple[int, ...], dtype: str
) -> None:
    image = noise(*shape, dtype=dtype)
    expected = np.zeros((30, 40, *shape[2:]))
    for (row, column), x in np.ndenumerate(small.x):
        y = small.y[row, column]
        if 0 <= x <= shape[1] - 1 and 0 <= y <= shape[0] - 1:
            i, k = min(int(y), shape[0] - 2), min(int(x), shape[1] - 2)
            a, b = y - i, x - k
            above = (1 - b) * image[i, k].astype(float) + b * image[i, k + 1]
            below = (1 - b) * image[i + 1, k].astype(float) + b * image[i + 1, k + 1]
            expected[row, column] = (1 - a) * above + a * below
    made = small.remap(image)
    assert made.dtype == dtype and made.shape == expected.shape
    inside = (small.x >= 0) & (small.x <= shape[1] - 1) & (small.y <= shape[0] - 1)
    assert 0.5 < inside.mean() < 1
    levels = np.iinfo(dtype).max / 255  # weights of 16-bit images have a grain, too
    assert np.abs(made - expected)[inside].max() <= levels
    if dtype == "uint8":
        plan = rectiline.RemapPlan(small, shape, border=7)
        planned = plan.apply(image)
        assert np.abs(planned - np.round(expected))[inside].max() <= 1
        assert (planned[small.x < -1] == 7).all() and plan.size == (40, 30) and plan.memory > 4000


def test_memory_is_the_callers(small: rectiline.Map) -> None:
    frame = noise(60, 80)
    part = frame[5:53, 3:67]  # rows with gaps between them
    around = np.full((34, 50), 99, np.uint8)
    out = around[2:32, 5:45]
    assert small.remap(part, out) is out
    np.testing.assert_array_equal(out, small.remap(np.ascontiguousarray(part)))
    around[2:32, 5:45] = 99
    assert (around == 99).all()
    part_of_map = rectiline.Map(small.x[3:20, 4:30], small.y[3:20, 4:30])
    np.testing.assert_array_equal(part_of_map.remap(part), small.remap(part)[3:20, 4:30])
    plan = rectiline.RemapPlan(small, part.shape, stride=frame.strides[0])
    assert plan.apply(part, out) is out
    gains = np.full(part.shape, 0.5, np.float32)
    darker = rectiline.RemapPlan(small, part.shape, gains=gains, stride=frame.strides[0])
    both = rectiline.RemapPlan.apply_all([plan, darker], [part, part])
    assert np.abs(both[1] - both[0] / 2).max() <= 1.5
    read_only = part.copy()
    read_only.flags.writeable = False
    small.remap(read_only)


@pytest.mark.parametrize(
    "image, sentence",
    [
        ([[1, 2]], "type list"),
        (np.zeros((48, 64), np.float32), "float32"),
        (np.zeros((48, 64), ">u2"), ">u2"),
        (np.zeros((48, 64, 2), np.uint8), "64, 2"),
        (np.zeros((48, 64, 3), np.uint16), "uint16"),
        (np.zeros(64, np.uint8), "(64,)"),
        (np.zeros((0, 64), np.uint8), "(0, 64)"),
        (np.zeros((48, 128), np.uint8)[:, ::2], "gaps"),
        (np.zeros((48, 64), np.uint8)[::-1], "bottom up"),
        (np.zeros((64, 48), np.uint8).T, "gaps"),
        (np.broadcast_to(np.zeros(64, np.uint8), (48, 64)), "gaps"),
        (np.zeros(48 * 64 * 2 + 1, np.uint8)[1:].view(np.uint16).reshape(48, 64), "start"),
    ],
)
def test_an_array_that_is_no_image_gets_a_sentence(
    small: rectiline.Map, image: Any, sentence: str
) -> None:
    with pytest.raises(rectiline.Error) as raised:
        small.remap(image)
    assert sentence in str(raised.value) and raised.value.field == "image"


def test_other_arguments_get_sentences(small: rectiline.Map) -> None:
    image = noise(48, 64)
    read_only = np.zeros((30, 40), np.uint8)
    read_only.flags.writeable = False
    plan = rectiline.RemapPlan(small, image.shape)
    Map, RemapPlan = rectiline.Map, rectiline.RemapPlan
    for call, sentence in (
        (lambda: small.remap(image, read_only), "read-only"),
        (lambda: small.remap(image, np.zeros((30, 41), np.uint8)), "target"),
        (lambda: small.remap(image, np.zeros((30, 40, 3), np.uint8)), "target"),
        (lambda: small.remap(image, image[:30, :40]), "overlap"),
        (lambda: Map(small.x.astype(np.float64), small.y).remap(image), "float64"),
        (lambda: Map(small.x, small.y[:20]).remap(image), "shape and strides"),
        (lambda: RemapPlan(small, (48,)), "shape"),
        (lambda: RemapPlan(small, (48, 64, 2)), "shape"),
        (lambda: RemapPlan(small, (48, 64), border=256), "border"),
        (lambda: RemapPlan(small, (48, 64), gains=small.x), "gains"),
        (lambda: plan.apply(image[:40]), "source"),
        (lambda: plan.apply(noise(48, 64, 3)), "source"),
        (lambda: RemapPlan.apply_all([plan], []), "one image"),
        (lambda: RemapPlan.apply_all([plan] * 17, [image] * 17), "16"),
    ):
        with pytest.raises(rectiline.Error, match=sentence):
            call()


def test_points_of_another_shape_get_a_sentence(rig: rectiline.Rig) -> None:
    camera = rig.cameras[0]
    for points, found in (
        (np.zeros((4, 3)), "(4, 3)"),
        (np.zeros(2), "(2,)"),
        ([["a", "b"]], "U1"),
        (np.zeros((1, 2), complex), "complex"),
        ([[1, 2], [3]], "array"),
        (None, "object"),
    ):
        with pytest.raises((rectiline.Error)) as raised:
            camera.points_to_rays(points)
        assert found in str(raised.value)
    rays, reasons = camera.points_to_rays(np.zeros((0, 2)))
    assert rays.shape == (0, 3) and reasons.shape == (0,)
    every_other = np.zeros((10, 4), np.float32)[::2, :2] + np.float32(100)
    np.testing.assert_array_equal(
        camera.points_to_rays(every_other)[0], camera.points_to_rays(np.full((5, 2), 100.0))[0]
    )
