#include "font_file.hpp"

#include "exit_code.hpp"

namespace tool {

zelimp::Font read_font(const std::string& path) {
  const Bytes file = read_file(path);
  return about(input_name(path), [&] { return zelimp::Font::load(file); });
}

void write_font(const zelimp::Font& font, const std::string& path, bool force, Progress& progress) {
  constexpr std::uint32_t kMostCode = 127;
  for (std::size_t i = 0; i < font.size(); ++i) {
    const std::uint32_t code = font.character(i).code;
    if (code <= kMostCode) continue;
    throw Failure(Exit::unsupported, (path == "-" ? "standard output" : path) +
                                         ": a font file keeps no template with code " + std::to_string(code) +
                                         ", only up to " + std::to_string(kMostCode));
  }
  const std::vector<Output> outputs = {{path, font.save()}};
  write_outputs(outputs, force);
  progress.wrote(outputs);
}

}  // namespace tool
