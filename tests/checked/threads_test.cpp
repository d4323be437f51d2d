// The checked interface is reentrant: different scans in eight threads at once, each with the result it has alone.

#include <gtest/gtest.h>

#include <thread>

#include "checked/support.hpp"
#include "support/random.hpp"

namespace {

using namespace zel::test;

using Job = std::function<std::vector<std::byte>()>;

// Jobs that differ in everything that the flat interface would keep in a global.
Job make_job(unsigned int k) {
  constexpr zelimp::Format kGreyFormats[] = {zelimp::Format::group4, zelimp::Format::one_bit, zelimp::Format::jfif};
  const std::uint32_t samples = k % 4 == 3 ? 3 : 1, width = 80 + 2 * k, height = 50 + k;
  Bytes pixels(std::size_t{width} * height * samples);
  Random(k).fill(pixels);
  const Bytes raw = device_tiff(width, height, samples, pixels).bytes();
  const std::vector<std::uint16_t> white(width * samples, static_cast<std::uint16_t>(200 + k));
  const std::vector<std::uint16_t> black(width, static_cast<std::uint16_t>(k));
  const zelimp::DescrambleOptions descramble = {
      .lag = k, .swap_sides = samples == 3 || k % 2 == 0, .tarsis_7200 = k % 3 != 0};
  zelimp::ProcessOptions process = {samples == 3 ? zelimp::Format::jpeg_tiff : kGreyFormats[k % 3]};
  process.side = static_cast<zelimp::Side>(k % 4);
  process.rotation = static_cast<zelimp::Rotation>(k % 3);
  return [=] {
    zelimp::DescrambleOptions options = descramble;
    options.white = white;
    options.black = black;
    return zelimp::process_scan(zelimp::descramble(as_input(raw), options), process);
  };
}

TEST(Checked, eight_threads_get_what_one_gets) {
  constexpr unsigned int kThreads = 8;
  std::vector<Job> jobs;
  std::vector<std::vector<std::byte>> alone;
  for (unsigned int k = 0; k < kThreads; ++k) {
    jobs.push_back(make_job(k));
    alone.push_back(jobs[k]());
  }
  std::vector<int> wrong(kThreads);
  std::vector<std::thread> threads;
  for (unsigned int k = 0; k < kThreads; ++k) {
    threads.emplace_back([&, k] {
      for (unsigned int i = 0; i < 100; ++i) wrong[k] += jobs[(k + i) % kThreads]() != alone[(k + i) % kThreads];
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, std::vector<int>(kThreads));
}

}  // namespace
