// Results, statuses and error codes.
#include <gtest/gtest.h>

#include <memory>
#include <ozrdc/result.hpp>
#include <set>
#include <string>

namespace ozrdc::test {
namespace {

constexpr Status kStatuses[] = {StatusOk,
                                StatusSourceExhausted,
                                StatusDestinationFull,
                                StatusSortBudgetExceeded,
                                StatusOutputTruncated,
                                StatusCodeLengthLimit,
                                StatusError,
                                StatusStreamEnd,
                                StatusBadArgument,
                                StatusSizeError,
                                StatusNullPointer,
                                StatusContextMismatch,
                                StatusBadFactor,
                                StatusBadCodeTable,
                                StatusBrokenStream,
                                StatusOutOfMemory};

TEST(Message, IsThereForEveryStatusAndDifferent) {
    std::set<std::string_view> messages;
    for (const Status status : kStatuses) {
        EXPECT_NE(message(status), message(12345)) << status;
        EXPECT_TRUE(messages.insert(message(status)).second) << status;
    }
    EXPECT_EQ(message(12345), "unknown status");
    static_assert(message(StatusOk) == "success");
}

TEST(ErrorCodes, CarryStatusAndMessage) {
    for (const Status status : kStatuses) {
        const std::error_code code = errorCode(status);
        EXPECT_EQ(code.value(), status);
        EXPECT_EQ(code.message(), message(status));
        EXPECT_EQ(static_cast<bool>(code), status != StatusOk);
    }
    EXPECT_STREQ(errorCategory().name(), "ozrdc");
}

TEST(ErrorCodes, CompareWithTheEnumerationAndWithGeneralConditions) {
    EXPECT_EQ(errorCode(StatusDestinationFull), Errc::destinationFull);
    EXPECT_NE(errorCode(StatusDestinationFull), Errc::sourceExhausted);
    EXPECT_EQ(errorCode(StatusDestinationFull), std::errc::no_buffer_space);
    EXPECT_EQ(errorCode(StatusOutputTruncated), std::errc::no_buffer_space);
    for (const Status status : {StatusError, StatusSourceExhausted, StatusBadCodeTable, StatusBrokenStream}) {
        EXPECT_EQ(errorCode(status), std::errc::illegal_byte_sequence);
    }
    for (const Status status :
         {StatusBadArgument, StatusSizeError, StatusNullPointer, StatusContextMismatch, StatusBadFactor}) {
        EXPECT_EQ(errorCode(status), std::errc::invalid_argument);
    }
    EXPECT_EQ(errorCode(StatusOutOfMemory), std::errc::not_enough_memory);
    EXPECT_NE(errorCode(StatusStreamEnd), std::errc::invalid_argument);
}

TEST(AResult, HoldsAValueOrAStatus) {
    const Result<int> value = 42;
    EXPECT_TRUE(value);
    EXPECT_EQ(*value, 42);
    EXPECT_EQ(value.value(), 42);
    EXPECT_EQ(value.status(), StatusOk);
    EXPECT_FALSE(value.error());

    const Result<int> failure = Failure{StatusSizeError};
    EXPECT_FALSE(failure);
    EXPECT_EQ(failure.status(), StatusSizeError);
    EXPECT_EQ(failure.error(), Errc::sizeError);
    EXPECT_EQ(Result<int>(failure).value_or(7), 7);
    EXPECT_EQ(Result<int>(value).value_or(7), 42);
}

TEST(AResult, ThrowsWhereItsValueIsAskedForInVain) {
    const Result<int> failure = Failure{StatusError};
    try {
        static_cast<void>(failure.value());
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), Errc::corruptInput);
        EXPECT_NE(std::string(error.what()).find(message(StatusError)), std::string::npos);
    }
    EXPECT_THROW(Result<void>(Failure{StatusError}).value(), std::system_error);
    EXPECT_NO_THROW(Result<void>().value());
}

TEST(AResult, HandsOnWhatCannotBeCopied) {
    Result<std::unique_ptr<int>> result = std::make_unique<int>(5);
    EXPECT_EQ(**result, 5);
    const std::unique_ptr<int> taken = std::move(result).value();
    EXPECT_EQ(*taken, 5);
}

}  // namespace
}  // namespace ozrdc::test
