// The public header as a C++11 program sees it.
#include "ozrdc.h"

static_assert(sizeof(Status) == 4, "a Status is a 32-bit integer");
static_assert(noexcept(ozrdcGetLibVersion()), "functions are marked as not throwing");

Status callFromOldCpp(const uint8_t* source, int32_t size, uint32_t* crc);

Status callFromOldCpp(const uint8_t* source, int32_t size, uint32_t* crc) { return ozrsCRC32_8u(source, size, crc); }
