#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "scene/pin_light.h"

namespace orv::scene {

/// Remembers from scene to scene the pins that keep their light (`keepLight`), so that those which stay are
/// not worked out again. One thread.
class PinLights {
 public:
  /// Begins a scene: what the one before it did not use is forgotten.
  void nextScene() {
    circles_.nextScene();
    rects_.nextScene();
  }

  /// As the functions of these names.
  hdri::CirclePinParams keepLight(const hdri::CirclePinParams& pin, std::int32_t width, std::int32_t height,
                                  bool coordinates) {
    return circles_.find({pin, width, height, coordinates ? 1 : 0},
                         [&] { return scene::keepLight(pin, width, height, coordinates); });
  }
  hdri::RectPinParams keepLight(const hdri::RectPinParams& pin, std::int32_t width, std::int32_t height) {
    return rects_.find({pin, width, height, 0}, [&] { return scene::keepLight(pin, width, height); });
  }

 private:
  template <typename Params>
  class Memory {
   public:
    struct Question {
      Params pin;
      std::int32_t width;
      std::int32_t height;
      std::int32_t coordinates;
    };
    using Bits = std::array<std::uint32_t, sizeof(Question) / 4>;
    static_assert(alignof(Question) == 4 && sizeof(Question) == sizeof(Params) + 12,
                  "questions are compared bit by bit: they have no gaps");

    template <typename Answer>
    Params find(const Question& question, const Answer& answer) {
      for (const auto* known : {&now_, &before_})
        for (const auto& [asked, answered] : *known)
          if (std::bit_cast<Bits>(asked) == std::bit_cast<Bits>(question))
            return remember(question, answered);
      return remember(question, answer());
    }
    void nextScene() {
      before_ = std::move(now_);
      now_.clear();
    }

   private:
    Params remember(const Question& question, const Params& answer) {
      // Scenes of very many pins would spend more on looking than on working out.
      constexpr std::size_t kMost = 256;
      const Params copy = answer;
      if (now_.size() < kMost) now_.emplace_back(question, copy);
      return copy;
    }

    std::vector<std::pair<Question, Params>> now_;
    std::vector<std::pair<Question, Params>> before_;
  };

  Memory<hdri::CirclePinParams> circles_;
  Memory<hdri::RectPinParams> rects_;
};

}  // namespace orv::scene
