// For tests of argument checks: takes one pointer of several away.
#pragma once

namespace ozrdc::test {

// Sets the pointer of that number, counted from 0, to null.
template <typename... Targets>
void takeAway(int number, Targets*&... pointers) {
    int i = 0;
    ((i++ == number ? static_cast<void>(pointers = nullptr) : static_cast<void>(0)), ...);
}

}  // namespace ozrdc::test
