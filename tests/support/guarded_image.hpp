// Images in guarded memory, and their comparison with a model of what an operation does to them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "base/image_view.hpp"
#include "guarded_buffer.hpp"
#include "random.hpp"

namespace zel::test {

// Size, distance and place of an image in guarded memory; neither side is 0.
struct Shape {
  std::size_t width, height, gap;  // gap: bytes between the rows
  Guard guard;
};

struct GuardedImage {
  GuardedImage(std::size_t width, std::size_t height, const Shape& like)
      : buffer(height * (width + like.gap) - like.gap, like.guard),
        view(buffer.data(), width, height, width + like.gap) {}
  GuardedImage(std::size_t width, std::size_t height, const Shape& like, Random& random)
      : GuardedImage(width, height, like) {
    random.fill(bytes());
  }
  std::span<std::uint8_t> bytes() const { return buffer.bytes(); }
  int at(std::size_t r, std::size_t c) const { return view.row_ptr(r)[c]; }

  GuardedBuffer buffer;
  MutableView view;
};

inline constexpr int kKept = -1;  // what a model says of a byte that must stay as it was

// Whether run() leaves model(r, c) in every sample of the image and touches no byte between the rows.
template <class Model, class Run>
testing::AssertionResult changes(const GuardedImage& image, Model model, Run run) {
  const std::vector<std::uint8_t> before(image.bytes().begin(), image.bytes().end());
  run();
  for (std::size_t i = 0; i < before.size(); ++i) {
    const std::size_t r = i / image.view.stride();
    const std::size_t c = i % image.view.stride();
    const int wanted = c < image.view.width() ? model(r, c) : kKept;
    if (image.bytes()[i] == (wanted == kKept ? before[i] : wanted)) continue;
    return testing::AssertionFailure() << "row " << r << ", column " << c << " is " << int{image.bytes()[i]} << ", not "
                                       << wanted << " (was " << int{before[i]} << "): ";
  }
  return testing::AssertionSuccess();
}

// The same for a destination that run(dst) fills: once holding one pattern before, once its complement.
template <class Model, class Run>
testing::AssertionResult writes(std::size_t width, std::size_t height, const Shape& like, Model model, Run run) {
  const GuardedImage image(width, height, like);
  testing::AssertionResult result(true);
  for (const std::uint8_t pattern : {std::uint8_t{0x3C}, std::uint8_t{0xC3}}) {
    std::ranges::fill(image.bytes(), pattern);
    if (result) result = changes(image, model, [&] { run(image.view); });
  }
  return result;
}

}  // namespace zel::test
