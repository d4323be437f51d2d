// Font files as the commands read and write them.
#pragma once

#include <ZelIMP/Font.hpp>
#include <string>

#include "io.hpp"

namespace tool {

// Throws Failure that names the file.
zelimp::Font read_font(const std::string& path);

// Throws Failure for a template that the file would lose: font files keep codes 1 to 127, but are read with any.
void write_font(const zelimp::Font& font, const std::string& path, bool force, Progress& progress);

}  // namespace tool
