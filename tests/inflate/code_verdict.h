// What is to be said of code lengths: whether they are accepted, and which kind of tables they give.
#pragma once

#include "ozrdc.h"
#include "support/deflate_format.h"

namespace ozrdc::test::inflate {

// The kind of tables that accepted codes give: 2 with up to 11 bits for literals and lengths and 10 for distances,
// else 1.
unsigned expectedKind(const deflate::BlockCodes& codes);

struct Verdict {
    Status status;
    unsigned kind;  // written; 0 if nothing is
};
Verdict verdict(const deflate::BlockCodes& codes);

}  // namespace ozrdc::test::inflate
