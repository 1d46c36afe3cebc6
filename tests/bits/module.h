// A module from its init to its end: which functions it has is all that its line says, what they get
// and how they are called follows from their types.
#pragma once

#include <array>
#include <tuple>
#include <type_traits>

#include "bits/subjects.h"
#include "effects/equalizer.h"
#include "hp/audio_effect_control.h"
#include "hp/module_parameters.h"
#include "support/run_through.h"

#define LIFE(stem) stem##_init, stem##_end
// A setter and its getter, as most of them are named.
#define SETTING(stem, name) stem##set##name, stem##get##name
// A module's switch: on, half of the time.
template <auto set>
constexpr auto switched = [](trial& t, auto* r) {
  const int states[] = {1, 1, 0, t.value()};
  set(r, states[t.roll(4)]);
};
#define STATUS(stem) switched<stem##setstatus>, stem##getstatus

// ---- What a function may be given.

inline void draw(trial& t, int& word) { word = t.value(); }
inline void draw(trial& t, SampleRateType& rate) {
  rate = static_cast<SampleRateType>(t.unbounded() ? static_cast<unsigned>(t.any()) : t.roll(4));
}
inline void draw(trial& t, unsigned& hertz) {
  constexpr unsigned kRates[] = {44100, 48000, 96000, 192000, 32000};
  hertz = t.unbounded() ? static_cast<unsigned>(t.any()) : kRates[t.roll(5)];
}
// Coefficient rows b0, b1, b2, -a1, -a2 in Q28: stable sections, those of an equalizer at any rate;
// or any words.
inline void draw(trial& t, int (&rows)[10][5]) {
  held<equalizer_t, equalizer_init, equalizer_end> equalizer;
  int gains[10];
  t.decibels(gains);
  equalizer_set_param_index(&equalizer, gains, static_cast<SampleRateType>(t.roll(4)));
  equalizer_getparameter(&equalizer, rows);
  if (t.wild() && t.once_in(2))
    for (auto& row : rows)
      for (int& word : row) word = t.any();
}
inline void draw_row(trial& t, int* row) {
  int rows[10][5];
  draw(t, rows);
  const unsigned which = t.roll(10);
  for (int k = 0; k < 5; ++k) row[k] = rows[which][k] >> t.fewer_bits;
}
// With the flags before them.
inline void draw(trial& t, int (&flagged)[10][6]) {
  int rows[10][5];
  draw(t, rows);
  for (int k = 0; k < 10; ++k) {
    flagged[k][0] = t.unbounded() ? t.any() : static_cast<int>(t.roll(4)) - 1;
    std::copy_n(rows[k], 5, flagged[k] + 1);
  }
}
// Records of words, the status first; some have words of their own.
inline void refine(trial& t, eq_param_acdb_t& r) { draw(t, r.band); }
inline void refine(trial& t, equalizer_params& r) { t.decibels(r.index); }
inline void refine(trial& t, virtual_bass_param_acdb_t& r) { draw_row(t, r.nld_band); }
inline void refine(trial& t, channel_balance_param_acdb_t& r) {
  r.channel_num = t.unbounded() ? t.any() : int(t.roll(4));
}
inline void refine(trial& t, param_eq_param_acdb_t& r) {
  draw(t, r.left);
  draw(t, r.right);
}
inline void refine(trial& t, audio_effect_control_acdb_t& r) {
  r.effect_type = static_cast<int>(t.roll(7));
  r.hpadapter_type = t.unbounded() ? t.any() : static_cast<int>(t.roll(9));
  int gains[10];
  t.decibels(gains);
  if (r.effect_type == SONX_EFFECT_GRAPHIC_EQUALIZER) std::copy_n(gains, 10, r.data);
}
template <typename Record>
requires std::is_class_v<Record>
void draw(trial& t, Record& record) {
  int words[sizeof(Record) / sizeof(int)];
  for (int& word : words) word = t.value();
  words[0] = static_cast<int>(t.roll(2));
  record = std::bit_cast<Record>(words);
  if constexpr (requires { refine(t, record); }) refine(t, record);
}

template <typename T>
struct argument {
  T word;
  explicit argument(trial& t) { draw(t, word); }
  T pass() { return word; }
  void note_in(trial&) {}
};
// Of pointers, const int* is a row of coefficients, int* ten gains in dB. What a function has written
// there is noted, so that a getter needs no case of its own.
template <typename T>
struct argument<T*> {
  static constexpr size_t kCount = std::is_class_v<T> ? 1 : 10;
  std::remove_const_t<T> words[kCount] = {};
  explicit argument(trial& t) {
    if constexpr (std::is_same_v<T, const int>)
      draw_row(t, words);
    else if constexpr (std::is_same_v<T, int>)
      t.decibels(words);
    else if constexpr (std::is_class_v<T>)
      draw(t, words[0]);
    else
      draw(t, words);
  }
  T* pass() { return words; }
  void note_in(trial& t) {
    for (const int word : std::bit_cast<std::array<int, kCount * sizeof(T) / sizeof(int)>>(words))
      t.note(word);
  }
};

// ---- Calls.

template <typename Result, typename Record, typename... Arguments>
void call(trial& t, Result (*function)(Record*, Arguments...),
          std::type_identity_t<Record*> record) {
  std::tuple<argument<Arguments>...> arguments{argument<Arguments>(t)...};
  std::apply(
      [&](auto&... a) {
        if constexpr (std::is_void_v<Result>)
          function(record, a.pass()...);
        else
          t.note(function(record, a.pass()...));
        (a.note_in(t), ...);
      },
      arguments);
}

// Of a record: a field is noted, a function called, a piece of code run.
template <auto what, typename Record>
void use(trial& t, Record* record) {
  if constexpr (std::is_member_object_pointer_v<decltype(what)>) {
    if constexpr (std::is_array_v<std::remove_reference_t<decltype(record->*what)>>)
      t.note_all(record->*what);
    else
      t.note(record->*what);
  } else if constexpr (std::is_invocable_v<decltype(what), trial&, Record*>) {
    what(t, record);
  } else {
    call(t, what, record);
  }
}
template <auto... uses, typename Record>
void use_some(trial& t, Record* record) {
  for (size_t i = 0; i <= sizeof...(uses) / 8; ++i) {
    unsigned which = t.roll(sizeof...(uses));
    ((which-- == 0 ? use<uses>(t, record) : void()), ...);
  }
}

// Forms for a frame and for a block, in turn.
template <auto frame, auto block>
constexpr auto either = [](auto* r, int* a, int* b, int* c, int* d, int n) {
  int* const at[] = {a, b, c, d};
  n % 2 ? run_through(frame, r, at, n) : run_through(block, r, at, n);
};

template <typename Record, auto init, auto end, auto process, auto... uses>
void module(trial& t) {
  using form = decltype(process);
  using word = short*;
  constexpr bool kShort = std::is_invocable_v<form, Record*, word, word> ||
                          std::is_invocable_v<form, Record*, word, word, int> ||
                          std::is_invocable_v<form, Record*, word, word, word, int> ||
                          std::is_invocable_v<form, Record*, word, word, word, word, int>;
  using sample = std::conditional_t<kShort, short, int>;
  Record record;
  use<init>(t, &record);
  const auto change = [&] { use_some<uses...>(t, &record); };
  change();
  t.stream<sample>([&](sample* const(&at)[4], int n) { run_through(process, &record, at, n); },
                   change);
  use<end>(t, &record);
}
