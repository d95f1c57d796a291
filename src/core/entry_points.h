// Declares the implementation behind every export: `y8_NAME` has the type that the public header gives to NAME, so that
// an implementation whose arguments differ from the published ones does not compile. Every source file that implements
// an export includes this header.
#pragma once

#include "ozrdc.h"

extern "C" {
#define OZRDC_EXPORT(name) [[gnu::visibility("hidden")]] decltype(name) y8_##name;
#include "core/exports.inc"
#undef OZRDC_EXPORT
}
