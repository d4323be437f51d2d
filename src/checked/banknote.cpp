// The checked interface: banknotes.

#include <ZelIMP/banknotes.hpp>

#include <algorithm>
#include <new>
#include <optional>
#include <ranges>

#include "ImagBox.hpp"
#include "MoneyDecode.hpp"
#include "base/allocated.hpp"
#include "checked/dib_input.hpp"
#include "checked/font_slots.hpp"
#include "checked/scan_input.hpp"

namespace zelimp {

using namespace detail;

namespace {

using zel::GreyDib;
using zel::Zone;

static_assert(kNoteValues == zel::kNoteValues);

// A template that is compared.
struct Candidate {
  std::size_t index;
  std::uint32_t code;
  zel::NoteTemplate images;
};
using Candidates = std::array<std::vector<Candidate>, zel::kNoteClasses>;  // by class

// An image as it was given: verified, only read.
struct Picture {
  GreyDib image;
  bool second;
};

const char* name_of(bool second) { return second ? "second" : "first"; }

Zone zone_of(const NoteLocation& location, const GreyDib& image) {
  const std::int64_t x = location.x, y = location.y;
  const auto width = static_cast<std::int64_t>(image.pixels.width());
  const auto height = static_cast<std::int64_t>(image.pixels.height());
  return {x < 0 ? x + width : x, y < 0 ? y + height : y, location.width, location.height};
}

// The same place on the image after ImageBox_Rotate180, which leaves rows top to bottom in their order.
Zone turned(const Zone& zone, const GreyDib& image) {
  Zone turned = zone;
  turned.x = static_cast<std::int64_t>(image.pixels.width()) - zone.x - zone.width;
  if (!image.top_down) turned.y = static_cast<std::int64_t>(image.pixels.height()) - zone.y - zone.height;
  return turned;
}

void turn(const GreyDib& region, bool rows_too) {
  const std::size_t rows = region.pixels.height();
  for (std::size_t r = 0; r < rows; ++r) std::ranges::reverse(region.pixels.row(r));
  for (std::size_t r = 0; rows_too && r < rows / 2; ++r) {
    std::ranges::swap_ranges(region.pixels.row(r), region.pixels.row(rows - 1 - r));
  }
}

void check_zone(const NoteLocation& location, const Picture& picture) {
  if (location.width != 0 && location.height != 0 && zel::has_zone(picture.image, zone_of(location, picture.image)))
    return;
  bad_argument("the region of " + std::to_string(location.width) + " x " + std::to_string(location.height) +
               " pixels at " + std::to_string(location.x) + ", " + std::to_string(location.y) + " is not inside the " +
               name_of(picture.second) + " image of " + std::to_string(picture.image.pixels.width()) + " x " +
               std::to_string(picture.image.pixels.height()));
}

// The templates of enabled classes.
Candidates candidates_of(const Font& font, const NoteLocations& locations) {
  Candidates all;
  std::size_t index = 0;
  for (const auto& slot : FontSlots::of(font)) {
    const std::uint32_t of = zel::note_class(slot.code);
    const Candidate candidate = {index++, slot.code, {file_of(slot.mean), file_of(slot.variance), slot.mean.size()}};
    if (slot.code == 0 || of >= all.size() || !locations[of].enabled) continue;
    all[of].push_back(candidate);
  }
  return all;
}

// Whether it is compared; throws when it cannot be.
bool fits(const Candidate& candidate, const NoteLocation& location) {
  const auto refuse = [&](const char* what) {
    bad_argument("the template with code " + std::to_string(candidate.code) + " has " + what);
  };
  const GreyDib image = *zel::grey_dib(candidate.images.image), mask = *zel::grey_dib(candidate.images.mask);
  if (image.top_down || mask.top_down) refuse("its rows top to bottom");
  if (image.pixels.width() > location.width || image.pixels.height() > location.height) return false;
  if (image.pixels.width() != mask.pixels.width() || image.pixels.height() != mask.pixels.height()) {
    refuse("a mask of another size");
  }
  return true;
}

zel::NoteRegion region_at(const GreyDib& image, const Zone& zone, bool upright) {
  const zel::Allocated cut(zel::cut_zone(image, upright ? zone : turned(zone, image)));
  const auto region = zel::grey_dib(cut.get());
  if (!region) throw std::bad_alloc();
  if (!upright) turn(*region, !image.top_down);
  return zel::NoteRegion(*region);
}

NoteMatch told(const zel::NoteComparison& comparison, const Candidate& candidate, const Zone& zone,
               const Picture& picture) {
  const zel::DibFacts facts = zel::dib_facts(candidate.images.image);
  NoteMatch match;
  match.index = candidate.index;
  match.code = candidate.code;
  match.value = kNoteValues[zel::note_class(candidate.code)];
  match.second = picture.second;
  // A region of rows top to bottom is cut one row lower than its y says.
  const std::int64_t bottom = zone.y - (picture.image.top_down ? 1 : 0) + comparison.row;
  const std::int64_t top = static_cast<std::int64_t>(picture.image.pixels.height()) - bottom - facts.height;
  match.place = {static_cast<std::uint32_t>(zone.x + comparison.column), static_cast<std::uint32_t>(top),
                 static_cast<std::uint32_t>(facts.width), static_cast<std::uint32_t>(facts.height)};
  match.disagreeing = comparison.disagreeing;
  match.limit = static_cast<std::uint32_t>(comparison.limit);
  match.score = comparison.score;
  return match;
}

// All templates on one image in one orientation, in the order of the font.
std::vector<NoteMatch> look(const Picture& picture, bool upright, const Candidates& candidates,
                            const NoteLocations& locations) {
  std::vector<NoteMatch> matches;
  for (std::size_t of = 0; of < candidates.size(); ++of) {
    if (candidates[of].empty()) continue;
    const Zone zone = zone_of(locations[of], picture.image);
    const zel::NoteRegion region = region_at(picture.image, zone, upright);
    for (const Candidate& candidate : candidates[of]) {
      const zel::NoteComparison comparison = zel::compare(region, candidate.images, zel::Aim::closeness);
      matches.push_back(told(comparison, candidate, zone, picture));
      matches.back().upright = upright;
    }
  }
  std::ranges::sort(matches, {}, &NoteMatch::index);
  return matches;
}

}  // namespace

NoteLocations usual_locations() {
  NoteLocations locations;
  std::ranges::transform(zel::kNoteLocations, locations.begin(), [](const LOCATION& place) -> NoteLocation {
    return {place.enabled != 0, place.x, place.y, static_cast<std::uint32_t>(place.width),
            static_cast<std::uint32_t>(place.height)};
  });
  return locations;
}

Banknote read_banknote(std::span<const std::byte> first, std::span<const std::byte> second, const Font& templates,
                       const NoteLocations& locations, const Limits& limits) {
  std::vector<Picture> pictures;
  for (const bool is_second : {true, false}) {
    const std::span<const std::byte> bytes = is_second ? second : first;
    if (!bytes.empty()) pictures.push_back({checked_dib(bytes, name_of(is_second), limits), is_second});
  }
  Candidates candidates = candidates_of(templates, locations);
  for (std::size_t of = 0; of < candidates.size(); ++of) {
    for (const Picture& picture : pictures) {
      if (!candidates[of].empty()) check_zone(locations[of], picture);
    }
    std::erase_if(candidates[of], [&](const Candidate& candidate) { return !fits(candidate, locations[of]); });
  }

  Banknote note;
  for (const Picture& picture : pictures) {
    for (const bool upright : {true, false}) {
      std::vector<NoteMatch> matches = look(picture, upright, candidates, locations);
      std::ranges::stable_sort(matches, {}, &NoteMatch::score);
      if (!matches.empty() && matches.front().score <= zel::kMostNoteScore) {
        return {matches.front().value, std::move(matches)};
      }
      note.matches.insert(note.matches.end(), matches.begin(), matches.end());
    }
  }
  std::ranges::stable_sort(note.matches, {}, &NoteMatch::score);
  return note;
}

}  // namespace zelimp
