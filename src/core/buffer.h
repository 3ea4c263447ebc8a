// Memory that frees itself. Every allocation of the library is made here, so that the product of a size is
// checked in one place and a failed allocation is a null handle, never an exception.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace skew {

// Owns a malloc'ed array of T. Move-only; release() is the one way a buffer leaves, for the caller to free.
template <class T>
class Buffer {
 public:
  Buffer() = default;
  explicit Buffer(T* data) : data_(data) {}
  Buffer(Buffer&& other) noexcept : data_(other.release()) {}
  Buffer& operator=(Buffer&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  ~Buffer() { std::free(data_); }

  explicit operator bool() const { return data_ != nullptr; }
  T* get() const { return data_; }
  template <class Index>
  T& operator[](Index index) const {
    return data_[index];
  }

  T* release() {
    T* data = data_;
    data_ = nullptr;
    return data;
  }
  void reset(T* data = nullptr) {
    std::free(data_);
    data_ = data;
  }

 private:
  T* data_ = nullptr;
};

// rows * columns * sizeof(T) if it fits ptrdiff_t, else 0; so that pointer differences stay defined.
template <class T>
size_t checked_bytes(uint64_t rows, uint64_t columns) {
  const uint64_t limit = static_cast<uint64_t>(PTRDIFF_MAX) / sizeof(T);
  if (columns != 0 && rows > limit / columns) return 0;
  return static_cast<size_t>(rows * columns * sizeof(T));
}

// An uninitialised array of rows * columns elements; null when there is no memory or the product is too
// large. Asks for at least one byte, so that null always means "no memory".
template <class T>
Buffer<T> allocate(uint64_t rows, uint64_t columns = 1) {
  const size_t bytes = checked_bytes<T>(rows, columns);
  if (bytes == 0 && rows != 0 && columns != 0) return Buffer<T>();
  return Buffer<T>(static_cast<T*>(std::malloc(bytes != 0 ? bytes : 1)));
}

// The same, filled with zero bytes.
template <class T>
Buffer<T> allocate_zeroed(uint64_t rows, uint64_t columns = 1) {
  const size_t bytes = checked_bytes<T>(rows, columns);
  if (bytes == 0 && rows != 0 && columns != 0) return Buffer<T>();
  return Buffer<T>(static_cast<T*>(std::calloc(bytes != 0 ? bytes : 1, 1)));
}

}  // namespace skew
