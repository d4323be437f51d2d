// The checked interface is reentrant: different scans in eight threads at once, each with the result it has alone.

#include <ZelIMP.hpp>
#include <gtest/gtest.h>

#include <thread>

#include "support/random.hpp"
#include "support/tiff_builder.hpp"

namespace {

using namespace zel::test;

struct Job {
  Bytes raw;
  std::vector<std::uint16_t> white, black;
  zelimp::DescrambleOptions descramble;
  zelimp::ProcessOptions process;

  std::vector<std::byte> run() const {
    zelimp::DescrambleOptions options = descramble;
    options.white = white;
    options.black = black;
    return zelimp::process_scan(zelimp::descramble(std::as_bytes(std::span(raw)), options), process);
  }
};

// Jobs that differ in everything that the flat interface would keep in a global.
Job make_job(unsigned int k) {
  const std::uint32_t samples = k % 4 == 3 ? 3 : 1;
  const std::uint32_t width = 80 + 2 * k, height = 50 + k;
  Bytes pixels(std::size_t{width} * height * samples);
  Random(k).fill(pixels);
  Job job;
  job.raw = device_tiff(width, height, samples, pixels).bytes();
  job.white.assign(width * samples, static_cast<std::uint16_t>(200 + k));
  job.black.assign(width, static_cast<std::uint16_t>(k));
  job.descramble = {.lag = k, .swap_sides = samples == 3 || k % 2 == 0, .tarsis_7200 = k % 3 != 0};
  constexpr zelimp::Format kGreyFormats[] = {zelimp::Format::group4, zelimp::Format::one_bit, zelimp::Format::jfif};
  job.process.format = samples == 3 ? zelimp::Format::jpeg_tiff : kGreyFormats[k % 3];
  job.process.side = static_cast<zelimp::Side>(k % 4);
  job.process.rotation = static_cast<zelimp::Rotation>(k % 3);
  return job;
}

TEST(Checked, eight_threads_get_what_one_gets) {
  constexpr unsigned int kThreads = 8;
  std::vector<Job> jobs;
  std::vector<std::vector<std::byte>> alone;
  for (unsigned int k = 0; k < kThreads; ++k) {
    jobs.push_back(make_job(k));
    alone.push_back(jobs.back().run());
  }
  std::vector<int> wrong(kThreads);
  std::vector<std::thread> threads;
  for (unsigned int k = 0; k < kThreads; ++k) {
    threads.emplace_back([&, k] {
      for (unsigned int i = 0; i < 100; ++i) {
        const unsigned int j = (k + i) % kThreads;
        wrong[k] += jobs[j].run() != alone[j];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, std::vector<int>(kThreads));
}

}  // namespace
