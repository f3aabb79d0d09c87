"""Maps and what comes with them, against OpenCV and against the exact formulas."""

from __future__ import annotations

import cv2
import numpy as np
import pytest

import rectiline


@pytest.mark.parametrize("name", ["rig", "fisheye"])
def test_maps_and_matrices_agree_with_opencv(name: str, request: pytest.FixtureRequest) -> None:
    rig: rectiline.Rig = request.getfixturevalue(name)
    rectified = rig.rectify()
    module = cv2 if name == "rig" else cv2.fisheye
    for camera, ours, R, P in (
        (rig.cameras[0], rectified.left, rectified.R1, rectified.P1),
        (rig.cameras[1], rectified.right, rectified.R2, rectified.P2),
    ):
        P = P[:, :3]
        x, y = module.initUndistortRectifyMap(
            camera.K, camera.D, R, P, rectified.size, cv2.CV_32FC1
        )
        has_source = ours.x >= 0
        assert has_source.mean() > 0.5
        assert np.abs(ours.x - x)[has_source].max() < 0.01
        assert np.abs(ours.y - y)[has_source].max() < 0.01
        assert ours.reasons is not None
        np.testing.assert_array_equal(
            has_source, ours.reasons <= rectiline.Reason.OK_PAST_LAST_CENTRE
        )
    f, baseline = rectified.P1[0, 0], np.linalg.norm(rig.cameras[1].t)
    assert rectified.baseline == pytest.approx(baseline)
    assert rectified.depth_constant == pytest.approx(f * baseline)
    assert rectified.Q[3, 2] * baseline == pytest.approx(1)
    np.testing.assert_allclose(
        rectified.depth([[8.0, 0.0]]), [[rectified.depth_constant / 8, np.nan]]
    )


def test_certificate_and_report(rig: rectiline.Rig) -> None:
    rectified = rig.rectify(coverage="valid")
    assert rectified.left_share == rectified.right_share == 1
    assert rectified.valid == (0, 0, *rectified.size)
    certificate = rectified.certificate
    assert certificate.points > 1000
    assert certificate.max_row_error < 0.001 and certificate.max_map_error_left < 0.01
    report = rectified.left.report()
    assert report.pixels == report.pixels_with_source == 752 * 480
    assert report.folded_pixels == report.broken_pixels == 0
    # A map that is off is found to be off: nothing that made it is trusted.
    rectified.left.y[100:140, 100:140] += 0.5
    del rectified.__dict__["certificate"]
    assert rectified.certificate.max_map_error_left == pytest.approx(0.5, abs=0.01)
    assert rectiline.certify_camera(rig.cameras[0]).max_distortion_error < 0.01


def test_options_reach_the_views(rig: rectiline.Rig, fisheye: rectiline.Rig) -> None:
    made = rig.rectify(size=(400, 300), focal_length=200, principal_point=(190, 140))
    view = made.right.view
    assert view is not None
    assert (made.size, view.size, view.fx, view.cx, view.cy) == ((400, 300),) * 2 + (200, 190, 140)
    wide = rig.rectify(field_of_view=1.5).left.view
    assert wide is not None and 2 * np.arctan(wide.size[0] / 2 / wide.fx) == pytest.approx(
        1.5, abs=0.01
    )
    whole, between, valid = (rig.rectify(coverage=c).left_share for c in ("whole", 0.5, "valid"))
    assert whole < between < valid == 1
    with pytest.warns(rectiline.CalibrationWarning, match="swapped"):
        swapped = rig.rectify(cameras=(1, 0))
    assert swapped.cameras == (1, 0) and swapped.disparity_sign == -1 and swapped.depth_constant < 0
    outside = rig.rectify(keep_outside=True).left
    assert outside.reasons is not None
    kept = outside.reasons == rectiline.Reason.OUTSIDE_IMAGE
    assert kept.any() and (outside.x[kept] != -1).any()
    panorama = fisheye.rectify(projection="latlon")
    assert np.isnan(panorama.depth_constant) and np.isnan(panorama.Q).any()


def test_points_follow_maps_and_rays(rig: rectiline.Rig) -> None:
    rectified = rig.rectify()
    targets = np.array([[300.0, 200], [400, 250], [100, 400]])
    raw, reasons = rectified.right.points_from_view(targets)
    assert (reasons <= rectiline.Reason.OK_PAST_LAST_CENTRE).all()
    columns, rows = targets.astype(int).T
    held = [rectified.right.x[rows, columns], rectified.right.y[rows, columns]]
    np.testing.assert_allclose(raw.T, held, atol=0.01)
    back, _ = rectified.rectify_points(raw, "right")
    np.testing.assert_allclose(back, targets, atol=1e-9)
    rays, _ = rig.cameras[1].points_to_rays(raw.tolist())
    np.testing.assert_allclose(np.linalg.norm(rays, axis=1), 1)
    np.testing.assert_allclose(rig.cameras[1].rays_to_points(rays * 7)[0], raw, atol=1e-9)
    behind, why = rig.cameras[0].rays_to_points([[0, 0, -1.0]])
    assert np.isnan(behind).all() and why[0] == rectiline.Reason.BEHIND_CAMERA


def test_a_point_has_its_range_in_latitude_longitude(fisheye: rectiline.Rig) -> None:
    made = fisheye.rectify(projection="latlon")
    left, right = fisheye.cameras
    point = np.array([0.4, -0.3, 1.5])
    raw = [camera.rays_to_points([camera.R @ point + camera.t])[0] for camera in (left, right)]
    seen = [made.rectify_points(p, side)[0] for p, side in zip(raw, ("left", "right"))]
    assert seen[0][0, 1] == pytest.approx(seen[1][0, 1], abs=1e-6)
    ranges = made.range_from_columns(seen[0][:, 0], seen[1][:, 0])
    assert ranges[0] == pytest.approx(np.linalg.norm(point), rel=1e-6)


def test_single_cameras_and_other_rigs(rig: rectiline.Rig) -> None:
    left = rig.cameras[0]
    alone = rig.undistort(0, focal_length=300)
    assert alone.view is not None and alone.view.fx == 300 and alone.size == left.size
    linear = rig.linear(sizes=[[400, 300]] * 2)
    assert [c.model for c in linear.cameras] == ["LINEAR"] * 2
    maps = rig.calibration_maps(linear, vignetting=True)
    target = linear.cameras[0]
    x, y = cv2.initUndistortRectifyMap(
        left.K, left.D, np.eye(3), target.K, target.size, cv2.CV_32FC1
    )
    known = maps[0].forward.x >= 0
    assert known.mean() > 0.5 and np.abs(maps[0].forward.x - x)[known].max() < 0.01
    assert np.abs(maps[0].forward.y - y)[known].max() < 0.01
    row, column = 150, 200
    there = maps[0].forward.x[row, column], maps[0].forward.y[row, column]
    assert maps[0].inverse.x[round(there[1]), round(there[0])] == pytest.approx(column, abs=1)
    assert maps[0].gains is not None and maps[0].gains.shape == left.size[::-1]
    # Eyes that are the cameras see what the cameras see.
    seen = rig.see_through(rig, np.inf)[0]
    ok = seen.x >= 0
    assert ok.mean() > 0.5 and np.abs(seen.x - np.arange(752)[None, :])[ok].max() < 0.01


def test_what_looks_wrong_is_a_python_warning(rig: rectiline.Rig) -> None:
    left, right = rig.cameras
    K, D = [left.K, right.K], [left.D, right.D]
    in_millimetres = rectiline.Rig.from_arrays(K, D, right.R, right.t * 1000, "opencv", left.size)
    with pytest.warns(rectiline.CalibrationWarning, match="baseline") as given:
        rectified = in_millimetres.rectify()
    warning = given[0].message
    assert isinstance(warning, rectiline.CalibrationWarning)
    assert warning.code == rectiline.WarningCode.LONG_BASELINE
    assert warning.value == pytest.approx(rectified.baseline) and rectified.warnings == (warning,)


def test_what_cannot_be_done_is_refused_in_a_sentence(rig: rectiline.Rig) -> None:
    left = rig.cameras[0]
    same = rectiline.Rig.from_cameras([left, left])
    alone = rectiline.Rig.from_cameras([left])
    for call, status, field in (
        (lambda: same.rectify(), "SAME_PLACE", None),
        (lambda: alone.rectify(), "BAD_ARGUMENT", "rig"),
        (lambda: rig.rectify(focal_length=-1), "BAD_ARGUMENT", "options.focal_length"),
        (lambda: rig.rectify(focal_length=300, coverage="whole"), "BAD_ARGUMENT", None),
        (lambda: rig.rectify(size=(10**10, 3)), "BAD_ARGUMENT", "size"),
        (lambda: rig.rectify(cameras=(0, 3)), "BAD_ARGUMENT", "options.right_camera"),
        (lambda: rig.rectify(coverage="all"), "BAD_ARGUMENT", "coverage"),
        (lambda: rig.undistort(2), "BAD_ARGUMENT", "camera"),
        (lambda: rig.linear(intrinsics=[1.0, 2.0]), "BAD_ARGUMENT", "intrinsics"),
        (lambda: rig.see_through(rig, -1), "BAD_ARGUMENT", "plane_distance"),
        (lambda: rig.calibration_maps(alone), "BAD_ARGUMENT", "target"),
        (lambda: rectiline.Rig.from_cameras([]), "BAD_ARGUMENT", "cameras"),
    ):
        with pytest.raises(rectiline.Error) as raised:
            call()
        assert raised.value.status == rectiline.Status[status], raised.value
        assert field in (None, raised.value.field) and len(str(raised.value)) > 15
