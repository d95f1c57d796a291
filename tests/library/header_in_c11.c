/* The public header as a C11 program sees it: it compiles without a warning, and its functions can be called. */
#include "ozrdc.h"

_Static_assert(sizeof(Status) == 4, "a Status is a 32-bit integer");
_Static_assert(StatusDestinationFull == 33, "statuses are constant expressions");

Status callFromC(const uint8_t* source, int32_t size, uint32_t* crc);
const LibraryVersion* versionFromC(void);

Status callFromC(const uint8_t* source, int32_t size, uint32_t* crc) { return ozrsCRC32_8u(source, size, crc); }

const LibraryVersion* versionFromC(void) { return ozrdcGetLibVersion(); }
