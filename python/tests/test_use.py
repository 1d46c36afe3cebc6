"""The examples, and the wheel."""

import os
import shutil
import subprocess
import sys

import pytest

import sonx
from conftest import TOP, VOICES


@pytest.mark.parametrize("command", [
    "plot_response.py late-evening loudspeakers --show delay -o made.png",
    "sweep_parameter.py graphic-equalizer band1k --steps 3 -o made.png",
    f"batch.py late-evening . {VOICES}/Front_Left.wav {__file__} {VOICES}/Front_Right.wav",
])
def test_the_examples_run(command, tmp_path):
    script, *words = command.split()
    done = subprocess.run([sys.executable, "-B", TOP / "python/examples" / script, *words], cwd=tmp_path)
    assert done.returncode == (script == "batch.py")  # a file of its isn't sound; the others play
    if script == "batch.py":
        samples, rate = sonx.read(VOICES / "Front_Left.wav")
        expected = sonx.load("late-evening", rate)(samples)
        assert (sonx.read(tmp_path / "Front_Left.wav")[0] == expected).all()
        assert (tmp_path / "Front_Right.wav").exists()
    else:
        import matplotlib.image
        picture = matplotlib.image.imread(tmp_path / "made.png")
        assert len({tuple(pixel) for row in picture[::3] for pixel in row[::3]}) > 20  # curves


def test_the_wheel_carries_the_library_and_the_presets(tmp_path):
    for part in "python", "presets", "src/version.h", "LICENSE":
        copy = shutil.copytree if (TOP / part).is_dir() else shutil.copy
        (tmp_path / part).parent.mkdir(exist_ok=True)
        copy(TOP / part, tmp_path / part)
    pip = [sys.executable, "-m", "pip", "--quiet", "--disable-pip-version-check"]
    subprocess.run([*pip, "wheel", "--no-build-isolation", "--no-deps", "--no-index",
                    "-w", tmp_path, tmp_path / "python"], check=True)
    wheel, = tmp_path.glob(f"sonx-{sonx.__version__}-py3-none-*.whl")
    subprocess.run([sys.executable, "-m", "zipfile", "-e", wheel, tmp_path / "site"], check=True)
    assert list(tmp_path.glob("site/sonx-*.dist-info/LICENSE"))
    environment = {name: value for name, value in os.environ.items() if name != "SONX_LIBRARY"}
    said = subprocess.run(
        [sys.executable, "-c", "import sonx; print(sonx.__file__, len(sonx.presets()))\n"
         "print([l for l in open('/proc/self/maps') if 'sonx_rack' in l][0].split()[-1])"],
        cwd=tmp_path, env={**environment, "PYTHONPATH": str(tmp_path / "site")}, check=True,
        capture_output=True, text=True).stdout
    site = tmp_path / "site/sonx"
    assert said.split() == [f"{site}/__init__.py", str(len(sonx.presets())), f"{site}/libsonx_rack.so.1"]
