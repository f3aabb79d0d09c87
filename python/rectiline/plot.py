"""Pictures of rectified pairs, maps, lenses and verdicts. Needs matplotlib.

Every function draws into `ax`, or into new axes, and returns them.
"""

from __future__ import annotations

from typing import Any

import numpy as np

from ._check import CheckResult
from ._core import Camera
from ._errors import Reason
from ._maps import Floats, Image, Map

_COLOURS = {
    Reason.OK: "#d9ead3",
    Reason.OK_PAST_LAST_CENTRE: "#93c47d",
    Reason.BEHIND_CAMERA: "#674ea7",
    Reason.BEYOND_DISTORTION: "#cc0000",
    Reason.NO_INVERSE: "#f1c232",
    Reason.OUTSIDE_IMAGE: "#3d85c6",
    Reason.NOT_MADE: "#000000",
}


def _axes(ax: Any) -> Any:
    if ax is not None:
        return ax
    import matplotlib.pyplot

    return matplotlib.pyplot.subplots()[1]


def rows(left: Image, right: Image, *, spacing: int = 40, ax: Any = None) -> Any:
    """A rectified pair side by side; along each line both halves show the same points.

    Args:
        left, right: of one height; the baseline lies along the rows.
        spacing: rows from line to line.
    """
    axes = _axes(ax)
    axes.imshow(np.hstack([left, right]), cmap="gray")
    for row in range(spacing // 2, left.shape[0], spacing):
        axes.axhline(row, color="lime", linewidth=0.5)
    axes.axvline(left.shape[1] - 0.5, color="white", linewidth=1)
    axes.set_axis_off()
    return axes


def reasons(through: Map, *, ax: Any = None) -> Any:
    """Why each pixel of a map has a source or none, with a legend of the reasons that occur."""
    from matplotlib.colors import to_rgb
    from matplotlib.patches import Patch

    if through.reasons is None:
        raise ValueError("this map has no reasons")
    axes = _axes(ax)
    palette = np.zeros((256, 3))
    for reason, colour in _COLOURS.items():
        palette[reason] = to_rgb(colour)
    axes.imshow(palette[through.reasons])
    found = [reason for reason in Reason if (through.reasons == reason).any()]
    patches = [
        Patch(
            color=_COLOURS[r],
            label=f"{r.name.lower().replace('_', ' ')} " f"({(through.reasons == r).mean():.1%})",
        )
        for r in found
    ]
    axes.legend(handles=patches, loc="upper center", bbox_to_anchor=(0.5, -0.08), ncol=2)
    return axes


def distortion(camera: Camera, *, ax: Any = None) -> Any:
    """Where a camera's lens puts rays: distance from the principal point over the angle off the
    axis, along the image's rows, beside a pinhole of the same focal length."""
    axes = _axes(ax)
    angles = np.radians(np.linspace(0, 120, 481))
    rays = np.stack([np.sin(angles), np.zeros_like(angles), np.cos(angles)], axis=1)
    pixels, _ = camera.rays_to_points(rays)
    pinhole = np.where(angles < np.radians(80), camera.K[0, 0] * np.tan(angles), np.nan)
    radii = pixels[:, 0] - camera.K[0, 2]
    axes.plot(np.degrees(angles), radii, label=camera.model)
    axes.plot(np.degrees(angles), pinhole, "--", color="gray", label="pinhole")
    edge = camera.size[0] - 1 - camera.K[0, 2]
    axes.axhline(edge, color="red", linewidth=0.5, label="edge of the image")
    axes.set(xlabel="angle off the axis, degrees", ylabel="distance, pixels", ylim=(0, 1.5 * edge))
    axes.legend()
    return axes


def magnification_of(through: Map) -> Floats:
    """Target pixels per source pixel, (rows - 1, columns - 1): the mean of both directions, from
    the differences to the right and lower neighbour; NaN where one of them has no source."""
    x, y = (np.where(through.x < 0, np.nan, p.astype(np.float64)) for p in through)
    dx, dy = np.diff(x, axis=1)[:-1], np.diff(y, axis=1)[:-1]
    area = np.abs(dx * np.diff(y, axis=0)[:, :-1] - dy * np.diff(x, axis=0)[:, :-1])
    scale = np.full(area.shape, np.nan)
    np.divide(1, np.sqrt(area), out=scale, where=area > 0)
    return scale


def magnification(through: Map, *, ax: Any = None) -> Any:
    """How a map scales: target pixels per source pixel, at each pixel."""
    axes = _axes(ax)
    picture = axes.imshow(magnification_of(through))
    axes.figure.colorbar(picture, ax=axes, label="target pixels per source pixel")
    return axes


def row_error(result: CheckResult, *, ax: Any = None) -> Any:
    """The row errors of a check's inliers where they lie in the rectified left image, pixels."""
    axes = _axes(ax)
    places = np.concatenate([pair.left[pair.inlier] for pair in result.pairs])
    errors = np.concatenate([pair.row_error[pair.inlier] for pair in result.pairs])
    largest = max(float(np.abs(errors).max(initial=0)), 0.1)
    dots = axes.scatter(*places.T, c=errors, cmap="coolwarm", vmin=-largest, vmax=largest, s=12)
    axes.figure.colorbar(dots, ax=axes, label="row error, pixels")
    axes.invert_yaxis()
    axes.set_aspect("equal")
    axes.set_title(result.verdict)
    return axes
