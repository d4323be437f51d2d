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
  GuardedImage(std::size_t width, std::size_t height, const Shape& like, Random* random = nullptr)
      : buffer(height * (width + like.gap) - like.gap, like.guard),
        view(buffer.data(), width, height, width + like.gap) {
    if (random != nullptr) random->fill(bytes());
  }
  std::span<std::uint8_t> bytes() const { return buffer.bytes(); }
  int at(std::size_t r, std::size_t c) const { return view.row_ptr(r)[c]; }

  GuardedBuffer buffer;
  MutableView view;
};

inline constexpr int kKept = -1;  // what a model says of a byte that must stay as it was

// Whether run() leaves in every sample of the image what model(r, c) tells before it, and touches no byte between rows.
testing::AssertionResult changes(const GuardedImage& image, auto model, auto run) {
  std::vector<int> wanted(image.bytes().begin(), image.bytes().end());
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    const std::size_t r = i / image.view.stride(), c = i % image.view.stride();
    const int level = c < image.view.width() ? model(r, c) : kKept;
    if (level != kKept) wanted[i] = level;
  }
  run();
  const std::size_t i = static_cast<std::size_t>(std::ranges::mismatch(wanted, image.bytes()).in1 - wanted.begin());
  if (i == wanted.size()) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "row " << i / image.view.stride() << ", column " << i % image.view.stride()
                                     << " is not " << wanted[i] << ": ";
}

// The same for a destination that run(dst) fills, with anything in it before.
testing::AssertionResult writes(std::size_t width, std::size_t height, const Shape& like, auto model, auto run) {
  static Random random(2);
  const GuardedImage image(width, height, like, &random);
  return changes(image, model, [&] { run(image.view); });
}

}  // namespace zel::test
