// Module MoneyDecode: the contrast stretch, and templates of banknotes.

#include <ZelIMP/FontAPI.h>
#include <ZelIMP/MoneyDecode.h>

#include <algorithm>
#include <limits>
#include <new>
#include <optional>
#include <span>

#include "FontAPI.hpp"
#include "ImagBox.hpp"
#include "MoneyDecode.hpp"
#include "base/allocated.hpp"
#include "base/checked.hpp"
#include "kernels/histogram.hpp"
#include "kernels/template_match.hpp"

LOCATION USDloc[zel::kNoteClasses];

namespace zel {
namespace {

using Counts = std::array<std::uint32_t, 256>;

// The first level from `from` to `to`, either way, up to which more than limit pixels were counted, beginning at from.
int level_beyond(const Counts& counts, std::uint32_t limit, int from, int to) {
  const int step = from < to ? 1 : -1;
  std::uint32_t sum = 0;
  for (int level = from; level != to; level += step) {
    sum += counts[static_cast<std::size_t>(level)];
    if (sum > limit) return level;
  }
  return to;
}

// What becomes of every pixel value. A single level makes both ends: black has it.
Levels stretched(int low, int high) {
  Levels to{};
  for (int value = 0; value < 256; ++value) {
    const int level = value <= low ? 0 : value < high ? (value - low) * 255 / (high - low) : 255;
    to[static_cast<std::size_t>(value)] = static_cast<std::uint8_t>(level);
  }
  return to;
}

// A template as it is compared: the bounds of its pixels.
struct Bounds {
  std::vector<std::uint8_t> bytes;
  ConstView view;
};

// None when what is read of the image or the mask is not within its block.
std::optional<Bounds> bounds_of(const NoteTemplate& note) {
  const MutableView image = pixels_within(note.image, note.bytes);
  const std::span<std::uint8_t> mask = tail_within(note.mask, note.bytes);
  // KEPT: the mask's rows lie as far apart as those of the template, whatever its own header says: test
  // money_mask_has_rows_of_the_template.
  if (image.empty() || mask.size() < image.stride() * (image.height() - 1) + image.width()) return std::nullopt;
  const std::size_t width = 2 * kern::bounds_width(image.width());
  Bounds bounds = {std::vector<std::uint8_t>(checked_mul(width, image.height())), {}};
  const MutableView view(bounds.bytes.data(), width, image.height());
  kern::template_bounds(image, {mask.data(), image.width(), image.height(), image.stride()}, view);
  bounds.view = view;
  return bounds;
}

// Counts at all places of one row. Where no count is below the ceiling they may be incomplete.
void count_row(ConstView region, ConstView bounds, std::size_t row, std::uint32_t ceiling,
               std::span<std::uint32_t> counts) {
  constexpr std::size_t kRows = 8;  // between two looks at the counts
  const std::size_t columns = bounds.width() / 2 + counts.size() - 1;
  std::ranges::fill(counts, 0);
  for (std::size_t r = 0; r < bounds.height(); r += kRows) {
    const std::size_t rows = std::min(kRows, bounds.height() - r);
    kern::template_match(region.part(row + r, 0, rows, columns), bounds.part(r, 0, rows, bounds.width()), counts);
    if (std::ranges::min(counts) >= ceiling) return;
  }
}

// Fills in the best place among rows x columns of them. A count from `ceiling` on is none.
bool search(const NoteRegion& region, const Bounds& bounds, std::size_t rows, std::size_t columns,
            std::uint32_t ceiling, NoteComparison& found) {
  std::vector<std::uint32_t> counts(columns);
  bool any = false;
  for (std::size_t row = 0; row < rows; ++row) {
    count_row(region.pixels(), bounds.view, row, ceiling, counts);
    for (std::size_t column = 0; column < columns; ++column) {
      if (counts[column] >= ceiling) continue;
      any = true;
      found.disagreeing = ceiling = counts[column];
      found.row = static_cast<int>(row), found.column = static_cast<int>(column);
      if (ceiling < static_cast<std::uint32_t>(found.limit)) return true;
    }
  }
  return any;
}

}  // namespace

int equalize(const GreyDib& image) {
  const Levels levels = levels_of(image);
  Counts values, counts{};
  kern::histogram(image.pixels, values);
  for (std::size_t value = 0; value < 256; ++value) counts[levels[value]] += values[value];

  const auto pixels = static_cast<std::uint32_t>(image.pixels.width() * image.pixels.height());
  const int low = level_beyond(counts, pixels / 50, 0, 255), high = level_beyond(counts, pixels / 50, 255, 0);
  // KEPT: the limits are grey levels, what is stretched between them are the pixel values: with a colour table that is
  // no grey ramp neither end need be reached: test equalize_stretches_stored_values.
  const Levels to = stretched(low, high);
  for (std::size_t r = 0; r < image.pixels.height(); ++r) {
    for (std::uint8_t& value : image.pixels.row(r)) value = to[value];
  }
  std::uint64_t sum = 0;
  for (std::size_t value = 0; value < 256; ++value) sum += std::uint64_t{values[value]} * levels[to[value]];
  return static_cast<int>(sum / pixels);
}

NoteRegion::NoteRegion(const GreyDib& cut)
    : width_(static_cast<int>(cut.pixels.width())),
      height_(static_cast<int>(cut.pixels.height())),
      stride_(cut.pixels.width() + kern::bounds_width(1)),
      pixels_(checked_mul(stride_, cut.pixels.height())) {
  equalize(cut);
  for (std::size_t r = 0; r < cut.pixels.height(); ++r) {
    std::ranges::copy(cut.pixels.row(r), pixels_.begin() + static_cast<std::ptrdiff_t>(r * stride_));
  }
}

bool NoteTemplate::complete() const {
  const auto fits = [this](const unsigned char* dib) {
    const auto facts = facts_within(dib, bytes);
    return facts && dib_bytes(*facts) <= bytes;
  };
  return fits(image) && fits(mask);
}

NoteComparison compare(const NoteRegion& region, const NoteTemplate& note, Aim aim) {
  using enum NoteComparison::Outcome;
  const DibFacts facts = dib_facts(note.image);
  if (facts.width > region.width() || facts.height > region.height()) return {too_large};
  // KEPT: a template without pixels has nothing to disagree with and is accepted on every note. That is also one with
  // rows top to bottom, of a negative height: test money_templates_that_always_match.
  if (facts.width < 1 || facts.height < 1) return {compared};
  const std::optional<Bounds> bounds = bounds_of(note);
  if (!bounds) return {incomplete};

  NoteComparison found = {compared};
  found.limit = facts.width * facts.height / 25;
  const bool narrow = aim == Aim::acceptance && found.limit > 0;  // nothing from the limit on would be accepted
  const std::uint32_t ceiling =
      narrow ? static_cast<std::uint32_t>(found.limit) : std::numeric_limits<std::uint32_t>::max();
  const auto rows = static_cast<std::size_t>(region.height() - facts.height + 1);
  const auto columns = static_cast<std::size_t>(region.width() - facts.width + 1);
  if (!search(region, *bounds, rows, columns, ceiling, found)) return {refused};
  // KEPT: templates of less than 25 pixels have a limit of 0. Their score stays the count, at most 24, so that each of
  // them is accepted on every note: test money_templates_that_always_match.
  const auto count = static_cast<std::int64_t>(found.disagreeing);
  found.score = static_cast<int>(found.limit == 0 ? count : count * 1000 / found.limit);
  return found;
}

namespace {

// None when the place is not inside the image, and without memory.
std::optional<NoteRegion> region_at(unsigned char* dib, const LOCATION& place) {
  const DibFacts facts = dib_facts(dib);
  const int x = place.x < 0 ? wrap_add(place.x, facts.width) : place.x;
  // Below 0 it is beyond the note, as LOCATION says; no class that is enabled has such a place.
  const int y = place.y < 0 ? wrap_sub(facts.height, place.y) : place.y;
  const Allocated cut(Extract_image(dib, x, y, place.width, place.height));
  const auto image = grey_dib(cut.get());
  if (!image) return std::nullopt;
  return NoteRegion(*image);
}

int note_value(unsigned char* dib, std::span<const FontSlot> font) {
  std::array<std::optional<NoteRegion>, kNoteClasses> regions;  // each is cut once
  int least = kMostNoteScore + 1, value = 0;
  for (const FontSlot& slot : font) {
    const std::uint32_t of = note_class(slot.code);
    if (of >= kNoteClasses || USDloc[of].enabled == 0) continue;
    if (!regions[of]) regions[of] = region_at(dib, USDloc[of]);
    const NoteTemplate note = {slot.image, slot.variance, slot.size};
    // KEPT: one slot without image or mask refuses every note, also one that an earlier slot has matched: test
    // money_one_bad_slot_refuses_all.
    if (!regions[of] || !note.complete()) return 0;
    const NoteComparison comparison = compare(*regions[of], note, Aim::acceptance);
    if (comparison.outcome == NoteComparison::Outcome::incomplete) return 0;
    if (comparison.outcome != NoteComparison::Outcome::compared || comparison.score >= least) continue;
    least = comparison.score;
    value = kNoteValues[of];
  }
  return value;
}

// The pixels of a DIB that tells the truth about its size.
MutableView own_pixels(unsigned char* dib) {
  if (dib == nullptr) return {};
  return pixels_within(dib, dib_bytes(dib_facts(dib)));
}

}  // namespace
}  // namespace zel

int Image_Equalize(unsigned char* dib) {
  const auto image = zel::bottom_up_dib(dib);
  return image ? zel::equalize(*image) : 0;
}

void definelocations() { std::ranges::copy(zel::kNoteLocations, USDloc); }

int Money_Decode_Money(unsigned char* dib) try {
  definelocations();
  const int count = std::clamp(int{ActualFont.count}, 0, zel::kMostSlots);
  if (dib == nullptr) return 0;
  return zel::note_value(dib, {ActualFont.slots, static_cast<std::size_t>(count)});
} catch (const std::bad_alloc&) {
  return 0;
}

int Make_Convolution(unsigned char* templ, unsigned char* image, unsigned char* mask, int x, int y, int) {
  const zel::ConstView pattern = zel::own_pixels(templ), pixels = zel::own_pixels(image);
  if (mask == nullptr) return 0;
  const std::span<const std::uint8_t> trust = zel::tail_within(mask, zel::dib_bytes(zel::dib_facts(mask)));
  int count = 0;
  for (std::size_t r = 0; r < std::min(pattern.height(), pixels.height()); ++r) {
    for (std::size_t c = 0; c < std::min(pattern.width(), pixels.width()); ++c) {
      const std::size_t at = r * pattern.stride() + c;
      // A negative place is one beyond the image.
      const auto row = static_cast<std::size_t>(zel::wrap_add(y, static_cast<int>(r)));
      const auto column = static_cast<std::size_t>(zel::wrap_add(x, static_cast<int>(c)));
      if (at >= trust.size() || row >= pixels.height() || column >= pixels.width() || trust[at] >= 127) continue;
      const int high = trust[at] + 147, low = 107 - trust[at];
      const int wanted = pattern.row_ptr(r)[c], level = pixels.row_ptr(row)[column];
      if (wanted > high ? level < low : wanted < low && level > high) ++count;
    }
  }
  return count;
}
