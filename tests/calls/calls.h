// Every published function, called on arguments drawn from a source: seeded random numbers, or the bytes of a
// fuzzer. All buffers are heap blocks of exactly the size the headers ask for, so that a sanitizer sees every
// access outside. The digests, the fuzz targets and the concurrency test run the same calls.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "include/skewcorrection/types.h"

namespace skew::test {

// Where arguments come from.
class Source {
 public:
  virtual ~Source() = default;
  virtual uint32_t next() = 0;                         // any 32 bits
  virtual void fill(uint8_t* bytes, size_t size) = 0;  // contents
  virtual bool small() const { return false; }         // true: prefer small images

  // first ... last
  int between(int first, int last) {
    return first +
           static_cast<int>(next() % (static_cast<uint32_t>(last) - static_cast<uint32_t>(first) + 1));
  }
  bool chance(int one_in) { return between(1, one_in) == 1; }
};

// What a call gave: results and all bytes of the outputs (FNV-1a; Fowler, Noll and Vo, 1991). NaN counts as one
// value, whatever its bits.
class Outcome {
 public:
  void add_bytes(const void* bytes, size_t size) {
    for (size_t i = 0; i < size; ++i)
      hash_ = (hash_ ^ static_cast<const uint8_t*>(bytes)[i]) * 0x100000001B3u;
  }
  template <class T>
  void add(T value) {
    static_assert(std::is_arithmetic_v<T>);
    if (value != value) value = T{};
    add_bytes(&value, sizeof value);
  }
  template <class T>
  void add(const std::vector<T>& values) {
    static_assert(std::is_arithmetic_v<T>);
    add_bytes(values.data(), values.size() * sizeof(T));
  }
  void add(const ImgROI& record);
  uint64_t hash() const { return hash_; }

 private:
  uint64_t hash_ = 0xCBF29CE484222325u;
};

enum class Family {
  kTables,
  kConvert,
  kDriver,
  kSearch,
  kReduce,
  kRotate,
  kAnalysis,
  kEnhance,
  kPage,
  kLevel,
  kJni
};

struct Call {
  const char* name;
  Family family;
  bool concurrent;  // documented as free to run at the same time on different data
  void (*run)(Source&, Outcome&);
};

const std::vector<Call>& all_calls();

// An image size. Every remainder of the width, tiny sides and, now and then, long thin ones.
struct Size {
  int width, height;
  size_t padded() const { return (static_cast<size_t>(width) + 3) & ~size_t{3}; }
};
Size draw_size(Source& source, int smallest, int largest);

// Rows of bytes: noise, one value, slanted lines, blocks or few levels.
std::vector<uint8_t> draw_raster(Source& source, Size size, size_t stride);

// 0 with some 255 or other non-zero bytes, as an edge map.
std::vector<uint8_t> draw_edges(Source& source, Size size, size_t stride);

// A box within the size; its bounds are inclusive.
ImgROI draw_box(Source& source, Size size);

// Mostly sensible angles in degrees; now and then a limit, a huge value or a NaN.
double draw_angle(Source& source);

std::vector<int> draw_pixels(Source& source, Size size);

}  // namespace skew::test
