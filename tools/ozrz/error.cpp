// The messages of errors on files.
#include "error.h"

#include <system_error>

namespace ozrz {

FileError::FileError(std::string_view name, std::string_view action, int errorNumber)
    : Error(std::string(name) + ": " + std::string(action) + ": " + std::generic_category().message(errorNumber)) {}

FileError::FileError(std::string_view name, std::string_view whatIsWrong)
    : Error(std::string(name) + ": " + std::string(whatIsWrong)) {}

}  // namespace ozrz
