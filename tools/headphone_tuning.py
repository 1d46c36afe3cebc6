"""The tuning of the headphone effect: a voicing and seven corrections, as data to be read and tried.

A row is (flag, shape, Hz, dB, Q); the shelves have a fixed slope and no Q. None is a row that passes
everything unchanged, with flag 0. make_parametric_tables.py turns this into coefficients and into
docs/tuning.md; its --report shows what a change does.

A shelf named "above" or "below" moves the part of the spectrum above or below its frequency. Bass
is raised by lowering all that's above it, so that a correction costs level instead of headroom.
"""

FREQUENCIES = (60, 100, 150, 250, 500, 1000, 2000, 3000, 4000, 6000, 8000, 10000, 12000, 16000)

PEAK, BELOW, ABOVE = "peak", "shelf below", "shelf above"

PRESET = {
    "title": "Clear and natural",
    "intent": """Speech and solo instruments step forward and the top opens, without a change of
character: less boom at 150 Hz and less box at 400 Hz, a broad lift of the presence around 3 kHz,
the sibilants at 6.5 kHz held back, and air above 10 kHz. Nothing rises by more than the
make-up gain behind it gives back (2.19 dB), so that a full-scale sine stays within full scale.""",
    "rows": [
        (3, PEAK, 150, -2.0, 2.0),
        None,
        (3, PEAK, 400, -1.5, 1.0),
        (3, PEAK, 3000, 1.8, 0.8),
        (3, PEAK, 6500, -2.0, 2.0),
        (3, ABOVE, 10000, 2.0, None),
        (3, PEAK, 1200, -0.5, 1.0),
    ],
    "note": """Six flags are set, and flags are counted: rows 0 to 5 run. Row 6, a slight step back
of the upper mids, is loaded but doesn't run; counting it in would take a flag in row 1.""",
    "dont_run": 1,
    # What the whole effect does, by the command that docs/tuning.md gives: to be measured anew after
    # a change of the rows.
    "measured": {
        44100: (-2.37, -2.94, -4.46, -3.43, -3.45, -2.16, -1.02, -0.58, -1.07, -3.06, -2.35, -1.24,
                -0.64, -0.23),
        48000: (-2.37, -2.93, -4.45, -3.44, -3.45, -2.16, -1.02, -0.58, -1.07, -3.04, -2.34, -1.26,
                -0.67, -0.25),
    },
}

ADAPTERS = [
    {
        "title": "Closed over-ear",
        "intent": """A sealed cup resonates around 110 Hz and leaves a dip at its upper side, where
the pad begins to leak. Fills the dip, takes the hump back, and calms the canal and cup resonances
at 3.5, 5.5 and 9 kHz.""",
        "rows": [
            (3, PEAK, 240, 1.0, 1.0),
            (3, PEAK, 110, -2.5, 0.9),
            (3, PEAK, 3500, -1.5, 1.5),
            (3, PEAK, 5500, -2.0, 3.0),
            (1, PEAK, 9000, -3.0, 3.0),
        ],
    },
    {
        "title": "Open over-ear",
        "intent": """An open back has no seal: the bass falls away below 100 Hz. The mids between 1
and 2 kHz lie a little back, and the treble has the peaks of a large driver in front of the pinna.
Bass +3.5 dB against the mids, mids filled, peaks at 3.4, 5.8 and 8.8 kHz lowered.""",
        "rows": [
            (3, ABOVE, 105, -3.5, None),
            (3, PEAK, 1600, 1.5, 1.2),
            (3, PEAK, 3400, -1.5, 2.0),
            (3, PEAK, 5800, -2.0, 3.0),
            (3, PEAK, 8800, -3.0, 3.0),
            (3, ABOVE, 11500, 1.5, None),
        ],
    },
    {
        "title": "On-ear",
        "intent": """A pad that lies on the pinna leaks: the deep bass is lost and a hump is left
near 200 Hz. The small cavity rings at 3.6 and 7.5 kHz with a hole between. Bass +4.5 dB against
the mids, hump and rings lowered, hole half filled.""",
        "rows": [
            (3, ABOVE, 130, -4.5, None),
            (3, PEAK, 210, -2.0, 1.2),
            (3, PEAK, 900, 1.0, 1.0),
            (3, PEAK, 3600, -3.0, 2.0),
            (3, PEAK, 5200, 1.5, 3.0),
            (3, PEAK, 7500, -2.5, 2.5),
        ],
    },
    {
        "title": "In-ear, deep seal",
        "intent": """A sealed canal keeps all of the bass, so that a driver tuned for a leak is too
full below 200 Hz. Plugging the ear takes away its open resonance near 2.8 kHz and makes one of
its own, closed at both ends, at 7 to 8 kHz. Bass and upper bass lowered, 2.8 kHz partly given
back, the closed resonance lowered, a little air above it.""",
        "rows": [
            (3, BELOW, 160, -3.0, None),
            (3, PEAK, 2800, 1.0, 1.2),
            (3, PEAK, 7600, -4.0, 2.5),
            (3, ABOVE, 11500, 1.0, None),
        ],
    },
    {
        "title": "In-ear, shallow fit",
        "intent": """A tip that rests at the canal's entrance leaks, and the longer closed canal
resonates lower, near 6 kHz. Bass +4 dB against the mids, the shout around 2.2 kHz and the
resonance lowered, the upper octave raised against them.""",
        "rows": [
            (3, ABOVE, 140, -4.0, None),
            (3, PEAK, 2200, -1.5, 1.2),
            (3, PEAK, 6000, -4.0, 3.0),
            (3, ABOVE, 10000, 2.0, None),
        ],
    },
    {
        "title": "Ear-bud, open",
        "intent": """A bud in the concha seals nothing: the bass falls from 200 Hz, and what the
driver can still do is between 100 and 200 Hz. The open ear's own resonance comes on top of the
driver's at 2.7 kHz. Everything above the bass lowered by 6 dB, the nasal region around 1.1 kHz
and both resonances further, the top raised against them.""",
        "rows": [
            (3, ABOVE, 170, -6.0, None),
            (3, PEAK, 1100, -1.5, 0.9),
            (3, PEAK, 2700, -3.0, 1.5),
            (3, PEAK, 5400, -2.0, 2.5),
            (3, ABOVE, 9000, 2.0, None),
        ],
    },
    {
        "title": "Bone conduction",
        "intent": """A transducer on the cheekbone shakes the skin below 150 Hz more than it is
heard, is strongest around 1 kHz, and weak above 4 kHz. The shaking lowered, warmth kept at 300 Hz,
the strong mids lowered, consonants and the top raised against them.""",
        "rows": [
            (3, BELOW, 130, -5.0, None),
            (3, BELOW, 2500, -3.0, None),
            (3, PEAK, 300, 1.5, 1.0),
            (3, PEAK, 1000, -2.5, 1.0),
            (3, PEAK, 4500, 1.0, 1.2),
        ],
    },
]

SOURCES = """- H. Møller, C. B. Jensen, D. Hammershøi, M. F. Sørensen, "Design Criteria for Headphones",
  J. Audio Eng. Soc. 43(4), 1995.
- D. Hammershøi, H. Møller, "Sound transmission to and within the human ear canal", J. Acoust. Soc.
  Am. 100(1), 1996: the ear's open resonance.
- S. E. Olive, T. Welti, E. McMullin, "Listener Preferences for Different Headphone Target Response
  Curves", AES 134th Convention, 2013: a bass shelf of a few dB near 105 Hz is preferred to a flat
  response.
- S. Stenfelt, R. L. Goode, "Bone-Conducted Sound: Physiological and Clinical Aspects", Otology &
  Neurotology 26(6), 2005."""
