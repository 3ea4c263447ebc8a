// Bytes of files: numbers in either order, and a whole file in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace files {

using Bytes = std::vector<uint8_t>;

inline uint64_t get_number(const uint8_t* at, int size, bool msb_first) {
  uint64_t value = 0;
  for (int i = 0; i < size; ++i) value |= uint64_t{at[i]} << (8 * (msb_first ? size - 1 - i : i));
  return value;
}

inline void put_number(uint8_t* at, uint64_t value, int size, bool msb_first) {
  for (int i = 0; i < size; ++i) at[i] = static_cast<uint8_t>(value >> (8 * (msb_first ? size - 1 - i : i)));
}

inline void append_number(Bytes& bytes, uint64_t value, int size, bool msb_first) {
  bytes.resize(bytes.size() + size);
  put_number(bytes.data() + bytes.size() - size, value, size, msb_first);
}

// A file in memory, read as it is touched. Its bytes can be changed without changing the file.
class MappedFile {
 public:
  explicit MappedFile(const std::string& path);  // throws Failure
  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  uint8_t* data() const { return data_; }
  size_t size() const { return size_; }

 private:
  uint8_t* data_ = nullptr;
  size_t size_ = 0;
};

}  // namespace files
