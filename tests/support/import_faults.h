// Equalizer settings with one fault each, and what is said of it.
#pragma once

#include <utility>

inline constexpr std::pair<const char*, const char*> kImportFaults[] = {
    {"", "there's no Preamp:, Filter: or GraphicEQ: line to import"},
    {"\xFF\xFEP", "line 1: this is text in UTF-16"},
    {"hello", "line 1: 'hello' is no Preamp:, Filter: or GraphicEQ: line"},
    {"# x\r\nChannel: L", "line 2: lines of 'Channel' aren't supported"},
    {"Preamp: loud", "line 1: the preamp is no number: 'loud'"},
    {"Preamp: 13 dB", "line 1: the preamp 13 is out of range, it goes from -30 to 12 dB"},
    {"Preamp: 1\nPreamp: 1", "line 2: a second preamp"},
    {"Filter 1: MAYBE", "line 1: a filter is ON or OFF"},
    {"\nFilter 1: ON NO Fc 50 Hz", "line 2: filter type 'NO' isn't supported"},
    {"Filter 1: ON PK Gain 1 dB Q 1", "line 1: the filter has no frequency"},
    {"Filter 1: ON PK Fc 50 Hz Q 1", "line 1: the filter has no gain"},
    {"Filter 1: ON PK Fc 50 Hz Gain 1 dB", "line 1: the filter has no Q"},
    {"Filter 1: ON LP Fc 50 Hz Gain 1 dB", "line 1: a filter of this type has no gain"},
    {"Filter 1: ON PK Fc 5 Hz Gain 1 dB Q 1", "line 1: the frequency 5 is out of range"},
    {"Filter 1: ON PK Fc 50 Hz Gain 31 dB Q 1", "line 1: the gain 31 is out of range"},
    {"Filter 1: ON PK Fc 50 Hz Gain 3 dB Q 40", "line 1: Q 40 is out of range"},
    {"Filter 1: ON PK Fc 50 Hz Gain 3 dB Q 1 loud", "line 1: what does 'loud' mean?"},
    {"Filter 1: ON PK Fc 50 Hz Gain 3 dB Q 1 Q 2", "line 1: a second 'Q'"},
    {"GraphicEQ: 20 a; 30 1", "line 1: '20 a' isn't a frequency and a level"},
    {"GraphicEQ: 20 1; 10 1", "line 1: the frequencies must rise: '10 1'"},
    {"GraphicEQ: 20 1; 30 99", "line 1: the level 99 is out of range"},
    {"GraphicEQ: 20 1", "line 1: a GraphicEQ line needs two points"}};
