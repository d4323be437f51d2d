// Times of all variants of all kernels, and of the pipeline as a whole.
//
// Every row has the counters ns_pixel, GB_s (bytes of the source) and x_memcpy: its time in copies of the same bytes,
// measured immediately before. They are medians of processor time, so that little of what else the machine does counts.

#include <ZelIMP/HRFF.h>
#include <ZelIMP/ZelIMP_pipeline.h>
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ZelIMP.hpp>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <iostream>
#include <string>

#include "../tests/support/tiff_builder.hpp"
#include "ResampleBitmap.hpp"
#include "base/maths.hpp"
#include "kernels/bit_pack.hpp"
#include "kernels/border_trace.hpp"
#include "kernels/box_threshold.hpp"
#include "kernels/column_profile.hpp"
#include "kernels/deinterleave.hpp"
#include "kernels/edge_profile.hpp"
#include "kernels/flat_field.hpp"
#include "kernels/g4_encode.hpp"
#include "kernels/half_turn.hpp"
#include "kernels/histogram.hpp"
#include "kernels/ink_profile.hpp"
#include "kernels/isolated_pixels.hpp"
#include "kernels/quarter_turn.hpp"
#include "kernels/resample.hpp"
#include "kernels/rgb_to_grey.hpp"
#include "kernels/rotate_nearest.hpp"
#include "kernels/run_scan.hpp"
#include "kernels/second_darkest.hpp"
#include "kernels/shear.hpp"
#include "kernels/template_match.hpp"
#include "pages.hpp"
#include "support/punched_line.hpp"

namespace zel::bench {
namespace {

using Bytes = std::vector<std::uint8_t>;

double thread_seconds() {
  timespec now = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <class Run>
double seconds(Run run) {
  const double begin = thread_seconds();
  run();
  benchmark::ClobberMemory();
  return thread_seconds() - begin;
}

double median(std::vector<double> times) {
  std::ranges::nth_element(times, times.begin() + std::ssize(times) / 2);
  return times[times.size() / 2];
}

// Times run(); prepare() goes before each time, unmeasured.
template <class Run, class Prepare>
void measure(benchmark::State& state, const Page& page, const Bytes& src, Bytes& dst, Prepare prepare, Run run) {
  std::vector<double> copies(11);
  for (double& t : copies) t = seconds([&] { std::memcpy(dst.data(), src.data(), src.size()); });
  std::vector<double> times;
  for (auto _ : state) {
    prepare();
    times.push_back(seconds(run));
    state.SetIterationTime(times.back());
  }
  state.counters["ns_pixel"] = median(times) * 1e9 / static_cast<double>(page.grey.size());
  state.counters["GB_s"] = static_cast<double>(src.size()) / median(times) * 1e-9;
  state.counters["x_memcpy"] = median(times) / median(copies);
}

template <class Body>
benchmark::internal::Benchmark* add_row(const std::string& name, Kind kind, Body body) {
  const Page& on = page(kind);
  return benchmark::RegisterBenchmark((name + "/" + on.name).c_str(), [&on, body](auto& state) { body(state, on); })
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

// What a kernel is given: the grey page, three equal samples a pixel, bi-level before and after the noise filter.
enum class Input { grey, colour, bilevel, filtered };

struct Work {
  Work(const Page& page, Input input) : width(page.width), height(page.height), src(page.grey) {
    if (input == Input::colour) {
      width *= 3;
      src.resize(width * height);
      for (std::size_t i = 0; i < src.size(); ++i) src[i] = page.grey[i / 3];
    }
    sums.resize(2 * width);
    white.assign(width, 240);
    black.assign(width, 8);
    dst.resize(9 * src.size() / 4 + 8);
    if (input == Input::bilevel || input == Input::filtered) {
      kern::box_threshold(from(), to(), {even(), odd()}, 25, 80);
      if (input == Input::filtered) kern::isolated_pixels(to(), 2);
      std::copy_n(dst.begin(), src.size(), src.begin());
    }
  }
  ConstView from() const { return {src.data(), width, height}; }
  MutableView to() { return {dst.data(), width, height}; }
  std::span<std::int32_t> even() { return {sums.data(), width}; }
  std::span<std::int32_t> odd() { return {sums.data() + width, width}; }

  std::size_t width;  // in samples
  std::size_t height;
  std::vector<std::int32_t> sums;
  std::vector<std::uint16_t> white;
  std::vector<std::uint16_t> black;
  Bytes src;
  Bytes dst;  // a copy of src before each time, with room for any coding and for half as many rows and columns again
};

// A row for each variant and page: body(run, work).
template <class Variants, class Body>
void add(const std::string& kernel, const Variants& variants, Input input, std::initializer_list<Kind> kinds,
         Body body) {
  for (const auto& variant : variants) {
    if (!cpu_has(variant.isa)) {
      std::cerr << kernel << '/' << variant.name << ": skipped, this CPU cannot run it\n";
      continue;
    }
    for (const Kind kind : kinds) {
      add_row(kernel + "/" + variant.name, kind, [=, run = variant.run](benchmark::State& state, const Page& page) {
        Work work(page, input);
        const auto prepare = [&] { std::ranges::copy(work.src, work.dst.begin()); };
        measure(state, page, work.src, work.dst, prepare, [&] { body(run, work); });
      });
    }
  }
}

void add_kernels() {
  using enum Kind;
  using enum Input;
  constexpr std::size_t kLag = 8;
  add("deinterleave_grey", kern::kDeinterleaveGrey, grey, {text, large}, [](auto run, Work& w) {
    const std::size_t half = w.width / 2, rows = w.height - kLag;
    run(w.from(), w.to().part(0, 0, rows, half), w.to().part(0, half, rows, half), kLag, true);
  });
  add("deinterleave_colour", kern::kDeinterleaveColour, colour, {text}, [](auto run, Work& w) {
    const std::size_t half = w.width / 2, rows = w.height - kLag;
    run(w.from(), w.to().part(0, 0, rows, half), w.to().part(0, half, rows, half), kLag, true,
        kern::PlaneOrder::backward);
  });
  add("flat_field", kern::kFlatField, grey, {text}, [](auto run, Work& w) { run(w.to(), w.white, w.black); });
  add("box_threshold", kern::kBoxThreshold, grey, {blank, text, noise}, [](auto run, Work& w) {
    run(w.from(), w.to(), {w.even(), w.odd()}, 25, 80);
  });
  add("isolated_pixels", kern::kIsolatedPixels, bilevel, {blank, text, noise},
      [](auto run, Work& w) { run(w.to(), 2); });
  add("rgb_to_grey", kern::kRgbToGrey, colour, {text},
      [](auto run, Work& w) { run(w.src, std::span(w.dst).first(w.src.size() / 3)); });
  add("run_scan", kern::kRunScan, filtered, {blank, text, noise}, [](auto run, Work& w) {
    for (std::size_t r = 0; r < w.height; ++r) run(w.from().row(r), w.sums);
  });
  add("g4_encode", kern::kG4Encode, filtered, {blank, text, noise}, [](auto run, Work& w) { run(w.from(), w.dst); });
  add("bit_pack", kern::kBitPack, filtered, {text},
      [](auto run, Work& w) { run(w.from(), MutableView(w.dst.data(), (w.width + 7) / 8, w.height)); });
  add("quarter_turn_grey", kern::kQuarterTurn, grey, {text, large},
      [](auto run, Work& w) { run(w.from(), MutableView(w.dst.data(), w.height, w.width), 1, kern::Turn::clockwise); });
  add("quarter_turn_colour", kern::kQuarterTurn, colour, {text}, [](auto run, Work& w) {
    run(w.from(), MutableView(w.dst.data(), 3 * w.height, w.width / 3), 3, kern::Turn::clockwise);
  });
  add("histogram", kern::kHistogram, grey, {text, large}, [](auto run, Work& w) {
    std::array<std::uint32_t, 256> counts;
    run(w.from(), counts);
  });
  add("ink_columns", kern::kInkColumns, grey, {text}, [](auto run, Work& w) { run(w.from(), 128, w.to().row(0)); });
  add("second_darkest", kern::kSecondDarkest, grey, {text},
      [](auto run, Work& w) { run(w.from(), w.to().part(0, 0, w.height - 3, w.width - 3)); });
  add("half_turn", kern::kHalfTurn, grey, {text, large},
      [](auto run, Work& w) { run(w.src, std::span(w.dst).first(w.src.size())); });
  const auto exchange = [](std::size_t samples) {
    return [samples](auto run, Work& w) {
      for (std::size_t r = 0; r < w.height / 2; ++r) run(w.to().row(r), w.to().row(w.height - 1 - r), samples);
    };
  };
  add("exchange_turned_grey", kern::kExchangeTurned, grey, {text}, exchange(1));
  add("exchange_turned_colour", kern::kExchangeTurned, colour, {text}, exchange(3));
}

// Cropping and deskewing. The searches are given pages on which nothing is found, so that they see every pixel.
void add_geometry() {
  using enum Kind;
  using enum Input;
  for (const double angle : {0.0, 0.01, 0.03, 0.1}) {
    const auto rotate = [angle](std::size_t samples) {
      const auto cosine = static_cast<float>(maths::cos(angle)), sine = static_cast<float>(maths::sin(angle));
      return [=](auto run, Work& w) { run(w.from(), w.to(), samples, cosine, sine); };
    };
    const std::string by = std::to_string(angle).substr(0, 4);
    add("rotate_nearest_grey/" + by, kern::kRotateNearest, grey, {text, large}, rotate(1));
    add("rotate_nearest_colour/" + by, kern::kRotateNearest, colour, {text}, rotate(3));
    if (angle == 0.0) continue;
    add("shear/" + by, kern::kShear, grey, {text, large}, [angle](auto run, Work& w) {
      std::vector<std::uint32_t> shifts(std::max(w.width, w.height));
      for (std::size_t k = 0; k < shifts.size(); ++k) shifts[k] = static_cast<std::uint32_t>(double(k) * angle);
      run(w.from(), w.to(), shifts, shifts);
    });
  }
  const auto edges = [](std::size_t step) {
    return [step](auto run, Work& w) {
      for (std::size_t r = 0; r + 3 <= w.height; r += 3) {
        benchmark::DoNotOptimize(run(w.from().part(r, 0, 3, w.width), step, 0, w.width / step - 2, 1785));
      }
    };
  };
  add("edge_profile_grey", kern::kEdgeProfile, grey, {text, large}, edges(1));
  add("edge_profile_colour", kern::kEdgeProfile, colour, {text}, edges(3));
  add("column_profile", kern::kColumnProfile, grey, {text, large}, [](auto run, Work& w) {
    std::vector<std::uint64_t> level(w.width), change(w.width);
    run(w.from(), level, change);
  });
  for (const bool left : {true, false}) {
    add(left ? "border_trace/left" : "border_trace/right", kern::kBorderTrace, grey, {text, large},
        [left](auto run, Work& w) {
          for (std::size_t r = 0; r < w.height; ++r) benchmark::DoNotOptimize(run(w.from().row(r), 255, left));
        });
  }
}

void add_resampling() {
  using enum Kind;
  constexpr unsigned kLanczos3Filter = 7;
  const auto resample = [](std::size_t samples, unsigned filter, std::size_t from_dpi, std::size_t to_dpi) {
    return [=](auto run, Work& w) {
      const std::size_t width = w.width / samples * to_dpi / from_dpi, height = w.height * to_dpi / from_dpi;
      run(w.from(), MutableView(w.dst.data(), width * samples, height), samples, resample_filter(filter));
    };
  };
  add("resample_triangle/300_200", kern::kResample, Input::grey, {text, noise}, resample(1, kTriangleFilter, 300, 200));
  add("resample_triangle/200_300", kern::kResample, Input::grey, {text, noise}, resample(1, kTriangleFilter, 200, 300));
  add("resample_lanczos3/300_200", kern::kResample, Input::grey, {noise}, resample(1, kLanczos3Filter, 300, 200));
  add("resample_box_colour/300_200", kern::kResample, Input::colour, {noise}, resample(3, kBoxFilter, 300, 200));
}

// Scan to Group 4 with the adaptive threshold. Returns the bytes made.
unsigned int process(Bytes& tiff, Bytes& output, int side = 0, int deskew = 0) {
  unsigned int size = 0;
  double angle = 0;
  const unsigned int status = ZelIMPImageProc(tiff.data(), output.data(), &size, 0, side, 0, 0, 0, 0, deskew, &angle);
  if (status != ZELIMP_OK) std::abort();
  return size;
}

Bytes scan(const Page& page) {
  const auto width = static_cast<std::uint32_t>(page.width), height = static_cast<std::uint32_t>(page.height);
  return test::device_tiff(width, height, 1, page.grey).bytes();
}

// Largest resident size of a copy of this process that calls run().
template <class Run>
double peak_bytes(Run run) {
  malloc_trim(0);
  const pid_t child = fork();
  if (child == 0) {
    run();
    _exit(0);
  }
  int status = 0;
  rusage usage = {};
  if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0) std::abort();
  return static_cast<double>(usage.ru_maxrss) * 1024;
}

void add_pipeline() {
  for (const Kind kind : {Kind::blank, Kind::text, Kind::noise, Kind::large}) {
    add_row("ZelIMPImageProc/group4", kind, [](benchmark::State& state, const Page& page) {
      Bytes tiff = scan(page), output(2 * tiff.size());
      measure(
          state, page, page.grey, output, [] {}, [&] { process(tiff, output); });
    });
  }
  // The whole job: two skewed faces to one straight one.
  add_row("ZelIMPImageProc/deskew_front_group4", Kind::skewed, [](benchmark::State& state, const Page& page) {
    Bytes tiff = scan(page), output(2 * tiff.size());
    // A skew that is not found would be measured as a fast deskew.
    if (process(tiff, output, 2, 2) == process(tiff, output, 2)) std::abort();
    measure(
        state, page, page.grey, output, [] {}, [&] { process(tiff, output, 2, 2); });
  });
  add_row("ZelIMPImageProc/memory", Kind::text, [](benchmark::State& state, const Page& page) {
    Bytes tiff = scan(page), output(2 * tiff.size());
    for (auto _ : state) {
      const double more = peak_bytes([&] { process(tiff, output); }) - peak_bytes([] {});
      state.counters["peak_x_image"] = more / static_cast<double>(page.grey.size());
      state.SetIterationTime(0);
    }
  })->Iterations(1);
}

// The line of micro-holes on both faces of a cheque.
void add_holes() {
  const auto add_reader = [](const std::string& name, auto read) {
    benchmark::RegisterBenchmark((name + "/cheque").c_str(),
                                 [read](benchmark::State& state) {
                                   const test::PunchedLine line = {.digits = "123456789", .rear = true};
                                   const Bytes front = test::PunchedLine{.digits = line.digits}.file(),
                                               rear = line.file();
                                   Page both = {"cheque", static_cast<std::size_t>(line.width),
                                                2 * static_cast<std::size_t>(line.height), front};
                                   both.grey.insert(both.grey.end(), rear.begin(), rear.end());
                                   Bytes copy(both.grey.size()), front_copy = front, rear_copy;
                                   measure(
                                       state, both, both.grey, copy, [&] { rear_copy = rear; },
                                       [&] {
                                         if (read(front_copy, rear_copy) != line.digits) std::abort();
                                       });
                                 })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  };
  add_reader("ZelIMPValidateMH", [](Bytes& front, Bytes& rear) {
    char result[272];
    ZelIMPValidateMH(front.data(), rear.data(), result);
    return std::string(result);
  });
  add_reader("read_micro_holes", [](const Bytes& front, const Bytes& rear) {
    return zelimp::read_micro_holes(std::as_bytes(std::span(front)), std::as_bytes(std::span(rear))).text;
  });
}

// Templates of 60 x 55 pixels over their region, 66 x 62: 56 places each, all counted to the end. As many templates as
// make a time that can be measured; the counters are of the templates' pixels.
void add_template_match() {
  constexpr std::size_t kTemplates = 64, kWidth = 60, kHeight = 55, kColumns = 7, kRows = 8;
  static const Page templates = {
      "60x55 in 66x62",
      kWidth,
      kHeight * kTemplates,
      {page(Kind::noise).grey.begin(), page(Kind::noise).grey.begin() + kWidth * kHeight * kTemplates}};
  for (const auto& variant : kern::kTemplateMatch) {
    if (!cpu_has(variant.isa)) continue;  // told by other rows
    benchmark::RegisterBenchmark(
        (std::string("template_match/") + variant.name + '/' + templates.name).c_str(),
        [run = variant.run](benchmark::State& state) {
          const std::size_t width = kern::bounds_width(kWidth);
          Bytes bounds(2 * width * templates.height), copy(templates.grey.size()), mask(templates.grey.size(), 20);
          const ConstView region(page(Kind::noise).grey.data(), width + kColumns, kHeight + kRows);
          const MutableView all(bounds.data(), 2 * width, templates.height);
          kern::template_bounds({templates.grey.data(), kWidth, templates.height},
                                {mask.data(), kWidth, templates.height}, all);
          std::vector<std::uint32_t> counts(kColumns);
          measure(
              state, templates, templates.grey, copy, [] {},
              [&] {
                for (std::size_t r = 0; r < kTemplates * kRows; ++r) {
                  run(region.part(r % kRows, 0, kHeight, width + kColumns),
                      ConstView(all).part(r / kRows * kHeight, 0, kHeight, 2 * width), counts);
                }
              });
          benchmark::DoNotOptimize(counts.data());
        })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  }
}

// A search that finds nothing: eight templates, two faces, both orientations.
void add_banknotes() {
  benchmark::RegisterBenchmark(
      "ZelIMPMoneyGetValue/not found",
      [](benchmark::State& state) {
        const auto dib = [](std::size_t width, std::size_t height, std::size_t from) {
          const auto begin = page(Kind::noise).grey.begin() + static_cast<std::ptrdiff_t>(from);
          const Bytes file = test::bitmap_file(static_cast<int>(width), static_cast<int>(height),
                                               {begin, begin + static_cast<std::ptrdiff_t>(width * height)});
          return Bytes(file.begin() + 14, file.end());
        };
        for (std::size_t k = 0; k < 8; ++k) {
          Bytes templ = dib(60, 55, 4000 * k + 9), mask = dib(60, 55, 40000);
          std::fill(mask.begin() + 1064, mask.end(), std::uint8_t{20});
          const int code = static_cast<int>(16 * k) + 1;
          ZelIMPAdd_Char(code, reinterpret_cast<char*>(templ.data()));
          ZelIMPAdd_Mask(code, reinterpret_cast<char*>(mask.data()));
        }
        Bytes first = dib(1400, 620, 1), second = dib(1400, 620, 2);
        Page both = {"faces", 1400, 1240, first};
        both.grey.insert(both.grey.end(), second.begin(), second.end());
        Bytes copy(both.grey.size());
        unsigned char told[3];
        measure(
            state, both, both.grey, copy, [] {},
            [&] {
              if (ZelIMPMoneyGetValue(first.data(), second.data(), &told[0], &told[1], &told[2]) != 0) std::abort();
            });
        ZelIMPUnloadAllRecognizers();
      })
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

}  // namespace
}  // namespace zel::bench

int main(int argc, char** argv) {
  zel::bench::add_kernels();
  zel::bench::add_geometry();
  zel::bench::add_resampling();
  zel::bench::add_pipeline();
  zel::bench::add_holes();
  zel::bench::add_template_match();
  zel::bench::add_banknotes();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
