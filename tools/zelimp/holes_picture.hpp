// Where micro-holes were looked for and what was seen, drawn over enlarged parts of the faces.
#pragma once

#include <ZelIMP/holes.hpp>
#include <span>

#include "io.hpp"

namespace tool {

// A PNG: of each face that was given the zone and a little around it, the rear mirrored as it is read; on it the zone,
// the line, the boxes and the cells that were sampled, below it what each box gave. front, rear: what read_micro_holes
// had. Throws Failure.
Bytes holes_png(std::span<const std::byte> front, std::span<const std::byte> rear, const zelimp::MicroHoles& holes);

}  // namespace tool
