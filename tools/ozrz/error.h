// What can go wrong, as exceptions. The text of each is a whole message for a person, without the leading "ozrz: ".
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace ozrz {

class Error : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The system refused something on a named file: "NAME: cannot read: Input/output error".
class FileError : public Error {
  public:
    FileError(std::string_view name, std::string_view action, int errorNumber);
    FileError(std::string_view name, std::string_view whatIsWrong);
};

// The compressed data are damaged, or cannot be handled. Thrown by formats, which do not know the file's name; it is
// put in front where the message is shown.
class DataError : public Error {
    using Error::Error;
};

// A file is left alone for a reason that is no failure, such as being a directory: a warning, and the next file
// follows.
class Skipped : public Error {
    using Error::Error;
};

// The command line asks for something that cannot be.
class UsageError : public Error {
    using Error::Error;
};

}  // namespace ozrz
