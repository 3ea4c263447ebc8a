#include <gtest/gtest.h>

#include "core/buffer.h"
#include "core/raster.h"
#include "tests/support/allocations.h"

namespace skew {

TEST(Buffer, RefusesProductsThatDoNotFit) {
  const struct {
    const char* what;
    uint64_t rows, columns;
    bool fits;
  } cases[] = {{"nothing is one byte", 0, 5, true},
               {"a plain size", 3, 5, true},
               {"the product wraps to a small number", uint64_t{1} << 33, uint64_t{1} << 31, false},
               {"the product fits size_t, not ptrdiff_t", static_cast<uint64_t>(PTRDIFF_MAX), 2, false},
               {"the elements make it too large", static_cast<uint64_t>(PTRDIFF_MAX) / 2, 1, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const long before = test::allocation_count();
    EXPECT_EQ(c.fits, static_cast<bool>(allocate<uint32_t>(c.rows, c.columns)));
    EXPECT_EQ(c.fits ? 1 : 0, test::allocation_count() - before);
  }
  EXPECT_EQ(0, test::blocks_held());
}

TEST(Buffer, MovesAndReleasesWithoutLosingOrFreeingTwice) {
  Buffer<int> first = allocate<int>(4);
  Buffer<int> second = allocate<int>(4);
  int* kept = first.get();
  second = static_cast<Buffer<int>&&>(first);
  EXPECT_FALSE(first);
  EXPECT_EQ(kept, second.get());
  EXPECT_EQ(1, test::blocks_held());
  free(second.release());
  EXPECT_EQ(0, test::blocks_held());
}

TEST(Raster, StrideIsRaisedToAMultipleOfFourAtAnyWidth) {
  EXPECT_EQ(0, padded_stride(0));
  EXPECT_EQ(4, padded_stride(1));
  EXPECT_EQ(8, padded_stride(8));
  EXPECT_EQ(12, padded_stride(9));
#if PTRDIFF_MAX > INT32_MAX
  EXPECT_EQ(int64_t{1} << 31, padded_stride(INT32_MAX));
#endif
}

}  // namespace skew
