"""What goes wrong, and what looks wrong."""

from __future__ import annotations

from enum import IntEnum
from math import nan

from . import _core


class Status(IntEnum):
    """What kind of failure an :class:`Error` is."""

    OK = _core.STATUS_OK
    BAD_ARGUMENT = _core.STATUS_BAD_ARGUMENT
    BAD_CAMERA = _core.STATUS_BAD_CAMERA
    SAME_PLACE = _core.STATUS_SAME_PLACE
    CANNOT_RECTIFY = _core.STATUS_CANNOT_RECTIFY
    OUT_OF_MEMORY = _core.STATUS_OUT_OF_MEMORY
    BAD_FILE = _core.STATUS_BAD_FILE
    INTERNAL_ERROR = _core.STATUS_INTERNAL_ERROR


class Reason(IntEnum):
    """Why a target pixel or a point has a position, or has none."""

    OK = _core.PIXEL_OK
    OK_PAST_LAST_CENTRE = _core.PIXEL_OK_PAST_LAST_CENTRE
    BEHIND_CAMERA = _core.PIXEL_BEHIND_CAMERA
    BEYOND_DISTORTION = _core.PIXEL_BEYOND_DISTORTION
    NO_INVERSE = _core.PIXEL_NO_INVERSE
    OUTSIDE_IMAGE = _core.PIXEL_OUTSIDE_IMAGE
    NOT_MADE = _core.PIXEL_NOT_MADE


class WarningCode(IntEnum):
    """What a :class:`CalibrationWarning` is about."""

    RIGHT_IS_LEFT = _core.WARNING_RIGHT_IS_LEFT
    TURNED = _core.WARNING_TURNED
    LONG_BASELINE = _core.WARNING_LONG_BASELINE
    SHORT_BASELINE = _core.WARNING_SHORT_BASELINE
    FEW_SOURCES = _core.WARNING_FEW_SOURCES
    TABLE_ERROR = _core.WARNING_TABLE_ERROR
    FAILED_CHECKS = _core.WARNING_FAILED_CHECKS


class Error(Exception):
    """A call that failed; its text is one or two sentences for a person.

    Attributes:
        status: the kind of failure.
        camera: index of the camera at fault, its name in a file, or None.
        field: the argument or member at fault, as "options.focal_length"; may be empty.
        value: of that field; NaN when it has none.
    """

    def __init__(
        self,
        text: str,
        status: int = Status.BAD_ARGUMENT,
        camera: int | str | None = None,
        field: str = "",
        value: float = nan,
    ) -> None:
        super().__init__(text, status, camera, field, value)
        self.status = Status(status)
        self.camera = camera
        self.field = field
        self.value = value

    def __str__(self) -> str:
        return str(self.args[0])


class CalibrationWarning(UserWarning):
    """What looks wrong in a calibration that works.

    Attributes:
        code: what it is about.
        camera: index of the camera; None: the pair.
        value: what was measured: radians, metres, share, pixels or count.
    """

    def __init__(self, text: str, code: int, camera: int | None, value: float) -> None:
        super().__init__(text, code, camera, value)
        self.code = WarningCode(code)
        self.camera = camera
        self.value = value

    def __str__(self) -> str:
        return str(self.args[0])
