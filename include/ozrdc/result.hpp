// Results: a value or a Status, what each Status means in words, and how it fits into std::error_code.
//
// Copyright 2025 The ozrdc authors
// SPDX-License-Identifier: Apache-2.0
#ifndef OZRDC_RESULT_HPP
#define OZRDC_RESULT_HPP

#include <ozrdc.h>

#include <concepts>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

namespace ozrdc {
inline namespace v11 {

/// The values of `Status` as an enumeration of their own, to compare a std::error_code with:
/// `if (result.error() == ozrdc::Errc::destinationFull)`.
/// @ingroup face
enum class Errc : Status {
    ok = StatusOk,
    sourceExhausted = StatusSourceExhausted,
    destinationFull = StatusDestinationFull,
    sortBudgetExceeded = StatusSortBudgetExceeded,
    outputTruncated = StatusOutputTruncated,
    codeLengthLimit = StatusCodeLengthLimit,
    corruptInput = StatusError,
    streamEnd = StatusStreamEnd,
    badArgument = StatusBadArgument,
    sizeError = StatusSizeError,
    nullPointer = StatusNullPointer,
    contextMismatch = StatusContextMismatch,
    badFactor = StatusBadFactor,
    badCodeTable = StatusBadCodeTable,
    brokenStream = StatusBrokenStream,
    /// Memory for a state could not be allocated. The C library never allocates: only the factories of this face say
    /// so.
    outOfMemory = -10000
};

/// `Errc::outOfMemory` as a `Status`.
/// @ingroup face
inline constexpr Status StatusOutOfMemory = static_cast<Status>(Errc::outOfMemory);

/// What a status means, in words for people; never empty, and valid for the life of the program.
/// @ingroup face
[[nodiscard]] constexpr std::string_view message(Status status) noexcept {
    switch (static_cast<Errc>(status)) {
        case Errc::ok:
            return "success";
        case Errc::sourceExhausted:
            return "the source ends too early";
        case Errc::destinationFull:
            return "the destination is full";
        case Errc::sortBudgetExceeded:
            return "the block is too repetitive to be sorted by comparing";
        case Errc::outputTruncated:
            return "the next sequence does not fit into the destination";
        case Errc::codeLengthLimit:
            return "a Huffman code is longer than its limit";
        case Errc::corruptInput:
            return "the data are corrupt";
        case Errc::streamEnd:
            return "the bit stream has reached the end of its buffer";
        case Errc::badArgument:
            return "an argument is outside its allowed values";
        case Errc::sizeError:
            return "a length or size is zero, negative or too large";
        case Errc::nullPointer:
            return "a required pointer is null";
        case Errc::contextMismatch:
            return "the state is of another kind, or not ready for this call";
        case Errc::badFactor:
            return "the acceleration factor is below 1";
        case Errc::badCodeTable:
            return "Huffman code lengths or the description of a code are invalid";
        case Errc::brokenStream:
            return "the LZO1X stream is malformed";
        case Errc::outOfMemory:
            return "memory could not be allocated";
    }
    return "unknown status";
}

namespace detail {

class ErrorCategory final : public std::error_category {
  public:
    [[nodiscard]] const char* name() const noexcept override { return "ozrdc"; }
    [[nodiscard]] std::string message(int status) const override { return std::string(v11::message(status)); }
    [[nodiscard]] std::error_condition default_error_condition(int status) const noexcept override {
        switch (static_cast<Errc>(status)) {
            case Errc::destinationFull:
            case Errc::outputTruncated:
                return std::errc::no_buffer_space;
            case Errc::corruptInput:
            case Errc::sourceExhausted:
            case Errc::badCodeTable:
            case Errc::brokenStream:
                return std::errc::illegal_byte_sequence;
            case Errc::badArgument:
            case Errc::sizeError:
            case Errc::nullPointer:
            case Errc::contextMismatch:
            case Errc::badFactor:
                return std::errc::invalid_argument;
            case Errc::outOfMemory:
                return std::errc::not_enough_memory;
            default:
                return {status, *this};
        }
    }
};

}  // namespace detail

/// The category of the library's error codes. They also compare equal to the general conditions that fit: misuse to
/// std::errc::invalid_argument, damaged data to std::errc::illegal_byte_sequence, lack of room to
/// std::errc::no_buffer_space.
/// @ingroup face
[[nodiscard]] inline const std::error_category& errorCategory() noexcept {
    static const detail::ErrorCategory category;
    return category;
}

/// What makes an `Errc` a std::error_code: found by std::error_code itself.
/// @ingroup face
[[nodiscard]] inline std::error_code make_error_code(Errc code) noexcept {
    return {static_cast<int>(code), errorCategory()};
}
/// A status as a std::error_code; false (no error) for `StatusOk` alone.
/// @ingroup face
[[nodiscard]] inline std::error_code errorCode(Status status) noexcept {
    return make_error_code(static_cast<Errc>(status));
}

/// A status on its way into a `Result`: `return Failure{StatusSizeError};`
/// @ingroup face
struct Failure {
    /// Why there is no value; never `StatusOk`.
    Status status;
};

namespace detail {

[[noreturn]] inline void raise(Status status) {
#ifdef __cpp_exceptions
    throw std::system_error(errorCode(status));
#else
    static_cast<void>(status);
    std::abort();
#endif
}

}  // namespace detail

/// A value, or the status that says why there is none.
///
/// Warnings of the C library that tell where a call has stopped, such as a full destination, come with a value: see
/// `Progress`. Where a function only has a value if everything was done, they are failures like errors.
///
/// @code
/// if (const auto block = ozrdc::lz4::encode(text, buffer)) send(*block);
/// else log(ozrdc::message(block.status()));
/// @endcode
/// @ingroup face
template <typename T>
class [[nodiscard]] Result {
    static_assert(std::default_initializable<T> && std::movable<T>);

  public:
    /// The type of the value.
    using value_type = T;

    /// Success, with a value.
    constexpr Result(T value) noexcept(std::is_nothrow_move_constructible_v<T>) : value_(std::move(value)) {}
    /// Failure: `failure.status` must not be `StatusOk`.
    constexpr Result(Failure failure) noexcept : status_(failure.status) {}

    /// Whether the call succeeded.
    [[nodiscard]] constexpr bool has_value() const noexcept { return status_ == StatusOk; }
    /// The same: `if (result)`.
    [[nodiscard]] constexpr explicit operator bool() const noexcept { return has_value(); }

    /// `StatusOk` if there is a value.
    [[nodiscard]] constexpr Status status() const noexcept { return status_; }
    /// The status as a std::error_code.
    [[nodiscard]] std::error_code error() const noexcept { return errorCode(status_); }

    /// The value, if it is known to be there.
    [[nodiscard]] constexpr T& operator*() & noexcept { return value_; }
    /// The same of a constant result.
    [[nodiscard]] constexpr const T& operator*() const& noexcept { return value_; }
    /// The same of a result that may be moved from.
    [[nodiscard]] constexpr T&& operator*() && noexcept { return std::move(value_); }
    /// Members of the value, if it is known to be there.
    [[nodiscard]] constexpr T* operator->() noexcept { return &value_; }
    /// The same of a constant result.
    [[nodiscard]] constexpr const T* operator->() const noexcept { return &value_; }

    /// The value. Without one, throws std::system_error; in programs without exceptions, aborts.
    constexpr T& value() & { return require(), value_; }
    /// The same of a constant result.
    constexpr const T& value() const& { return require(), value_; }
    /// The same of a result that may be moved from.
    constexpr T&& value() && { return require(), std::move(value_); }
    /// The value, or without one the other.
    [[nodiscard]] constexpr T value_or(T otherwise) && {
        return has_value() ? std::move(value_) : std::move(otherwise);
    }

  private:
    constexpr void require() const {
        if (!has_value()) detail::raise(status_);
    }

    Status status_ = StatusOk;
    T value_{};  // of little cost without a value: states then are empty
};

/// The result of what has no value: success, or the status that says why not.
/// @ingroup face
template <>
class [[nodiscard]] Result<void> {
  public:
    /// There is no value.
    using value_type = void;

    /// Success.
    constexpr Result() noexcept = default;
    /// Failure: `failure.status` must not be `StatusOk`.
    constexpr Result(Failure failure) noexcept : status_(failure.status) {}

    /// Whether the call succeeded.
    [[nodiscard]] constexpr bool has_value() const noexcept { return status_ == StatusOk; }
    /// The same: `if (result)`.
    [[nodiscard]] constexpr explicit operator bool() const noexcept { return has_value(); }
    /// `StatusOk` after success.
    [[nodiscard]] constexpr Status status() const noexcept { return status_; }
    /// The status as a std::error_code.
    [[nodiscard]] std::error_code error() const noexcept { return errorCode(status_); }
    /// Throws std::system_error after a failure; in programs without exceptions, aborts.
    constexpr void value() const {
        if (!has_value()) detail::raise(status_);
    }

  private:
    Status status_ = StatusOk;
};

/// How far a call came that may stop early.
/// @ingroup face
struct Progress {
    std::size_t consumed = 0;  ///< Elements of the source that were taken.
    std::size_t produced = 0;  ///< Elements of the destination that were written.
    /// Why the call stopped: `StatusOk`, or a warning such as `StatusDestinationFull`.
    Status status = StatusOk;

    /// Whether all three are equal.
    friend constexpr bool operator==(const Progress&, const Progress&) = default;
};

namespace detail {

/// The status of a C call that has no value: warnings are failures too.
constexpr Result<void> complete(Status status) noexcept {
    return status != StatusOk ? Result<void>(Failure{status}) : Result<void>();
}

}  // namespace detail
}  // namespace v11
}  // namespace ozrdc

/// @cond
template <>
struct std::is_error_code_enum<ozrdc::Errc> : std::true_type {};
/// @endcond

#endif  // OZRDC_RESULT_HPP
