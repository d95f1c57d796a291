// Arithmetic on polynomials over GF(2), for the constants of the CRCs. Everything here runs at compile time.
//
// A CRC of 32 bits is the remainder of a message, seen as a polynomial, after division by a generator P of degree 32:
// message * x^32 mod P. So every constant that moves a partial CRC over a distance is a power of x modulo P, and every
// table is a list of such products. The generators are given by their low 32 coefficients, coefficient i in bit i; the
// coefficient of x^32 is understood.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ozrdc {

constexpr uint32_t kPolynomialCrc32 = 0x04C11DB7;   // zlib, gzip, Ethernet, bzip2
constexpr uint32_t kPolynomialCrc32c = 0x1EDC6F41;  // Castagnoli: iSCSI, ext4

// Which bit of a byte comes first in the message.
enum class BitOrder { LeastFirst, MostFirst };

// The low `bits` bits of `value` in opposite order. CRCs that take the least significant bit of a byte first hold
// coefficient i of a polynomial in bit `bits - 1 - i`.
constexpr uint64_t reflect(uint64_t value, unsigned bits) {
    uint64_t reflected = 0;
    for (unsigned i = 0; i < bits; ++i) reflected |= ((value >> i) & 1) << (bits - 1 - i);
    return reflected;
}

// a * x mod P.
constexpr uint32_t timesX(uint32_t a, uint32_t p) { return (a << 1) ^ ((a >> 31) != 0 ? p : 0); }

// a * b mod P.
constexpr uint32_t multiply(uint32_t a, uint32_t b, uint32_t p) {
    uint32_t product = 0;
    for (int i = 31; i >= 0; --i) {
        product = timesX(product, p);
        if (((b >> i) & 1) != 0) product ^= a;
    }
    return product;
}

// x^n mod P.
constexpr uint32_t powerOfX(uint64_t n, uint32_t p) {
    uint32_t power = 1;
    uint32_t square = 2;
    for (; n != 0; n >>= 1) {
        if ((n & 1) != 0) power = multiply(power, square, p);
        square = multiply(square, square, p);
    }
    return power;
}

// The low 64 coefficients of the quotient x^n / P without its remainder: the factor of a Barrett reduction.
constexpr uint64_t quotientOfX(unsigned n, uint32_t p) {
    uint64_t quotient = 0;
    uint32_t remainder = 0;  // schoolbook division of 1 followed by n zeros
    for (unsigned i = 0; i <= n; ++i) {
        quotient = (quotient << 1) | (remainder >> 31);
        remainder = timesX(remainder, p) ^ (i == 0 ? 1 : 0);
    }
    return quotient;
}

// x^n mod P, reflected in 32 bits.
constexpr uint32_t reflectedPowerOfX(uint64_t n, uint32_t p) {
    return static_cast<uint32_t>(reflect(powerOfX(n, p), 32));
}

}  // namespace ozrdc
