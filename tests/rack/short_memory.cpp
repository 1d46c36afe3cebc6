// Every allocation of create, load and save fails once, alone and with all after it.
#include <gtest/gtest.h>
#include <sonx/rack.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/interposer.h"

namespace {

constexpr int kRate = 48000, kFrames = 480;

// Runs act with the nth allocation failing, for n = 0, 1, .. until none is left to fail; act says
// whether it succeeded, and must not have if one failed.
template <typename Act>
void with_each_failure(Act act) {
  for (const bool one : {true, false}) {
    interposer::fail_one = one;
    int allocations = 0;
    for (bool failed = true; failed; ++allocations) {
      interposer::has_failed = false;
      interposer::allocations_left = allocations;
      const bool fine = act();
      interposer::allocations_left = -1;
      failed = interposer::has_failed;
      ASSERT_EQ(fine, !failed) << "allocation " << allocations
                               << (one ? " alone" : " and all after");
    }
    EXPECT_GT(allocations, 1) << "nothing was made to fail";
  }
}

std::string preset_of(const char* effect) {
  return std::string(
             "sonx = 1\nname = \"a name that needs memory of its own\"\n[[effect]]\nid = \"") +
         effect + "\"\n";
}

std::vector<int32_t> played(sonx_rack* rack, int calls) {
  std::vector<int32_t> out;
  unsigned value = 1;
  for (int k = 0; k < calls; ++k) {
    std::vector<int32_t> words(2 * kFrames);
    for (int32_t& w : words) w = static_cast<int32_t>(value = value * 1664525u + 1013904223u) >> 2;
    sonx_rack_process_s32(rack, words.data(), 2, kFrames);
    out.insert(out.end(), words.begin(), words.end());
  }
  return out;
}

std::string saved(const sonx_rack* rack) {
  std::string text(static_cast<size_t>(sonx_rack_save(rack, nullptr, 0)), '\0');
  sonx_rack_save(rack, text.data(), text.size() + 1);
  return text;
}

}  // namespace

TEST(ShortMemory, CreateAnswersNull) {
  with_each_failure([] {
    sonx_rack* const rack = sonx_rack_create(kRate, kFrames);
    sonx_rack_destroy(rack);
    return rack != nullptr;
  });
}

TEST(ShortMemory, LoadAnswersMinusOneAndTheRackPlaysOnAsItWas) {
  for (int k = 0; k < sonx_effect_count(); ++k) {
    const sonx_effect* const effect = sonx_effect_at(k);
    if (std::count(effect->rates, effect->rates + effect->rate_count, kRate) == 0) continue;
    SCOPED_TRACE(effect->id);
    const std::string preset = preset_of(effect->id), before = preset_of("reverb");
    sonx_rack* racks[2];
    for (sonx_rack*& rack : racks) {
      rack = sonx_rack_create(kRate, kFrames);
      ASSERT_EQ(sonx_rack_load(rack, before.c_str(), nullptr, 0), 0);
      played(rack, 2);
    }
    const std::string settings = saved(racks[0]);
    with_each_failure([&] {
      char error[100] = "";
      const bool fine = sonx_rack_load(racks[0], preset.c_str(), error, sizeof error) == 0;
      interposer::allocations_left = -1;
      if (!fine) {
        EXPECT_STRNE(error, "");
        EXPECT_EQ(saved(racks[0]), settings);
        return false;
      }
      // It came in: back to where it was, on a new rack.
      sonx_rack_destroy(racks[0]);
      racks[0] = sonx_rack_create(kRate, kFrames);
      EXPECT_EQ(sonx_rack_load(racks[0], before.c_str(), nullptr, 0), 0);
      played(racks[0], 2);
      return true;
    });
    EXPECT_EQ(played(racks[0], 3), played(racks[1], 3));
    for (sonx_rack* rack : racks) sonx_rack_destroy(rack);
  }
}

TEST(ShortMemory, SaveAnswersMinusOne) {
  sonx_rack* const rack = sonx_rack_create(kRate, kFrames);
  ASSERT_EQ(sonx_rack_load(rack, preset_of("reverb").c_str(), nullptr, 0), 0);
  with_each_failure([&] { return sonx_rack_save(rack, nullptr, 0) > 0; });
  sonx_rack_destroy(rack);
}
