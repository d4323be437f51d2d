// Module MoneyDecode, for the modules beside it: the contrast stretch, and the comparison of a template with a region
// of a note, without globals.
#pragma once

#include <ZelIMP/MoneyDecode.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "Dibapi.hpp"

namespace zel {

// Image_Equalize.
int equalize(const GreyDib& image);

inline constexpr std::size_t kNoteClasses = 7;
inline constexpr std::array<int, kNoteClasses> kNoteValues = {1, 2, 5, 10, 20, 50, 100};  // by class
// What definelocations enters, by class.
inline constexpr std::array<LOCATION, kNoteClasses> kNoteLocations = {{{0, 38, 267, 86, 92},
                                                                       {1, 38, 300, 66, 62},
                                                                       {0, -144, 30, 114, 172},
                                                                       {0, -149, 39, 120, 95},
                                                                       {0, -155, 40, 140, 100},
                                                                       {0, -155, 40, 140, 100},
                                                                       {0, 715, 55, 140, 295}}};
constexpr std::uint32_t note_class(std::uint32_t code) { return code & 15; }

// Templates whose score is beyond it are not accepted.
inline constexpr int kMostNoteScore = 999;

// A region of a note, rows from the bottom, ready to be compared with templates.
class NoteRegion {
 public:
  explicit NoteRegion(const GreyDib& cut);  // stretches its contrast

  int width() const { return width_; }
  int height() const { return height_; }
  // Rows with room behind them, so that a row of template_match may begin at every column.
  ConstView pixels() const { return {pixels_.data(), stride_, static_cast<std::size_t>(height_), stride_}; }

 private:
  int width_, height_;
  std::size_t stride_;
  std::vector<std::uint8_t> pixels_;
};

// A template and its mask: DIBs in blocks of so many bytes each. Null: there is none.
struct NoteTemplate {
  unsigned char* image;
  unsigned char* mask;
  std::uint64_t bytes;

  // Whether both are there, and not larger than their blocks as their headers say.
  bool complete() const;
};

// What the comparison is for: whether the template is accepted, or also how close the others come.
enum class Aim { acceptance, closeness };

struct NoteComparison {
  enum class Outcome {
    incomplete,  // what would have to be read of the image or the mask is not within its block
    too_large,   // for the region
    refused,     // no place is accepted; nothing else is known. With Aim::acceptance only
    compared,
  };
  Outcome outcome;
  // Of the first place below the limit, in the order of rows and then columns, else of the first of the best.
  std::uint32_t disagreeing = 0;
  int column = 0;
  int row = 0;
  int limit = 0;  // a twenty-fifth of the template's pixels
  int score = 0;  // disagreeing * 1000 / limit; with a limit of 0 disagreeing itself
};

// Lays a complete template over all places of a region. Throws std::bad_alloc.
NoteComparison compare(const NoteRegion& region, const NoteTemplate& note, Aim aim);

}  // namespace zel
