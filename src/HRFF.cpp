// Module HRFF: the entry points of recognition and the font they use.

#include <ZelIMP/HRFF.h>
#include <ZelIMP/MoneyDecode.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "FontAPI.hpp"
#include "HRFF.hpp"
#include "base/allocated.hpp"

FontAPI ActualFont;

namespace zel {
namespace {

constexpr unsigned kMicroHoleType = 2;  // of ImageBox_Init

// Hands a text of 128 bytes on: outlen bytes with a NUL at their end.
void deliver(const char* text, char* out, int outlen) {
  if (outlen > kTextBytes) {
    std::memcpy(out, text, kTextBytes);
  } else if (outlen > 0) {
    std::memcpy(out, text, static_cast<std::size_t>(outlen));
    out[outlen - 1] = '\0';
  }
}

// Reads the line on a zone that was cut. Returns 1, or 0 and leaves out.
int read_line(const Allocated& zone, char* out, int outlen) {
  const Allocated line(reinterpret_cast<unsigned char*>(Extract_string(reinterpret_cast<char*>(zone.get()))));
  char* const dib = reinterpret_cast<char*>(line.get());
  char text[kTextBytes] = {};
  if (dib == nullptr || ImageBox_Box(dib) == 0 || ImageBox_Decode_holes(dib, text) < 1) return 0;
  deliver(text, out, outlen);
  return 1;
}

// A face of ZelIMPValidateMH, as a bitmap file; text: room for 128 bytes.
FaceReading read_face(unsigned char* file, bool rear, char* text) {
  // KEPT: an image is missing when its DIB has the address 0. A null file has its DIB at 14 and counts as not read,
  // test validate_missing_and_null.
  if (reinterpret_cast<std::uintptr_t>(file) + kFileHeader == 0) return {Reading::missing, text};
  if (file == nullptr) return {Reading::failed, text};
  unsigned char* const dib = file + kFileHeader;
  if (rear) ImageBox_Mirror(reinterpret_cast<char*>(dib));
  const bool read = MakeOCR_P(dib, 166, 195, 540, 85, kMicroHoleType, text, kTextBytes) != 0;
  return {read ? Reading::read : Reading::failed, text};
}

// Writes an image of a slot as <prefix><code><kind>.bmp. Returns false for one that is missing or larger than the slot.
bool save_image(const char* prefix, const FontSlot& slot, unsigned char* image, const char* kind) {
  const auto facts = facts_within(image, slot.size);
  if (!facts || dib_bytes(*facts) > slot.size) return false;
  char path[128];
  std::snprintf(path, sizeof path, "%s%X%s.bmp", prefix, slot.code, kind);
  ImageBox_SaveDataToFile(path, reinterpret_cast<char*>(image));
  return true;
}

// What stands in the result for a face.
const char* told(const FaceReading& face, const char* failed, const char* missing) {
  switch (face.reading) {
    case Reading::read:
      return face.text;
    case Reading::failed:
      return failed;
    case Reading::missing:
      break;
  }
  return missing;
}

// What is told of a banknote; null: not wanted.
struct NoteResult {
  unsigned char* value;
  unsigned char* side;
  unsigned char* upright;

  void tell(unsigned char* field, int what) const {
    if (field != nullptr) *field = static_cast<unsigned char>(what);
  }
};

// One image of a note in both orientations.
int read_note(unsigned char* image, int side, const NoteResult& result) {
  int found = Money_Decode_Money(image);
  const bool upright = found > 0;
  if (!upright) {
    // KEPT: the image stays turned: test money_get_value_and_what_it_leaves.
    ImageBox_Rotate180(reinterpret_cast<char*>(image));
    found = Money_Decode_Money(image);
  }
  if (found > 0) result.tell(result.value, found);
  // KEPT: told also of an image that is not recognised: test money_get_value_and_what_it_leaves.
  result.tell(result.side, side);
  result.tell(result.upright, upright ? 1 : 0);
  return found;
}

}  // namespace

int compare_faces(const FaceReading& front, const FaceReading& rear, char* result) {
  const char* const front_text = told(front, "Error Decodeing Front\n", "Error reading the Front image\n");
  const char* const rear_text = told(rear, "Error decoding rear\n", "Error reading the Rear image\n");
  // KEPT: the status tells which faces were read, not that they agree; only the form of the result does, test
  // validate_compares_faces.
  if (std::strcmp(front_text, rear_text) == 0) {
    std::strcpy(result, front_text);
  } else {
    std::sprintf(result, "Front=%s\nRear=%s", front_text, rear_text);
  }
  return static_cast<int>(front.reading) + 4 * static_cast<int>(rear.reading);
}

}  // namespace zel

int ZelIMPValidateMH(unsigned char* front, unsigned char* rear, char* result) {
  char front_text[zel::kTextBytes], rear_text[zel::kTextBytes];
  ImageBox_Init(zel::kMicroHoleType);
  const zel::FaceReading front_read = zel::read_face(front, false, front_text);
  return zel::compare_faces(front_read, zel::read_face(rear, true, rear_text), result);
}

int ZelIMPDecodeMH(char* dib, char* result, unsigned char* side) {
  ImageBox_Init(zel::kMicroHoleType);
  if (dib == nullptr) {
    std::strcpy(result, "Error reading the image\n");
    return 2;
  }
  const bool rear = side != nullptr && *side != 0;
  if (rear) ImageBox_Mirror(dib);
  char text[zel::kTextBytes];
  auto* const image = reinterpret_cast<unsigned char*>(dib);
  if (MakeOCR_P(image, 146, 175, 520, 90, zel::kMicroHoleType, text, zel::kTextBytes) == 0) {
    // KEPT: this message alone has no newline at its end, test decode_statuses_and_messages.
    std::strcpy(result, rear ? "Error Decoding Rear\n" : "Error Decoding Front");
    return 1;
  }
  std::strcpy(result, text);
  return 0;
}

int ZelIMPLoadRecognizer(char* path, unsigned int type) {
  const int count = ActualFont.LoadFont(path);
  if (count != 0) ImageBox_Init(type);
  return count;
}

int ZelIMPSaveFontFile(char* path) { return ActualFont.SaveFont(path); }

int ZelIMPUnloadAllRecognizers() {
  ActualFont.UnloadFont();
  return 1;
}

int ZelIMPAdd_Char(int code, char* dib) { return ActualFont.Add_Char(code, dib); }
int ZelIMPAdd_Mask(int code, char* dib) { return ActualFont.Add_Mask(code, dib); }

int ZelIMPGetFontImages(char* prefix) {
  const int count = prefix == nullptr ? 0 : std::min(int{ActualFont.count}, zel::kMostSlots);
  for (int k = 0; k < count; ++k) {
    const FontSlot& slot = ActualFont.slots[k];
    if (!zel::save_image(prefix, slot, slot.image, "IMG") || !zel::save_image(prefix, slot, slot.variance, "VAR"))
      break;
  }
  return 0;
}

int MakeOCR_P(unsigned char* dib, int x, int y, int w, int h, unsigned int, char* out, int outlen) {
  if (dib == nullptr) return 0;
  const zel::Allocated zone(Extract_image(dib, x, y, w, h));
  if (zone == nullptr) return 0;
  Image_Equalize(zone.get());
  return zel::read_line(zone, out, outlen);
}

int Mix_FrontRear(unsigned char* front, unsigned char* rear, int x, int y, int w, int h, unsigned int, char* out,
                  int outlen) {
  if (front == nullptr || rear == nullptr) return 0;
  const zel::Allocated front_zone(Extract_image(front, x, y, w, h)), rear_zone(Extract_image(rear, x, y, w, h));
  if (front_zone == nullptr || rear_zone == nullptr) return 0;
  // KEPT: the faces are laid over each other as they come: neither is mirrored, and the contrast is not stretched, test
  // mix_front_rear_as_they_come.
  const zel::Allocated both(
      Convolute_images(reinterpret_cast<char*>(front_zone.get()), reinterpret_cast<char*>(rear_zone.get())));
  return both == nullptr ? 0 : zel::read_line(both, out, outlen);
}

int ZelIMPMoneyGetValue(unsigned char* firstImage, unsigned char* secondImage, unsigned char* value,
                        unsigned char* side, unsigned char* upright) {
  const zel::NoteResult result = {value, side, upright};
  int found = 0;
  if (secondImage != nullptr) found = zel::read_note(secondImage, 1, result);
  if (found == 0 && firstImage != nullptr) found = zel::read_note(firstImage, 0, result);
  return found;
}

int ZelIMPMoneyValidateMoney() { return 0; }
int ZelIMPMoneyGetSerial() { return 0; }
int ZelIMPDefineBNotes() { return 0; }
