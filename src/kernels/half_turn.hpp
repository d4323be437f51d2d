// Half turns: copying, and by exchange in place.
//
// half_turn: dst gets the bytes of src in reverse order.
//   src, dst   same size, must not overlap
// exchange_turned: exchanges pixel i of first with pixel n - 1 - i of last.
//   first, last   n pixels of samples bytes (1 or 3) each, must not overlap unless they are the same row and meet in
//                 its middle; the bytes of a pixel keep their order
//
// Exact. Cost: one read and one write per byte.
#pragma once

#include <cstdint>
#include <span>

#include "base/variant.hpp"

namespace zel::kern {

void half_turn(std::span<const std::uint8_t> src, std::span<std::uint8_t> dst);
void exchange_turned(std::span<std::uint8_t> first, std::span<std::uint8_t> last, std::size_t samples);

using HalfTurnFn = decltype(half_turn);
using ExchangeTurnedFn = decltype(exchange_turned);
HalfTurnFn half_turn_scalar;
ExchangeTurnedFn exchange_turned_scalar, exchange_turned_avx2;

inline constexpr Variant<HalfTurnFn> kHalfTurn[] = {{"scalar", Isa::none, half_turn_scalar}};
inline constexpr Variant<ExchangeTurnedFn> kExchangeTurned[] = {{"scalar", Isa::none, exchange_turned_scalar},
                                                                {"avx2", Isa::avx2, exchange_turned_avx2}};

}  // namespace zel::kern
