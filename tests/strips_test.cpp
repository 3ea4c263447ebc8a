#include "skew/strips.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/forms.h"
#include "tests/support/random.h"

#if SKEW_SIMD

namespace skew {
namespace {

constexpr int kMostProducts = 2000;

// The histograms of the pixels of a box, one by one, and of its strips.
void compare(const StripKernels& form, const EdgeBox& box, Axis axis, const std::vector<uint16_t>& cosine,
             const std::vector<uint16_t>& sine) {
  std::vector<uint16_t> differences(2 * kMostProducts + kSpareBins), sums(differences.size());
  for (int y = 0; y < box.height; ++y)
    for (int x = 0; x < box.width; ++x) {
      if (box.pixels[y * box.stride + x] == 0) continue;
      const int c = cosine[axis == Axis::kRows ? y : x], s = sine[axis == Axis::kRows ? x : y];
      ++differences[kMostProducts + s - c], ++sums[s + c];
    }

  const int main = static_cast<int>(cosine.size()), cross = static_cast<int>(sine.size());
  std::vector<uint8_t> counts(static_cast<size_t>(main + 31) / 32 * 32 * (cross + 1), 0xAB);
  const Strips strips = {counts.data(), main, cross};
  form.fill(box, axis, strips);
  std::vector<uint16_t> found_differences(differences.size()), found_sums(differences.size());
  const AngleProducts turn = {cosine.data(), sine.data()};
  form.project(strips, turn, found_differences.data() + kMostProducts, found_sums.data());
  EXPECT_EQ(differences, found_differences);
  EXPECT_EQ(sums, found_sums);
  form.project(strips, turn, found_differences.data() + kMostProducts, nullptr);  // adds to what is there
  form.project(strips, turn, nullptr, found_sums.data());
  for (auto& count : differences) count = static_cast<uint16_t>(2 * count);
  EXPECT_EQ(differences, found_differences);
}

// Products with a factor of so many 1/1000, or of some other kind.
std::vector<uint16_t> products(int length, int factor, test::Random* random) {
  std::vector<uint16_t> out(static_cast<size_t>(length));
  for (int i = 0; i < length; ++i)
    out[static_cast<size_t>(i)] =
        static_cast<uint16_t>(factor < 0 ? random->below(kMostProducts) : i * factor / 1000);
  return out;
}

TEST(Strips, CountWhatTheirPixelsCount) {
  const struct {
    const char* what;
    int width, height, chance, cosine, sine;  // chance and factors in 1000; a negative factor is random
  } cases[] = {{"one pixel", 1, 1, 1000, 900, 400},
               {"one row", 70, 1, 700, 900, 400},
               {"one column", 1, 70, 700, 900, 400},
               {"a whole number of strips", 64, 96, 300, 800, 600},
               {"one more than that", 65, 97, 300, 800, 600},
               {"one less than that", 63, 95, 300, 800, 600},
               {"full, at 45 degrees", 190, 180, 1000, 707, 707},
               {"runs of 57 in full rows overflow a byte soon", 300, 290, 1000, 999, 17},
               {"a run of more than 255", 700, 40, 1000, 1000, 0},
               {"more than 256 runs", 600, 310, 400, 800, 600},
               {"large steps between products", 90, 80, 500, 5000, 9000},
               {"products in no order", 50, 60, 500, -1, -1},
               {"no order of the cross products only", 300, 60, 500, 900, -1}};
  test::Random random(11);
  for (const auto& form : test::vector_forms<StripKernels>())
    for (const auto& c : cases)
      for (const Axis axis : {Axis::kRows, Axis::kColumns}) {
        SCOPED_TRACE(testing::Message()
                     << form.bytes << " bytes, " << c.what << ", axis " << static_cast<int>(axis));
        // No room behind the last pixel, so that the sanitizers see a read past the box.
        const int stride = c.width + 3;
        std::vector<uint8_t> map(static_cast<size_t>(stride) * (c.height - 1) + c.width, 9);
        for (int y = 0; y < c.height; ++y)
          for (int x = 0; x < c.width; ++x)
            map[static_cast<size_t>(y) * stride + x] =
                static_cast<uint8_t>(random.below(1000) < c.chance ? 1 + random.below(255) : 0);
        const bool rows = axis == Axis::kRows;
        compare(*form.kernels, {map.data(), stride, c.width, c.height}, axis,
                products(rows ? c.height : c.width, c.cosine, &random),
                products(rows ? c.width : c.height, c.sine, &random));
      }
}

TEST(Strips, SquaresAddUpOverAnyNumberOfBins) {
  const std::vector<uint16_t> counts(100, 6553);
  for (const auto& form : test::vector_forms<StripKernels>()) {
    for (int bins = 0; bins < 100; ++bins)
      EXPECT_EQ(6553u * 6553u * bins, form.kernels->sum_of_squares(counts.data(), bins));
    const uint16_t largest[] = {0, 65535, 0};
    EXPECT_EQ(65535u * 65535u, form.kernels->sum_of_squares(largest, 3));
  }
}

}  // namespace
}  // namespace skew

#endif
