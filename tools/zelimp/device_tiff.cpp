#include "device_tiff.hpp"

#include <ZelIMP.h>
#include <array>
#include <cstring>

namespace tool {
namespace {

constexpr unsigned short kAscii = 2;
constexpr unsigned short kShort = 3;
constexpr unsigned short kLong = 4;
constexpr unsigned short kRational = 5;

void add_number(TiffHeader& header, unsigned short tag, unsigned short type, std::uint32_t value) {
  header.addTag(tag, type, 1, value, 0, nullptr);
}

void add_value(TiffHeader& header, unsigned short tag, unsigned short type, std::uint32_t count,
               const std::vector<unsigned char>& bytes) {
  header.addTag(tag, type, count, 0, static_cast<unsigned>(bytes.size()), bytes.data());
}

void add_text(TiffHeader& header, unsigned short tag, const std::string& text) {
  if (text.empty()) return;
  std::vector<unsigned char> bytes(text.begin(), text.end());
  bytes.push_back(0);
  const auto count = static_cast<std::uint32_t>(bytes.size());
  if (count > 4) return add_value(header, tag, kAscii, count, bytes);
  bytes.resize(4);
  header.addTag(tag, kAscii, count, TiffGetLong(bytes.data()), 0, nullptr);
}

void add_resolution(TiffHeader& header, unsigned short tag, std::uint32_t dpi) {
  std::vector<unsigned char> bytes;
  for (const std::uint32_t part : {dpi, 1u}) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<unsigned char>(part >> shift));
  }
  add_value(header, tag, kRational, 1, bytes);
}

}  // namespace

Bytes device_tiff(const ReadOut& read_out, std::uint32_t dpi, const DeviceTexts& texts) {
  const bool colour = read_out.planes == 3;
  TiffHeader header;
  add_number(header, 256, kLong, read_out.width);
  add_number(header, 257, kLong, read_out.rows);
  if (colour) {
    add_value(header, 258, kShort, 3, {8, 0, 8, 0, 8, 0});
  } else {
    add_number(header, 258, kShort, 8);
  }
  add_number(header, 259, kShort, 1);               // uncompressed
  add_number(header, 262, kShort, colour ? 2 : 1);  // red, green, blue; or black is 0
  add_text(header, 270, texts.description);
  add_text(header, 271, texts.make);
  add_text(header, 272, texts.model);
  add_number(header, 273, kLong, 0);  // the strip tags are filled by saveHeader
  add_number(header, 277, kShort, read_out.planes);
  add_number(header, 278, kLong, 0);
  add_number(header, 279, kLong, 0);
  add_resolution(header, 282, dpi);
  add_resolution(header, 283, dpi);
  add_number(header, 284, kShort, 1);  // as far as TIFF is concerned the components of a pixel stand side by side
  add_number(header, 296, kShort, 2);  // dots per inch
  add_text(header, 305, texts.software);

  Bytes file(header.getHeaderSize() + read_out.raw.size());
  header.saveHeader(reinterpret_cast<unsigned char*>(file.data()), read_out.rows,
                    static_cast<unsigned>(read_out.raw.size()));
  std::memcpy(file.data() + header.dataOffset, read_out.raw.data(), read_out.raw.size());
  return file;
}

}  // namespace tool
