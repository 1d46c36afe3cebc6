#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "fixed.h"
#include "ktv/howling_internal.h"
#include "ktv/howling_lines.h"

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
constexpr int kEarlyFrames = 8;  // by then a howl has fallen a little, however long the room rings
constexpr int kEarlyDrop = level_of_db(1.2);
constexpr int kTrials = 2;
constexpr int kTrialDrop = level_of_db(7.0);
constexpr int kWeakTrialDrop = level_of_db(11.0);
// A loop that is cut dies away one delay later, and frames overlap. What has fallen by more than this
// so many frames into its trial has ended by itself.
constexpr int kFastestFall[] = {level_of_db(1.2), level_of_db(2.5), level_of_db(4.0)};
constexpr int kFastestSlowFall[] = {level_of_db(1.2), level_of_db(1.2), level_of_db(1.2),
                                    level_of_db(2.0), level_of_db(4.0), level_of_db(7.5),
                                    level_of_db(13.0)};
// So has what falls together with all the rest, where there is a rest.
constexpr int kRestFall = level_of_db(5.0), kLeastRest = level_of_db(20.0);
constexpr int kOverwhelming = level_of_db(12.0);  // above the usual level: hardly a voice
constexpr int kMiddle = 20;  // a notch takes 20 dB and more from a 20th of its width to either side
// A slow ring's trial is heard in a narrow band, over 43 ms.
constexpr int kSlowEarlyFrames = 9;
constexpr int kSlowDrop = level_of_db(5.0);
constexpr int kShortHold = 75, kSlowHold = 150;  // 0.4 and 0.8 s
constexpr int kSureHold = 1200;                  // 6.4 s: shorter ones are given up quickly
constexpr int kMemory = kLongHold / 2;           // of a free place: 30 s
constexpr int kMoved = 24, kFarthest = 384;  // 9 Hz and 141 Hz: a howl goes to a neighbouring mode

// -2 cos of the angle of an analysis frequency at the full rate, Q28: the addition theorem from the
// bin below it.
int turn_of(int position) {
  const int clamped = std::clamp(position, 0, 96 * 256 - 1);
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

// The level in front of the notch.
int trial_level(const howlingCancel* canceller, const howling_place& place) {
  return place.slow ? narrow_level(canceller->lines, place.heard)
                    : newest_level(canceller, place.heard);
}

void begin_trial(howlingCancel* canceller, int i) {
  howling_place& place = canceller->places[i];
  place.phase = kTrial;
  place.timer = 0;
  place.level = trial_level(canceller, place);
  place.rest = rest_level(canceller, place.heard);
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

// To either side of a new howl.
int margin_of(int position) { return position * kFirstWidth / 48; }

// Over a howl beside it; where that is too wide, the far edge gives way.
void widen_to(howling_place& place, int position) {
  const int margin = place.width / 2, widest = place.position * kWidest / 16;
  int low = std::min(low_edge(place), position - margin);
  int high = std::max(high_edge(place), position + margin);
  if (high - low > widest && position < place.position)
    high = low + widest;
  else if (high - low > widest)
    low = high - widest;
  span(place, low, high);
}

// Whether it can still grow to a frequency.
bool reaches(const howling_place& place, int position) {
  const int margin = margin_of(position);
  return std::max(high_edge(place), position + margin) -
             std::min(low_edge(place), position - margin) <=
         place.position * kWidest / 16;
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

// Ahead of a trial of what stands already.
void remember_stand(howling_place& place) {
  if (place.phase == kFree || place.proven_position) return;
  place.proven_position = place.position;
  place.proven_width = place.width;
  place.proven_hold = place.hold;
  place.proven_timer = place.phase == kReleasing ? place.hold : place.timer;
}

// After a trial that was in vain: to where it stood before, if anywhere.
void take_back(howlingCancel* canceller, int i) {
  howling_place& place = canceller->places[i];
  if (place.proven_position == 0) {
    let_go(place, kAttackStep);
    place.position = 0;
    return;
  }
  place.position = std::exchange(place.proven_position, 0);
  place.width = place.proven_width;
  place.phase = kHolding;
  place.hold = place.proven_hold;
  place.timer = place.proven_timer;
  retune(canceller, i);
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

// Whether it fell before the notch can show.
bool has_ended(const howling_place& place, int level) {
  const auto faster = [&](const auto& falls) {
    return place.timer < static_cast<int>(std::size(falls)) &&
           place.level - level > falls[place.timer];
  };
  return place.slow ? faster(kFastestSlowFall) : faster(kFastestFall);
}

// Whether a fall proves nothing, as all else has fallen too.
bool falls_with_the_rest(const howlingCancel* canceller, const howling_place& place) {
  return !place.loud && place.rest > place.level - kLeastRest &&
         place.rest - rest_level(canceller, place.heard) > kRestFall;
}

void advance_trial(howlingCancel* canceller, int i, const int* found) {
  howling_place& place = canceller->places[i];
  const int level = trial_level(canceller, place);
  if (place.loud != kGlided && has_ended(place, level)) return take_back(canceller, i);
  place.level = std::max(place.level, level);
  const int drop = place.slow     ? kSlowDrop + place.slope * place.timer / kFramesPerLook
                   : place.strong ? kTrialDrop
                                  : kWeakTrialDrop;
  const bool fallen = place.level - level >= drop;
  if (fallen && place.timer >= kLeastTrial && !falls_with_the_rest(canceller, place)) {
    place.phase = kHolding;
    place.proven_position = 0;
    if (place.slow) canceller->lines->doubt /= 2;
    if (place.strong) canceller->alert = kAlertFrames;
    canceller->pressure = std::min(canceller->pressure + kProvedHowl, kMostPressure);
    place.timer = 0;
    return;
  }
  const int early = place.slow ? kSlowEarlyFrames : kEarlyFrames;
  const bool unimpressed = place.timer >= early && place.level - level < kEarlyDrop;
  if (place.timer < kTrialFrames && !unimpressed) return;
  if (fallen) return take_back(canceller, i);
  const int moved = moved_peak(place, found);
  if (++place.attempts < kTrials && moved) {
    widen_to(place, moved);
    place.heard = moved;
    begin_trial(canceller, i);
    return;
  }
  if (place.proven_position == 0) learn_outsider(canceller, place.position, level);
  take_back(canceller, i);
}

// No loop goes through the middle of a notch: what stands there comes from outside, and may be what
// the notch was put on.
bool stands_in_the_middle(const howling_place& place, int position) {
  return place.phase == kHolding && place.depth == kFullDepth &&
         std::abs(position - place.position) <= place.width / kMiddle;
}

void doubt_place(howling_place& place) {
  place.hold /= 4;
  if (place.timer < place.hold) return;
  let_go(place, kQuickReleaseStep);
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
        let_go(place, place.hold < kSureHold ? kQuickReleaseStep : kReleaseStep);
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

int holding(const howlingCancel* canceller) {
  return static_cast<int>(
      std::count_if(canceller->places, canceller->places + kPlaces,
                    [](const howling_place& p) { return p.phase == kHolding; }));
}

bool all_in_use(const howlingCancel* canceller) {
  return std::all_of(canceller->places, canceller->places + kPlaces, [](const howling_place& p) {
    return p.phase == kTrial || p.phase == kHolding;
  });
}

void answer_howl(howlingCancel* canceller, int position, bool strong, bool slow, int slope) {
  int i = place_near(canceller, position);
  if (i >= 0 && canceller->places[i].phase == kHolding &&
      !reaches(canceller->places[i], position) && !all_in_use(canceller))
    i = -1;
  const bool near = i >= 0, returns = former_place(canceller, position) != nullptr;
  if (!near) i = vacant_place(canceller);
  howling_place& place = canceller->places[i];
  if (place.phase == kTrial) return;
  if (near && stands_in_the_middle(place, position)) return doubt_place(place);
  const bool alert = canceller->alert > 0;
  place.slow = slow;
  place.strong = strong || (alert && !slow);
  place.loud = alert || newest_level(canceller, position) - canceller->usual_level > kOverwhelming;
  if (near && (returns || place.phase == kHolding)) {
    remember_stand(place);
    if (place.phase == kHolding) widen_to(place, position);
    place.hold = strong ? kLongHold : std::min(place.hold * 4, kLongHold);
  } else {
    const int first_hold = slow ? kSlowHold : place.loud ? kStrongHold : kShortHold;
    place.hold = near ? std::max(place.hold, first_hold) : first_hold;
    place.position = position;
    place.proven_position = 0;
    place.width = position * kFirstWidth / 16;
  }
  place.heard = position;
  place.attempts = 0;
  place.slope = std::max(-slope, 0);
  begin_trial(canceller, i);
}

void answer_sweep(howlingCancel* canceller, int low, int high) {
  int i = place_near(canceller, (low + high) / 2);
  if (i < 0) {
    i = vacant_place(canceller);
    canceller->places[i].width = 0;
    canceller->places[i].proven_position = 0;
    canceller->places[i].phase = kFree;
    canceller->places[i].position = (low + high) / 2;
  }
  howling_place& place = canceller->places[i];
  if (place.phase == kTrial) return;
  remember_stand(place);
  place.slow = 0;
  place.strong = 1;
  place.loud = kGlided;
  place.heard = (low + high) / 2;
  const int margin = low * kFirstWidth / 32;
  span(place, std::min(low_edge(place), low - margin), std::max(high_edge(place), high + margin));
  place.hold = kLongHold;
  place.attempts = 0;
  begin_trial(canceller, i);
}
