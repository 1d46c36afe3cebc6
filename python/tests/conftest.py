"""What the tests have in common: recordings, and the command that they compare with."""

import os
import subprocess
from pathlib import Path

import numpy as np
import pytest

import sonx

TOP = Path(__file__).resolve().parents[2]
VOICES = Path("/usr/share/sounds/alsa")  # at 48000 Hz, 16 bits, one channel


@pytest.fixture
def tool(tmp_path):
    """Runs the command sonx in the test's folder."""
    def run(*words):
        subprocess.run([os.environ["SONX_TOOL"], *map(str, words)], cwd=tmp_path, check=True,
                       capture_output=True)
    return run


@pytest.fixture(scope="session")
def two_voices():
    left, right = (sonx.read(VOICES / f"Front_{side}.wav", "int16")[0] for side in ("Left", "Right"))
    frames = min(len(left), len(right))
    return np.stack([left[:frames], right[:frames]])
