"""What comes out: the command's samples, however they go in."""

import filecmp
import threading

import numpy as np
import pytest

import sonx
from conftest import TOP


@pytest.mark.parametrize("preset", sonx.presets())
def test_a_file_is_the_one_that_the_command_plays(preset, tool, two_voices, tmp_path):
    for samples, bits in (two_voices, 16), (two_voices[0], 16), (two_voices, 24):
        sonx.write(tmp_path / "in.wav", samples, 48000, bits)
        tool("play", "in.wav", "tool.wav", "--preset", TOP / f"presets/{preset}.toml", "--tail", 0.5)
        rack = sonx.load(preset)
        for dtype in ("float32", "int32") if bits == 24 else ("float32", "int16"):
            read, rate = sonx.read(tmp_path / "in.wav", dtype)
            out = rack(read, tail=0.5)
            assert out.shape == (*read.shape[:-1], read.shape[-1] + 24000) and out.dtype == dtype
            sonx.write(tmp_path / "out.wav", out, rate, bits)
            assert filecmp.cmp(tmp_path / "out.wav", tmp_path / "tool.wav", shallow=False)


def test_a_stream_in_pieces_is_the_whole_and_again_after_a_reset(two_voices):
    rack = sonx.load("late-evening")
    whole = rack(two_voices)
    assert rack.latency > 0
    for _ in range(2):
        at, blocks = 0, []
        for size in np.random.default_rng(1).integers(0, 3000, 1000):
            blocks.append(rack.process(two_voices[:, at:at + size]))
            at += size
        streamed = np.concatenate(blocks, axis=1)
        assert np.array_equal(streamed[:, rack.latency:], whole[:, :-rack.latency])
        assert rack(two_voices).tobytes() == whole.tobytes()  # not disturbed by the stream
        rack.reset()
    assert max(rack.meters.output) == pytest.approx(np.abs(streamed).max() / 2**15, abs=2**-15)


def test_a_changed_setting_is_heard_in_the_stream_and_what_is_off_is_not(two_voices):
    rack = sonx.Rack([sonx.Volume(gain=-60)])
    assert np.abs(rack.process(two_voices)).max() < 40
    rack[0].gain = 0
    rack.process(two_voices)
    assert np.array_equal(rack.process(two_voices), two_voices)
    rack[0].gain, rack[0].enabled = -60, False
    assert np.array_equal(rack(two_voices), two_voices)
    rack[0].enabled = True
    assert not np.array_equal(rack(two_voices), two_voices)


def test_threads_may_call_one_rack_at_once(two_voices):
    rack = sonx.load("late-evening")
    outs = [None] * 4

    def play(k):
        outs[k] = rack(two_voices).tobytes()
    threads = [threading.Thread(target=play, args=[k]) for k in range(len(outs))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert set(outs) == {rack(two_voices).tobytes()}


def test_samples_may_lie_in_memory_as_they_like(two_voices):
    rack = sonx.load("headphones-full-bass")
    expected = rack(two_voices)
    frames_first = np.ascontiguousarray(two_voices.T)
    assert np.array_equal(rack(frames_first.T), expected)
    assert np.array_equal(rack(two_voices.astype(">i2")), expected)
    assert np.array_equal(rack(two_voices / 2**15), rack((two_voices / 2**15).astype("f4")))
    assert rack(two_voices[:, :0]).shape == (2, 0)
    with pytest.raises(ValueError, match=r"turned round: use \.T"):
        rack(frames_first)
    with pytest.raises(TypeError, match="not uint8"):
        rack(two_voices.astype("u1"))
    with pytest.raises(ValueError, match="tail = inf"):
        rack(two_voices, tail=float("inf"))


def test_the_response_is_the_formula_s_and_the_command_s(tool, tmp_path):
    peak = sonx.ParametricEqualizer(bands=[sonx.Band("peak", 1000, 6, 2)])
    half = 1000 * (np.sqrt(1 + 1 / 16) + np.array([-1, 1]) / 4)  # half the dB, at a Q of 2
    level = sonx.response(peak, rate=192000).level([1000, *half])
    assert level == pytest.approx(np.array([[6, 3, 3]] * 2), abs=0.01)
    racks = {("--preset", TOP / f"presets/{preset}.toml"): sonx.load(preset) for preset in
             ("headphones-full-bass", "concert-hall", "late-evening", "noisy-speech")}
    combed = sonx.Reverb(room=60)  # so that the level is smoothed
    for words, rack in {**racks, ("--set", "reverb.room=60"): combed}.items():
        tool("response", *words, "--csv", "table.csv", "--show", "level,phase", "--rate", 48000)
        hertz, *columns = np.loadtxt(tmp_path / "table.csv", delimiter=",", skiprows=1).T
        hertz = 1000 * np.exp2(np.rint(48 * np.log2(hertz / 1000)) / 48)  # the table rounds them
        measured, level = sonx.response(rack), np.array(columns[:2])
        heard = level > level.max() - 75  # below is the noise of rounding
        assert measured.level(hertz)[heard] == pytest.approx(level[heard], abs=0.01)
        off = np.abs(measured.phase(hertz) - columns[2:])
        assert np.array_equal(np.isnan(off), np.isnan(columns[2:]))
        assert np.nanmax(np.minimum(off, 360 - off)) < 1
