// The templates of a font as one picture.
#pragma once

#include <ZelIMP.hpp>
#include <string>

#include "picture.hpp"

namespace tool {

// A template's code as people read it: the character in quotes, or nothing where there is none to print.
std::string quoted(std::uint32_t code);

// Grey: a cell for every template that is not deleted, with its mean, beside it its deviation, dark where it is large
// (0 white, 64 and more black), and a label. The font has templates. Throws Failure.
Picture font_sheet(const zelimp::Font& font);

}  // namespace tool
