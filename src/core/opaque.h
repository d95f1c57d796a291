// Control over what the compiler may derive.
#pragma once

namespace ozrdc {

// Returns its argument, and hides from the compiler that it does: neither side of the call is computed from the other.
template <class T>
[[gnu::always_inline]] inline T opaque(T value) noexcept {
    __asm__("" : "+r"(value));
    return value;
}

}  // namespace ozrdc
