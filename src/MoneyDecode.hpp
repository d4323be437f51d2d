// Module MoneyDecode, for the modules beside it.
#pragma once

#include "Dibapi.hpp"

namespace zel {

// Image_Equalize.
int equalize(const GreyDib& image);

}  // namespace zel
