// The exported entry points: one 16-byte slot each, holding a branch-target marker and a jump to the implementation of the
// same name with the prefix y8_. Nothing is checked or changed on the way, so an export costs one direct jump.

#include <cet.h>  // emits the note that marks this object as ready for branch tracking

        .text
        .balign 16

.macro entry name
        .balign 16, 0xCC
        .hidden y8_\name
        .globl  \name
        .type   \name, @function
\name:
        endbr64
        jmp     y8_\name
        .size   \name, . - \name
.endm

#define OZRDC_EXPORT(name) entry name
#include "exports.inc"
#undef OZRDC_EXPORT

        .balign 16, 0xCC

        .section .note.GNU-stack, "", @progbits
