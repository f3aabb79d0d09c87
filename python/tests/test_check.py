"""Verdicts, which are those of the command."""

from __future__ import annotations

import json
import os
import subprocess
import threading

import numpy as np
import pytest

import rectiline
from conftest import PINHOLE_RIG, Scene


def test_the_verdict_is_the_commands(rig: rectiline.Rig, scene: Scene) -> None:
    images = [scene.folder / "left.png", scene.folder / "right.png"]
    for raw, given in (((scene.left, scene.right), images), ((scene.right, scene.left), images[::-1])):
        result = rig.check(*raw)
        command = [os.environ["RECTILINE_COMMAND"], "check", PINHOLE_RIG, *given, "--json"]
        said = json.loads(subprocess.run(command, capture_output=True).stdout)
        ours = {
            "verdict": result.verdict,
            "pairs": len(result.pairs),
            "matches": result.matches,
            "sentence": result.sentence,
            "alternatives": list(result.alternatives),
        }
        assert ours == {key: said[key] for key in ours}
        assert result.row_error_median == pytest.approx(said["row_error_median"])
        np.testing.assert_allclose(result.turn_degrees, said["turn_degrees"])
        assert result.is_ok == (raw[0] is scene.left)
        assert sum(pair.inlier.sum() for pair in result.pairs) == result.matches


def test_images_that_cannot_be_judged_are_refused(rig: rectiline.Rig, scene: Scene) -> None:
    colour = np.dstack([scene.left] * 3)
    for left, right, sentence in (
        (colour, scene.right, "grey"),
        (scene.left[:100], scene.right, "480"),
        ([scene.left] * 2, [scene.right], "as many"),
    ):
        with pytest.raises(rectiline.Error, match=sentence):
            rig.check(left, right)


def test_other_threads_run_during_the_work(rig: rectiline.Rig, scene: Scene) -> None:
    """With Python's lock held, the counting thread would stand still during the long call."""
    counts = [0]
    done = threading.Event()

    def count() -> None:
        while not done.is_set():
            counts[0] += 1

    thread = threading.Thread(target=count)
    thread.start()
    before = counts[0]
    rig.check([scene.left] * 3, [scene.right] * 3)
    during = counts[0] - before
    done.set()
    thread.join()
    assert during > 1000
