// Micro-holes through the checked interface: the result of the flat one, the places, and why something was not read.

#include <ZelIMP.h>
#include <gtest/gtest.h>

#include <numeric>

#include "checked/support.hpp"
#include "support/guarded_buffer.hpp"
#include "support/punched_line.hpp"

namespace {

using namespace zel::test;
using zelimp::HoleReason;
using zelimp::Status;

TEST(Holes, read_as_the_flat_call_reads_and_tell_where) {
  for (const int kind : {0, 1, 2, 3}) {
    const Bytes front = PunchedLine{.digits = "0123456789", .top_down = kind % 2 != 0}.file();
    const Bytes rear = PunchedLine{.digits = "012345678?", .rear = true, .top_down = kind > 1}.file();
    Bytes front_copy = front, rear_copy = rear;
    char result[272];
    const int status = ZelIMPValidateMH(front_copy.data(), rear_copy.data(), result);
    const auto holes = zelimp::read_micro_holes(as_input(front), as_input(rear).subspan(14));
    EXPECT_EQ(std::to_string(holes.status) + holes.text, std::to_string(status) + result);
    EXPECT_EQ(holes.rear.reason, HoleReason::unmatched);
    EXPECT_EQ(holes.rear.zone.top, 620u - 195 - 85 + (kind > 1 ? 1 : 0));
    for (unsigned k = 0; k < 18; ++k) {
      const auto& [character, box, pattern, cells, differing] = (k < 9 ? holes.front : holes.rear).characters.at(k % 9);
      EXPECT_NEAR(box.left * 10000 + box.top, (200 + 50 * (k % 9)) * 10000 + 620 - 210 - 53, 1);
      EXPECT_NEAR(box.width, 31, 1);
      EXPECT_NEAR(box.height, 52, 1);
      EXPECT_NEAR(cells[34].left, 226 + 50 * (k % 9), 3);  // the lower right one
      EXPECT_NEAR(cells[34].top, 620 - 210 - 5, 2);
      const unsigned char* const digit = MicroholesFont + 35 * (character - '0');
      EXPECT_EQ(std::inner_product(pattern.begin(), pattern.end(), digit, 0, std::plus(), std::not_equal_to()),
                differing);
    }
  }
}

TEST(Holes, tell_why_nothing_was_read) {
  for (const auto& [rows, reason] :
       {std::pair(0, HoleReason::no_ink), {25, HoleReason::no_line_height}, {53, HoleReason::no_box}}) {
    Bytes file = PunchedLine{.digits = ""}.file();
    for (int k = 0; k < 10 * rows; ++k)
      std::fill_n(&file[1078u + (210 + k / 10) * 1400 + 300 + k % 10 * 20], 6, 40 + k % 60);
    EXPECT_EQ(zelimp::read_micro_holes(as_input(file), {}).front.reason, reason) << rows;
  }
  EXPECT_EQ(zelimp::read_micro_holes({}, {}).front.reason, HoleReason::no_image);
}

TEST(Holes, refuse_what_does_not_fit_together) {
  const Bytes file = PunchedLine{}.file();
  const auto status = [](const Bytes& bytes, const zelimp::HoleZone& zone = zelimp::kValidateZone,
                         const zelimp::Limits& limits = {}) {
    const GuardedBuffer buffer(bytes.size(), Guard::behind);
    std::ranges::copy(bytes, buffer.data());
    const auto read = [&] { zelimp::read_micro_holes({}, as_input(buffer.bytes()), zone, limits); };
    return refusal(read).status();
  };
  for (const std::size_t length : {1, 15, 53, 1077, 869077}) {
    EXPECT_EQ(status({file.begin(), file.begin() + length}), Status::not_loaded) << length;
  }
  for (const auto& [at, value, wanted] :
       {std::array{10, 0, 1}, {14, 108, 2}, {21, 128, 1}, {24, 1, 1}, {28, 24, 2}, {30, 1, 2}, {47, 2, 1}, {2, 0, 0}}) {
    Bytes changed = file;
    changed[at] = static_cast<std::uint8_t>(value);
    EXPECT_EQ(status(changed), Status{wanted}) << at;
  }
  for (const std::uint32_t bottom : {536u, 0xFFFFFFFFu}) {
    EXPECT_EQ(status(file, {166, bottom, 540, 85}), Status::bad_argument);
  }
  EXPECT_EQ(status(file, {166, 195, 0, 85}), Status::bad_argument);
  for (const zelimp::Limits& below : {zelimp::Limits{file.size() - 1}, zelimp::Limits{.max_pixels = 1400 * 620 - 1}}) {
    EXPECT_EQ(status(file, zelimp::kValidateZone, below), Status::over_limit);
  }
}

}  // namespace
