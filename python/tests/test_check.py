"""Verdicts, which are those of the command; other threads and processes during the work."""

from __future__ import annotations

import ctypes
import json
import multiprocessing
import os
import subprocess
import threading
import time
from collections.abc import Callable

import numpy as np
import pytest

import rectiline
from conftest import PINHOLE_RIG, Scene


def test_the_verdict_is_the_commands(rig: rectiline.Rig, scene: Scene) -> None:
    images = [scene.folder / "left.png", scene.folder / "right.png"]
    for raw, given in (
        ((scene.left, scene.right), images),
        ((scene.right, scene.left), images[::-1]),
    ):
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


def longest_gap(work: Callable[[], object]) -> float:
    """How long another thread stood still while the work was done, as a share of its time."""
    ticks = [time.perf_counter()]
    done = threading.Event()

    def tick() -> None:
        while not done.is_set():
            ticks.append(time.perf_counter())

    thread = threading.Thread(target=tick)
    thread.start()
    start = time.perf_counter()
    work()
    duration = time.perf_counter() - start
    done.set()
    thread.join()
    return float(np.diff(ticks).max()) / duration


def test_other_threads_run_during_the_work(rig: rectiline.Rig, scene: Scene) -> None:
    holding = ctypes.PyDLL(None).usleep  # keeps Python's lock
    assert longest_gap(lambda: holding(300_000)) > 0.8
    assert longest_gap(lambda: rig.check([scene.left] * 3, [scene.right] * 3)) < 0.5


def _share(rig: rectiline.Rig) -> float:
    return rig.rectify().left_share


def test_forked_processes_work(rig: rectiline.Rig) -> None:
    """After the parent has used the library's threads, which its children do not have."""
    expected = _share(rig)
    with multiprocessing.get_context("fork").Pool(2) as pool:
        shares = pool.map_async(_share, [rig] * 4).get(timeout=120)
    assert shares == [expected] * 4
