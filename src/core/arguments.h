// Argument checks shared by the primitives.
#pragma once

namespace ozrdc {

// True if any of the pointers is null. All required pointers of a call are tested together wherever they give the same
// status, so the order among them cannot be observed.
template <typename... Pointers>
[[nodiscard]] constexpr bool anyNull(const Pointers*... pointers) noexcept {
    return ((pointers == nullptr) || ...);
}

}  // namespace ozrdc
