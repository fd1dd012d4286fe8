#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace mod2neu {

namespace detail {

template <class Value>
Value Reversed(Value value) {
    std::uint8_t bytes[sizeof(Value)];
    std::memcpy(bytes, &value, sizeof(Value));
    for (std::size_t low = 0, high = sizeof(Value) - 1; low < high; ++low, --high) {
        const std::uint8_t byte = bytes[low];
        bytes[low] = bytes[high];
        bytes[high] = byte;
    }
    std::memcpy(&value, bytes, sizeof(Value));
    return value;
}

}  // namespace detail

// The number that is stored at `bytes` in little-endian order, whatever the host's own.
template <class Value>
Value ReadLittleEndian(const void* bytes) {
    static_assert(std::is_arithmetic_v<Value>);
    Value value;
    std::memcpy(&value, bytes, sizeof(Value));
    if constexpr (std::endian::native == std::endian::big) {
        value = detail::Reversed(value);
    }
    return value;
}

template <class Value>
void WriteLittleEndian(void* bytes, Value value) {
    static_assert(std::is_arithmetic_v<Value>);
    if constexpr (std::endian::native == std::endian::big) {
        value = detail::Reversed(value);
    }
    std::memcpy(bytes, &value, sizeof(Value));
}

}  // namespace mod2neu
