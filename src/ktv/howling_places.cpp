#include <algorithm>
#include <cstdlib>

#include "fixed.h"
#include "ktv/howling_internal.h"

namespace {

#include "ktv/howling_turns.inc"

constexpr int kAttackStep = kFullDepth / 128;  // 2.7 ms at 48 kHz, so over within a frame
constexpr int kReleaseStep = 5;                // 4.4 s
constexpr int kQuickReleaseStep = 30;          // 0.7 s

// Widths, in 1/16 of the centre frequency.
constexpr int kFirstWidth = 5;
constexpr int kWidest = 12;

constexpr int kLeastTrial = 4;  // frames; a notch takes as long to show in the loop
constexpr int kTrialFrames = 20;
constexpr int kEarlyFrames = 9;  // by then a howl has fallen a little, however long the room rings
constexpr int kEarlyDrop = level_of_db(1.5);
constexpr int kTrials = 2;
constexpr int kTrialDrop = level_of_db(7.0);
constexpr int kWeakTrialDrop = level_of_db(11.0);
constexpr int kShortHold = 75;               // 0.4 s
constexpr int kMemory = kLongHold / 2;       // of a free place: 30 s
constexpr int kMoved = 24, kFarthest = 384;  // 9 Hz and 141 Hz: a howl goes to a neighbouring mode

// -2 cos of the angle of an analysis frequency at the full rate, Q28: the addition theorem from the
// bin below it.
int turn_of(int position) {
  const int clamped = std::clamp(position, 0, 64 * 256 - 1);
  const int* bin = kTurns[clamped >> 8];
  const int64_t beyond = int64_t{clamped & 255} * 12868;  // angle, Q28; pi / 65536 each
  const int64_t cosine = (int64_t{1} << 28) - (beyond * beyond >> 29);
  return static_cast<int>((bin[0] * cosine + bin[1] * beyond) >> 28);
}

// The pole radius for a bandwidth, 1 - pi width / rate, Q13; a width of 1 is 1/131072 of the rate.
int radius_of(int width) { return std::clamp(kOneQ13 - (width * 201 >> 10), kWidestRadius, 8180); }

// Moves the notch to its place: at once while it isn't heard, else when it has faded out.
void retune(howlingCancel* canceller, int i) {
  howling_place& place = canceller->places[i];
  place.retune = place.depth > 0;
  place.depth_step = place.retune ? -kAttackStep : kAttackStep;
  if (place.retune) return;
  canceller->notches[i].radius = radius_of(place.width);
  notch_setfi(&canceller->notches[i], turn_of(place.position));
}

void begin_trial(howlingCancel* canceller, int i) {
  howling_place& place = canceller->places[i];
  place.phase = kTrial;
  place.timer = 0;
  place.level = newest_level(canceller, place.position);
  retune(canceller, i);
}

void let_go(howling_place& place, int step) {
  place.phase = kReleasing;
  place.timer = 0;
  place.depth_step = -step;
}

void span(howling_place& place, int low, int high) {
  place.position = (low + high) / 2;
  place.width = std::min(high - low, place.position * kWidest / 16);
}

int low_edge(const howling_place& place) { return place.position - place.width / 2; }
int high_edge(const howling_place& place) { return place.position + place.width / 2; }

void widen_to(howling_place& place, int position) {
  const int margin = place.width / 3;
  span(place, std::min(low_edge(place), position - margin),
       std::max(high_edge(place), position + margin));
}

// The notch that covers a frequency or stands next to it.
int place_near(const howlingCancel* canceller, int position) {
  int nearest = -1, least = INT32_MAX;
  for (int i = 0; i < kPlaces; ++i) {
    const howling_place& place = canceller->places[i];
    const int distance = std::abs(place.position - position);
    if (place.position && distance < place.width && distance < least) {
      least = distance;
      nearest = i;
    }
  }
  return nearest;
}

// Of all pairs the one whose union is the narrowest for its frequency becomes one notch, if that is
// narrow enough; returns the place it sets free or -1.
int join_two(howlingCancel* canceller) {
  int first = -1, second = -1, least = kWidest + 1;
  for (int i = 0; i < kPlaces; ++i)
    for (int j = 0; j < kPlaces; ++j) {
      const howling_place &a = canceller->places[i], &b = canceller->places[j];
      if (i == j || a.position > b.position) continue;
      const int sixteenths = (high_edge(b) - low_edge(a)) * 32 / (a.position + b.position);
      if (sixteenths < least) {
        least = sixteenths;
        first = i;
        second = j;
      }
    }
  if (first < 0) return -1;
  howling_place &a = canceller->places[first], &b = canceller->places[second];
  a.hold = std::max(a.hold, b.hold);
  span(a, low_edge(a), high_edge(b));
  retune(canceller, first);
  return second;
}

// A place for a new notch: one without a memory, a free one, one that is being given up, one that
// joining sets free, the one that has stood longest.
int vacant_place(howlingCancel* canceller) {
  const auto wanted = [&](auto condition) {
    for (int i = 0; i < kPlaces; ++i)
      if (condition(canceller->places[i])) return i;
    return -1;
  };
  int i = wanted([](const howling_place& p) { return p.phase == kFree && p.position == 0; });
  if (i < 0) i = wanted([](const howling_place& p) { return p.phase == kFree; });
  if (i < 0) i = wanted([](const howling_place& p) { return p.phase == kReleasing; });
  if (i < 0) i = join_two(canceller);
  if (i >= 0) return i;
  const auto older = [](const howling_place& a, const howling_place& b) {
    return a.timer < b.timer;
  };
  return static_cast<int>(std::max_element(canceller->places, canceller->places + kPlaces, older) -
                          canceller->places);
}

// Where the howl under a notch has moved to: a marked peak beside its centre, or 0.
int moved_peak(const howling_place& place, const int* found) {
  int moved = 0;
  for (int k = 0; k < kPeaks; ++k) {
    const int distance = std::abs(found[k] - place.position);
    if (found[k] && distance > kMoved && distance < kFarthest) moved = found[k];
  }
  return moved;
}

void advance_trial(howlingCancel* canceller, int i, const int* found) {
  howling_place& place = canceller->places[i];
  const int level = newest_level(canceller, place.position);
  place.level = std::max(place.level, level);
  const int drop = place.hold == kLongHold ? kTrialDrop : kWeakTrialDrop;
  if (place.level - level >= drop && place.timer >= kLeastTrial) {
    place.phase = kHolding;
    if (place.hold == kLongHold) {
      canceller->alert = kAlertFrames;
      canceller->pressure = std::min(canceller->pressure + kProvedHowl, kMostPressure);
    }
    place.timer = 0;
    return;
  }
  const bool unimpressed = place.timer >= kEarlyFrames && place.level - level < kEarlyDrop;
  if (place.timer < kTrialFrames && !unimpressed) return;
  const int moved = moved_peak(place, found);
  if (++place.attempts < kTrials && moved) {
    widen_to(place, moved);
    begin_trial(canceller, i);
    return;
  }
  learn_outsider(canceller, place.position, level);
  let_go(place, kAttackStep);
  place.position = 0;
}

void advance_place(howlingCancel* canceller, int i, const int* found) {
  howling_place& place = canceller->places[i];
  if (place.retune) retune(canceller, i);
  ++place.timer;
  switch (place.phase) {
    case kTrial:
      advance_trial(canceller, i, found);
      break;
    case kHolding:
      if (place.timer >= place.hold)
        let_go(place, place.hold == kShortHold ? kQuickReleaseStep : kReleaseStep);
      break;
    case kReleasing:
      if (place.depth == 0) {
        place.phase = kFree;
        place.timer = 0;
      }
      break;
    default:
      if (place.timer >= kMemory) place = {};
      break;
  }
}

}  // namespace

const howling_place* former_place(const howlingCancel* canceller, int position) {
  for (const howling_place& place : canceller->places)
    if (place.position && (place.phase == kFree || place.phase == kReleasing) &&
        std::abs(place.position - position) < std::max(2 * kMoved, place.width / 4))
      return &place;
  return nullptr;
}

void advance_places(howlingCancel* canceller, const int* found) {
  for (int i = 0; i < kPlaces; ++i) advance_place(canceller, i, found);
}

bool all_in_use(const howlingCancel* canceller) {
  return std::all_of(canceller->places, canceller->places + kPlaces, [](const howling_place& p) {
    return p.phase == kTrial || p.phase == kHolding;
  });
}

void answer_howl(howlingCancel* canceller, const howling_suspect& howl, bool strong) {
  int i = place_near(canceller, howl.position);
  if (i >= 0) {
    howling_place& place = canceller->places[i];
    if (place.phase == kTrial) return;
    if (place.phase == kHolding)
      widen_to(place, howl.position);
    else if (!former_place(canceller, howl.position))
      place.position = howl.position;
    place.hold = strong ? kLongHold : std::min(place.hold * 4, kLongHold);
  } else {
    i = vacant_place(canceller);
    howling_place& place = canceller->places[i];
    place.position = howl.position;
    place.width = howl.position * kFirstWidth / 16;
    place.hold = strong || canceller->alert > 0 ? kLongHold : kShortHold;
  }
  canceller->places[i].attempts = 0;
  begin_trial(canceller, i);
}

void answer_sweep(howlingCancel* canceller, int low, int high) {
  int i = place_near(canceller, (low + high) / 2);
  if (i < 0) {
    i = vacant_place(canceller);
    canceller->places[i].width = 0;
    canceller->places[i].position = (low + high) / 2;
  }
  howling_place& place = canceller->places[i];
  if (place.phase == kTrial) return;
  const int margin = low * kFirstWidth / 32;
  span(place, std::min(low_edge(place), low - margin), std::max(high_edge(place), high + margin));
  place.hold = kLongHold;
  place.attempts = 0;
  begin_trial(canceller, i);
}
