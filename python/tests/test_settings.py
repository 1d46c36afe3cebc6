"""Effects and racks as objects: what they take, refuse, keep and say."""

import copy
import pickle
import subprocess
import sys

import pytest

import sonx
from conftest import TOP


def test_every_effect_takes_the_ends_of_every_range_and_nothing_beyond():
    for kind in sonx.effects_by_id.values():
        effect = kind()
        for id, parameter in effect.parameters.items():
            assert getattr(effect, id) == parameter.initial
            if isinstance(parameter, sonx.Number):
                for end, beyond in (parameter.minimum, -1), (parameter.maximum, 1):
                    setattr(effect, id, end)
                    assert getattr(effect, id) == pytest.approx(end)
                    with pytest.raises(ValueError, match=f"{id} = .* is outside .* \\.\\. "):
                        setattr(effect, id, end + beyond * 1e-3)
        clone = eval(repr(effect), vars(sonx))
        assert repr(clone) == repr(effect) == repr(pickle.loads(pickle.dumps(effect)))


@pytest.mark.parametrize("wrong, kind, says", [
    (lambda: sonx.Reverb(rom=1), TypeError, "no parameter 'rom'; did you mean 'room'"),
    (lambda: sonx.Reverb().romm, AttributeError, "did you mean 'room'"),
    (lambda: setattr(sonx.Reverb(), "rooom", 1), AttributeError, "did you mean 'room'"),
    (lambda: setattr(sonx.Rack(), "enable", 0), AttributeError, "did you mean 'enabled'"),
    (lambda: sonx.Reverb(room="big"), TypeError, "a number, not 'big'"),
    (lambda: sonx.Reverb(room=float("nan")), ValueError, "outside 0 .. 100 %"),
    (lambda: sonx.Band("peek"), ValueError, "did you mean 'peak'"),
    (lambda: sonx.Band(freq=1), TypeError, "did you mean 'frequency'"),
    (lambda: sonx.Balance(mono=2), TypeError, "True or False"),
    (lambda: sonx.ParametricEqualizer(bands=[{}] * 11), ValueError, "11 are given, there are 10"),
    (lambda: sonx.Rack([sonx.Karaoke()], rate=44100), ValueError, "^karaoke doesn't run at 44100"),
    (lambda: sonx.Rack(rate=11025), ValueError, "11025 Hz, only 8000, .*, 192000"),
    (lambda: sonx.Rack(rate=2**32 + 48000), ValueError, "no effect has 4295015296 Hz"),
    (lambda: sonx.Reverb()([0.0], 48000, tail=1e9), ValueError, "tail = 1000000000 is outside 0 .. 1000000 s"),
    (lambda: sonx.Reverb()([0.0], 48000, tail="3"), TypeError, "tail is a number, not '3'"),
    (lambda: sonx.Reverb(room=10**400), ValueError, "outside 0 .. 100 %"),
    (lambda: sonx.response(sonx.Volume()).level([100, float("nan")]), ValueError, "between 0 and 24000 Hz"),
    (lambda: sonx.response(sonx.Volume()).level(smoothing=1e-9), ValueError, "outside 1 .. 48"),
    (lambda: sonx.write("x.wav", [0.0], -1), ValueError, "rate = -1 is outside 1 .. "),
    (lambda: sonx.Rack([sonx.Reverb]), TypeError, "call it"),
    (lambda: sonx.Rack(sonx.load("speech")[:1]), ValueError, "copy()"),
    (lambda: sonx.Rack(sonx.Reverb()), TypeError, "a list of effects"),
    (lambda: sonx.Rack([sonx.Reverb()] * 2), ValueError, r"rack\[:\] = "),
    (lambda: sonx.Rack(rate="48000"), TypeError, "rate is a whole number"),
    (lambda: sonx.Reverb(60), TypeError, "by name, as room="),
    (lambda: sonx.Reverb(enabled="no"), TypeError, "enabled is True or False, not 'no'"),
    (lambda: sonx.ParametricEqualizer(bands=5), TypeError, "bands is a list of Band"),
    (lambda: sonx.ParametricEqualizer(bands=[5]), TypeError, "bands are Band"),
    (lambda: sonx.response([0.5]), TypeError, "a rack or an effect"),
    (lambda: sonx.response(sonx.Reverb(), input="middle"), ValueError, "not 'middle'"),
    (lambda: sonx.response(sonx.Reverb(), level="loud"), TypeError, "a number, not 'loud'"),
    (lambda: sonx.response(sonx.Reverb(), level=10), ValueError, "outside -90 .. 0 dBFS"),
    (lambda: sonx.write("x.wav", [0.0, float("nan")], 48000), ValueError, "NaN"),
    (lambda: sonx.load("late-evenin"), FileNotFoundError, "did you mean 'late-evening'"),
    (lambda: sonx.load("nothing"), FileNotFoundError, r"sonx\.presets\(\)"),
    (lambda: sonx.read("nothing.wav"), FileNotFoundError, "no file 'nothing.wav'"),
    (lambda: sonx.write("x.mp3", [0.0], 48000), ValueError, "isn't called .wav"),
    (lambda: sonx.Reverb(room="20"), TypeError, "room is a number, not '20'"),
    (lambda: sonx.Reverb(room=True), TypeError, "room is a number, not True"),
    (lambda: sonx.loads("sonx = 1\n[[effect]]\nid = 'reverb'\nrom = 1"), ValueError, "^line 4: .*room"),
    (lambda: sonx.parse_equalizer("Filter 1: ON XX Fc 10 Hz"), ValueError, "^line 1: "),
])
def test_what_is_wrong_is_said(wrong, kind, says):
    with pytest.raises(kind, match=says):
        wrong()


def test_bands_are_values_and_parts_of_their_effect():
    band = sonx.Band("low-shelf", 105, gain=-3.2)
    effect = sonx.ParametricEqualizer(bands=[band, {"frequency": 2000, "gain": 3}, ("peak", 50)])
    assert effect.bands[0] == band and len(effect.bands) == 10
    effect.bands[1].gain = -1
    effect.bands[2] = band
    assert [b.gain for b in effect.bands[:4]] == [-3.2, -1, -3.2, 0]
    with pytest.raises(ValueError, match="gain = 13"):
        effect.bands = [sonx.Band(), {"gain": 13}]
    assert effect.bands[0] == band  # all or nothing
    effect.bands = effect.bands[1:2]
    assert repr(effect) == "ParametricEqualizer(bands=[Band(type='peak', frequency=2000, gain=-1, q=1)])"
    assert copy.copy(effect.bands[0]) == effect.bands[0]
    third = sonx.Band(gain=-1 / 3)
    assert eval(repr(third), vars(sonx)) == third


def test_a_rack_is_a_list_that_keeps_its_effects_settings():
    room, soft, wide = sonx.Reverb(room=60), sonx.Volume(gain=-3, enabled=False), sonx.StereoWidening()
    rack = sonx.Rack([room, soft], name='"Mine"\\ [[effect]]')
    rack.insert(0, wide)
    rack.reverse()
    assert list(rack) == [soft, room, wide]
    room.room = 20
    assert rack.pop(1) is room and room.room == 20
    room.room = 30
    with pytest.raises(ValueError):
        rack.append(soft)
    rack[1:] = [room]
    again = pickle.loads(pickle.dumps(rack))
    assert again.preset == rack.preset == rack.copy(44100).preset and again.name == rack.name
    assert repr(again) == repr(rack) and eval(repr(rack), vars(sonx)).preset == rack.preset
    assert (rack[1].room, rack[0].enabled, wide.side) == (30, False, 50)
    rack.preset = sonx.load("speech").preset
    assert rack.name == "Speech" and soft.gain == -3 and not soft.enabled


def test_presets_and_published_settings_come_from_files_and_go_there(tmp_path):
    for name in sonx.presets():
        rack = sonx.load(name)
        rack.save(tmp_path / "mine.toml")
        assert sonx.load(tmp_path / "mine.toml").preset == rack.preset
    (tmp_path / "eq.txt").write_text("\ufeffPreamp: -6 dB\r\nFilter 1: ON PK Fc 105 Hz Gain -3.2 dB Q 0.7")
    rack = sonx.import_equalizer(tmp_path / "eq.txt")
    assert rack[0].bands[0] == sonx.Band("peak", 105, -3.2, 0.7) and rack.report
    assert "#include <sonx_proc_hal/hp/" in rack.export_c() and "Parametric" in rack._repr_html_()


def test_ones_own_presets_hide_those_that_are_shipped(tool, tmp_path, monkeypatch):
    shipped = sonx.presets()
    monkeypatch.setenv("XDG_DATA_HOME", str(tmp_path))
    tool("preset", "save", "speech", "--set", "reverb.room=7")
    (tmp_path / "small-room").mkdir()  # no preset's file
    assert (sonx.load("speech")[0].room, sonx.load("small-room").name) == (7, "Small room")
    assert sonx.presets() == shipped


def test_the_types_are_those_of_the_catalogue(tmp_path):
    subprocess.run([sys.executable, "-B", TOP / "python/make_stub.py", "--check"], check=True)
    (tmp_path / "right.py").write_text(
        "import sonx\nrack = sonx.Rack([sonx.Reverb(room=60)])\nreverb = sonx.Reverb()\n"
        "x: float = reverb.room + sonx.Reverb.room.maximum\nrack[0].room = 20\n"
        "sonx.ParametricEqualizer(bands=[sonx.Band('peak', 105), {'gain': 3}]).bands[0].gain = 1\n")
    (tmp_path / "wrong.py").write_text(
        "import sonx\nsonx.Reverb(rom=60)\nsonx.Reverb().room = 'big'\nsonx.Band('peek')\n"
        "sonx.Reverb().rom = 20\nsonx.Band().gian = 3\nsonx.Rack().enable = False\n")
    found = subprocess.run(
        ["mypy", "--config-file", "python/pyproject.toml", "--cache-dir", tmp_path / "cache", "python/sonx",
         "python/make_stub.py", "python/examples", tmp_path / "right.py", tmp_path / "wrong.py"],
        cwd=TOP, capture_output=True, text=True)
    assert [line.rsplit("/")[-1].split(":")[:2] for line in found.stdout.splitlines() if "error" in line
            and "Found" not in line] == [["wrong.py", str(line)] for line in range(2, 8)], found
