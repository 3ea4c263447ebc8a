// Pixels of one upright page.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

namespace files {

// Bytes with one owner: from the heap, or mapped from what another process made. Not set to anything.
class Pixels {
 public:
  Pixels() = default;
  explicit Pixels(size_t size) : data_(static_cast<uint8_t*>(std::malloc(size > 0 ? size : 1))), size_(size) {
    if (!data_) throw std::bad_alloc();
  }
  // Takes over size bytes that begin at an offset of a mapping.
  Pixels(uint8_t* mapping, size_t mapped, size_t offset, size_t size)
      : data_(mapping + offset, Free{mapping, mapped}), size_(size) {}

  uint8_t* data() { return data_.get(); }
  const uint8_t* data() const { return data_.get(); }
  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  uint8_t& operator[](size_t i) { return data_.get()[i]; }
  const uint8_t& operator[](size_t i) const { return data_.get()[i]; }
  uint8_t* begin() { return data(); }
  uint8_t* end() { return data() + size_; }
  const uint8_t* begin() const { return data(); }
  const uint8_t* end() const { return data() + size_; }
  void shrink(size_t size) { size_ = size; }

 private:
  struct Free {
    Free() : mapping(nullptr), mapped(0) {}
    Free(uint8_t* start, size_t size) : mapping(start), mapped(size) {}
    uint8_t* mapping;
    size_t mapped;
    void operator()(uint8_t* bytes) const {
      if (mapping)
        munmap(mapping, mapped);
      else
        std::free(bytes);
    }
  };
  std::unique_ptr<uint8_t, Free> data_;
  size_t size_ = 0;
};

struct Raster {
  int width = 0, height = 0;
  int channels = 1;  // 1 gray, 3 red green blue
  Pixels pixels;     // rows exactly width * channels bytes apart

  size_t row_bytes() const { return static_cast<size_t>(width) * channels; }
  const uint8_t* row(int y) const { return pixels.data() + row_bytes() * y; }
  uint8_t* row(int y) { return pixels.data() + row_bytes() * y; }
};

inline Raster make_raster(int width, int height, int channels) {
  return {width, height, channels, Pixels(static_cast<size_t>(width) * channels * height)};
}

}  // namespace files
