// What the library takes for granted of compiler and processor, so that an untested platform says so when the library
// is built for it. One assumption cannot be seen here: floating point rounds to nearest, ties to even, as every
// program starts; a caller that changes the rounding mode gets other results.
#include <cfloat>
#include <climits>
#include <cstdint>

#if !defined(__GNUC__)
#error "Untested compiler: the vector types and attributes of gcc and clang are used"
#endif

#if __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "Untested byte order: pixels of 32 bits are read and written byte by byte, lowest byte first"
#endif

#if FLT_EVAL_METHOD != 0
#error \
    "Doubles are computed with more precision than they have, which changes results; for x86 add -msse2 -mfpmath=sse"
#endif

#if defined(__FAST_MATH__)
#error "-ffast-math changes results"
#endif

namespace skew {

static_assert(CHAR_BIT == 8 && sizeof(int) == 4 && sizeof(double) == 8);
static_assert(-1 >> 1 == -1, "shifts of negative numbers round down");
static_assert(static_cast<int32_t>(0x80000001u) == -0x7FFFFFFF, "two's complement");

}  // namespace skew
