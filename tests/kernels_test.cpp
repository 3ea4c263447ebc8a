// Every form of every kernel against its plain form: for each vector length of this processor, on every size from
// nothing past two vectors, at every start within a vector. Inputs lie in blocks that end where the kernel may read
// last, so that the sanitizers see a read past the end; outputs are compared with what lies around them.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "analysis/row_sums.h"
#include "convert/pixel_rows.h"
#include "core/cpu.h"
#include "enhance/filter_rows.h"
#include "page/kernels.h"
#include "rotate/job.h"
#include "skew/edge_map.h"
#include "tests/support/forms.h"
#include "tests/support/random.h"

namespace skew {
namespace {

using Bytes = std::vector<uint8_t>;
const std::vector<int> kLongRows = {256 * 16, 256 * 32 + 1, 256 * 64 + 100, 40000};
constexpr size_t kGuard = 64;  // bytes behind an output, which must keep their value

// What a kernel is called with: random inputs, and a start and a count of items.
struct Call {
  test::Random& random;
  int start, count;
  int end() const { return start + count; }

  Bytes bytes(int size) const { return random.bytes(static_cast<size_t>(size)); }
  // In long rows, where counts might overflow, all bytes are equal.
  Bytes row(int size) const {
    if (count < 1000) return bytes(size);
    return Bytes(static_cast<size_t>(size), random.below(2) != 0 ? 255 : 0);
  }
  // Numbers from 0 up to the limit.
  template <class T>
  std::vector<T> numbers(int size, int limit) const {
    std::vector<T> out(static_cast<size_t>(size));
    for (T& number : out) number = static_cast<T>(random.below(limit + 1));
    return out;
  }
};

// All that a kernel gave.
struct Outcome {
  Bytes bytes;
  template <class T>
  Outcome& operator<<(const std::vector<T>& values) {
    const auto* from = reinterpret_cast<const uint8_t*>(values.data());
    bytes.insert(bytes.end(), from, from + values.size() * sizeof(T));
    return *this;
  }
};

// Runs one kernel in all forms. `run` calls it through the set it is given.
template <class Set, class Run>
void expect_same(const char* kernel, Run run, const std::vector<int>& long_counts = {}) {
  for (const auto& form : test::vector_forms<Set>()) {
    SCOPED_TRACE(testing::Message() << kernel << " in vectors of " << form.bytes << " bytes");
    const auto compare = [&](int start, int count) {
      const uint64_t seed = static_cast<uint64_t>(count) * 64 + static_cast<uint64_t>(start);
      test::Random for_plain(seed), for_form(seed);
      const Outcome plain = run(Forms<Set>::plain(), Call{for_plain, start, count});
      const Outcome actual = run(*form.kernels, Call{for_form, start, count});
      ASSERT_EQ(plain.bytes, actual.bytes) << count << " from " << start;
    };
    for (int count = 0; count <= 2 * form.bytes + 3; ++count)
      for (int start = 0; start < form.bytes; ++start) ASSERT_NO_FATAL_FAILURE(compare(start, count));
    for (const int count : long_counts) ASSERT_NO_FATAL_FAILURE(compare(1, count));
  }
}

// A set with a new kernel gets a new line here.
template <class Set>
constexpr int kernels_in() {
  return static_cast<int>(sizeof(Set) / sizeof(void (*)()));
}

TEST(Kernels, ConvertPixels) {
  static_assert(kernels_in<PixelRows>() == 3);
  const auto from_argb = [](int bytes, auto kernel) {
    return [=](const PixelRows& form, const Call& call) {
      const auto argb = call.numbers<int32_t>(call.count, INT32_MAX - 1);
      Bytes out(static_cast<size_t>(call.start + call.count * bytes) + kGuard, 0xA5);
      (form.*kernel)(argb.data(), call.count, out.data() + call.start);
      return Outcome() << out;
    };
  };
  expect_same<PixelRows>("gray_from_argb", from_argb(1, &PixelRows::gray_from_argb));
  expect_same<PixelRows>("rgb_from_argb", from_argb(3, &PixelRows::rgb_from_argb));
  expect_same<PixelRows>("gray_from_rgb", [](const PixelRows& form, const Call& call) {
    const Bytes rgb = call.bytes(call.start + 3 * call.count);
    Bytes out(static_cast<size_t>(call.count) + kGuard, 0xA5);
    form.gray_from_rgb(rgb.data() + call.start, call.count, out.data());
    return Outcome() << out;
  });
}

TEST(Kernels, SumRows) {
  static_assert(kernels_in<RowSums>() == 1);
  const auto sum = [](const RowSums& form, const Call& call) {
    Bytes row = call.row(call.end());
    for (auto& pixel : row) pixel = pixel < 100 ? 0 : pixel;
    const RowSum found = form.sum(row.data() + call.start, call.count);
    return Outcome() << std::vector<uint64_t>{found.count, found.columns};
  };
  expect_same<RowSums>("sum", sum, kLongRows);
}

// Levels of which no part of the map makes more than 255.
LevelMap some_map(const Call& call) {
  const int low = call.random.below(256), high = low + call.random.below(256 - low);
  const auto factor = [&] { return static_cast<uint16_t>(call.random.below(65536)); };
  if (high - low > 80 || call.random.below(2) == 0)
    return {static_cast<uint8_t>(low), static_cast<uint8_t>(high), factor(), 0, factor(), factor()};
  const uint16_t whole = static_cast<uint16_t>(call.random.below(3));
  return {static_cast<uint8_t>(low), static_cast<uint8_t>(high), 0, whole, factor(), 0};
}

TEST(Kernels, FilterRows) {
  static_assert(kernels_in<FilterRows>() == 4);
  expect_same<FilterRows>("smooth", [](const FilterRows& form, const Call& call) {
    const int end = call.end() + 1;
    const Bytes below = call.bytes(end + 1);
    auto upper = call.numbers<uint16_t>(end, 3060), own = call.numbers<uint16_t>(end, 1020);
    Bytes out = call.bytes(end + static_cast<int>(kGuard));
    form.smooth({below.data(), upper.data(), own.data(), out.data()}, 1 + call.start, end);
    return Outcome() << out << upper << own;
  });
  expect_same<FilterRows>("close_gaps", [](const FilterRows& form, const Call& call) {
    const int end = call.end() + 1;
    Bytes rows[3];
    for (auto& row : rows) {
      row = call.bytes(end + 1);
      for (auto& pixel : row) pixel = pixel < 140 ? 0 : pixel;
    }
    Bytes out = rows[1];
    form.close_gaps({rows[0].data(), rows[1].data(), rows[2].data()}, 1 + call.start, end, out.data());
    return Outcome() << out;
  });
  const auto count_up_to = [](const FilterRows& form, const Call& call) {
    const Bytes row = call.row(call.end());
    LevelSet levels;
    for (auto& level : levels.level) level = static_cast<uint8_t>(call.random.below(256));
    std::vector<LevelCounts> counts(1);
    form.count_up_to(row.data(), call.start, call.end(), levels, counts.data());
    return Outcome() << counts;
  };
  expect_same<FilterRows>("count_up_to", count_up_to, kLongRows);
  expect_same<FilterRows>("map_levels", [](const FilterRows& form, const Call& call) {
    Bytes row = call.bytes(call.end() + static_cast<int>(kGuard));
    form.map_levels(some_map(call), row.data(), call.start, call.end());
    return Outcome() << row;
  });
}

TEST(Kernels, MarkCandidates) {
  static_assert(kernels_in<EdgeKernels>() == 1);
  expect_same<EdgeKernels>("mark_candidates", [](const EdgeKernels& form, const Call& call) {
    constexpr int kHeight = 5;
    const int width = call.count + 2, stride = width + call.start % 3;
    const ptrdiff_t words = (width + 63) / 64, work_row = 64 * words + 2 * kWorkMargin;
    Bytes pixels = call.bytes(call.start + stride * (kHeight - 1) + width);
    for (auto& pixel : pixels) pixel = pixel > 200 ? pixel : pixel / 16;  // flat parts, and ties
    const size_t plane = static_cast<size_t>(words) * kHeight;
    std::vector<uint64_t> candidates(plane), edges(plane);
    std::vector<int16_t> work(static_cast<size_t>(work_row) * kWorkRows);
    const int low = call.random.below(200), high = low + call.random.below(300);
    const int largest = form.mark_candidates({pixels.data() + call.start,
                                              stride,
                                              width,
                                              kHeight,
                                              low,
                                              high,
                                              work.data(),
                                              work_row,
                                              {candidates.data(), edges.data(), words}});
    return Outcome() << candidates << edges << std::vector<int>{largest};
  });
}

TEST(Kernels, Rotate) {
  static_assert(kernels_in<RotationKernels>() == 1);
  const struct {
    const char* name;
    PixelFormat format;
    int bytes;
    Border border;
  } kinds[] = {{"gray", PixelFormat::kGray, 1, Border::kExtrapolated},
               {"RGB", PixelFormat::kRgb, 3, Border::kClamped},
               {"ARGB", PixelFormat::kArgb, 4, Border::kInner},
               {"gray, fixed", PixelFormat::kGrayFixed, 1, Border::kInner}};
  const double angles[] = {0, 0.3, -2.5, 14, -31, 88, 177};
  for (const auto& kind : kinds)
    expect_same<RotationKernels>(
        kind.name,
        [&](const RotationKernels& form, const Call& call) {
          const Size source = {call.count + 9, 23}, size = {call.end() + 1, 9};
          Bytes pixels = call.bytes(source.width * source.height * kind.bytes);
          for (auto& byte : pixels)
            byte = byte & 1 ? 0 : byte & 2 ? 255 : byte;  // extremes show wrong limits
          const ptrdiff_t stride = size.width * kind.bytes;
          Bytes out(static_cast<size_t>(stride) * size.height, 0xA5);
          const double angle = angles[call.random.below(7)];
          const Rotation rotation = rotation_about_centre(source, size, turn_by(angle), kind.border);
          form.rotate({kind.format, rotation, pixels.data(), ptrdiff_t{source.width} * kind.bytes, out.data(),
                       stride, 0x40302010},
                      {call.start, call.end()});
          return Outcome() << out;
        },
        {255, 256, 257, 300, 400, 513});
}

TEST(Kernels, MeasurePages) {
  static_assert(kernels_in<PageKernels>() == 3);
  expect_same<PageKernels>("add_row", [](const PageKernels& form, const Call& call) {
    const Bytes row = call.bytes(call.end());
    auto sums = call.numbers<uint16_t>(call.count, 100);
    form.add_row(row.data() + call.start, call.count, call.random.below(257), sums.data());
    return Outcome() << sums;
  });
  expect_same<PageKernels>("sum_rows", [](const PageKernels& form, const Call& call) {
    constexpr int kRows = 5;
    const Bytes rows = call.bytes(call.end() + kRows - 1);
    const uint8_t* starts[kRows];
    for (int r = 0; r < kRows; ++r) starts[r] = rows.data() + call.start + r;
    std::vector<uint16_t> profile(static_cast<size_t>(call.count), 7);
    form.sum_rows({starts, kRows}, call.count, profile.data());
    return Outcome() << profile;
  });
  expect_same<PageKernels>("squared_differences", [](const PageKernels& form, const Call& call) {
    const auto counts = call.numbers<uint16_t>(call.end(), 65535);
    return Outcome() << std::vector<uint64_t>{
               form.squared_differences(counts.data() + call.start, call.count)};
  });
}

TEST(Processor, UsesTheLongestVectorsThatProcessorAndSystemBothSupport) {
  constexpr uint32_t kXgetbv = 1U << 27, kAvx = 1U << 28, kAvx2 = 1U << 5, kVbmi = 1U << 1;
  constexpr uint32_t kF = 1U << 16, kBw = 1U << 30, kVl = 1U << 31, kAll = kAvx2 | kF | kBw | kVl;
  const struct {
    const char* what;
    ProcessorWords words;
    int bytes;
  } cases[] = {{"SSE2 only", {0, 0, 0, 0}, 16},
               {"AVX without AVX2", {kXgetbv | kAvx, 0, 0, 7}, 16},
               {"AVX2", {kXgetbv | kAvx, kAvx2, 0, 7}, 32},
               {"AVX2, but the system saves no long registers", {kXgetbv | kAvx, kAvx2, 0, 3}, 16},
               {"AVX2, but the system tells nothing", {kAvx, kAvx2, 0, 7}, 16},
               {"all of AVX-512", {kXgetbv | kAvx, kAll, kVbmi, 0xE7}, 64},
               {"AVX-512 without VBMI", {kXgetbv | kAvx, kAll, 0, 0xE7}, 32},
               {"AVX-512 without BW", {kXgetbv | kAvx, kAll & ~kBw, kVbmi, 0xE7}, 32},
               {"AVX-512 without VL", {kXgetbv | kAvx, kAll & ~kVl, kVbmi, 0xE7}, 32},
               {"AVX-512, but no masks are saved", {kXgetbv | kAvx, kAll, kVbmi, 0xC7}, 32},
               {"AVX-512, but half of its registers are saved", {kXgetbv | kAvx, kAll, kVbmi, 0x67}, 32},
               {"AVX-512, but the other half is", {kXgetbv | kAvx, kAll, kVbmi, 0xA7}, 32},
               {"AVX-512, but no system state at all", {0, kAll, kVbmi, 0}, 16}};
  for (const auto& c : cases) EXPECT_EQ(c.bytes, vector_bytes_of(c.words)) << c.what;
}

}  // namespace
}  // namespace skew
