#include "tag_text.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace tool {
namespace {

using nlohmann::ordered_json;

struct FieldType {
  const char* name;
  std::size_t size;  // bytes of one value
};
constexpr std::array kTypes = std::to_array<FieldType>({{"?", 0},
                                                        {"BYTE", 1},
                                                        {"ASCII", 1},
                                                        {"SHORT", 2},
                                                        {"LONG", 4},
                                                        {"RATIONAL", 8},
                                                        {"SBYTE", 1},
                                                        {"UNDEFINED", 1},
                                                        {"SSHORT", 2},
                                                        {"SLONG", 4},
                                                        {"SRATIONAL", 8},
                                                        {"FLOAT", 4},
                                                        {"DOUBLE", 8}});

const FieldType& type_of(const zelimp::Tag& tag) { return kTypes[tag.type < kTypes.size() ? tag.type : 0]; }

struct TagName {
  std::uint16_t id;
  const char* name;
};
constexpr std::array kNames = std::to_array<TagName>({{254, "NewSubfileType"},
                                                      {256, "ImageWidth"},
                                                      {257, "ImageLength"},
                                                      {258, "BitsPerSample"},
                                                      {259, "Compression"},
                                                      {262, "PhotometricInterpretation"},
                                                      {266, "FillOrder"},
                                                      {269, "DocumentName"},
                                                      {270, "ImageDescription"},
                                                      {271, "Make"},
                                                      {272, "Model"},
                                                      {273, "StripOffsets"},
                                                      {274, "Orientation"},
                                                      {277, "SamplesPerPixel"},
                                                      {278, "RowsPerStrip"},
                                                      {279, "StripByteCounts"},
                                                      {282, "XResolution"},
                                                      {283, "YResolution"},
                                                      {284, "PlanarConfiguration"},
                                                      {292, "T4Options"},
                                                      {293, "T6Options"},
                                                      {296, "ResolutionUnit"},
                                                      {305, "Software"},
                                                      {306, "DateTime"},
                                                      {315, "Artist"},
                                                      {317, "Predictor"},
                                                      {320, "ColorMap"}});

template <class Number>
Number number_at(const std::byte* bytes) {
  Number number;  // host and file are both little-endian
  std::memcpy(&number, bytes, sizeof number);
  return number;
}

ordered_json element(std::uint16_t type, const std::byte* at) {
  const auto ratio = [at](auto part) {
    return std::to_string(number_at<decltype(part)>(at)) + "/" + std::to_string(number_at<decltype(part)>(at + 4));
  };
  switch (type) {
    case 3:
      return number_at<std::uint16_t>(at);
    case 4:
      return number_at<std::uint32_t>(at);
    case 5:
      return ratio(std::uint32_t{});
    case 6:
      return number_at<std::int8_t>(at);
    case 8:
      return number_at<std::int16_t>(at);
    case 9:
      return number_at<std::int32_t>(at);
    case 10:
      return ratio(std::int32_t{});
    case 11:
      return number_at<float>(at);
    case 12:
      return number_at<double>(at);
    default:
      return number_at<std::uint8_t>(at);
  }
}

}  // namespace

const char* tag_name(const zelimp::Tag& tag) {
  const auto* const known = std::ranges::find(kNames, tag.id, &TagName::id);
  return known == kNames.end() ? "" : known->name;
}

const char* type_name(const zelimp::Tag& tag) { return type_of(tag).name; }

ordered_json tag_value(const zelimp::Tag& tag) {
  constexpr std::size_t kMostValues = 4096;
  const std::size_t size = type_of(tag).size;
  const std::span<const std::byte> value = tag.value.first(std::min(tag.value.size(), kMostValues * size));
  if (value.empty()) return nullptr;
  if (tag.type == 2) {
    std::string text(reinterpret_cast<const char*>(value.data()), value.size());
    while (!text.empty() && text.back() == '\0') text.pop_back();
    return text;
  }
  ordered_json list = ordered_json::array();
  for (std::size_t i = 0; i + size <= value.size(); i += size) list.push_back(element(tag.type, &value[i]));
  return list.size() == 1 ? list[0] : list;
}

}  // namespace tool
