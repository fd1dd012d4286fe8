#pragma once

#include <cstdint>
#include <string>

namespace mod2neu {

// The text of a real number by the rules as they are told: formatted prints, strings that grow and
// shrink, and the logarithm of the mathematics library. Slow, and shares nothing with the product.
std::string ReferenceReal(double value, std::int32_t width, std::int32_t digits);

}  // namespace mod2neu
