// What process found and made, for programs and for people.
#pragma once

#include <ZelIMP.hpp>
#include <string>
#include <vector>

namespace tool {

struct Made {
  std::string input, output, format;  // as they were named on the command line
  zelimp::Deskew deskew = zelimp::Deskew::off;
  zelimp::ProcessReport report;
  std::size_t bytes = 0;  // of the output
};

std::string as_json(const Made& made);
std::vector<std::string> as_sentences(const Made& made);

}  // namespace tool
