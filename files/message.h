// What decoding processes and the program tell each other, as bytes.
#pragma once

#include <string>

#include "files/page.h"

namespace files {

class Writer {
 public:
  void number(uint64_t value) { append_number(bytes, value, 8, false); }
  void real(double value);
  void block(const void* data, size_t size);
  void text(const std::string& value) { block(value.data(), value.size()); }
  void bytes_of(const Bytes& value) { block(value.data(), value.size()); }
  void directory(const Directory& value);
  void descriptions(const Descriptions& value);
  void source(const SourceFile& value);
  void options(const ReadOptions& value);

  Bytes bytes;
};

// Throws Failure where the bytes end too early.
class Reader {
 public:
  Reader(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  uint64_t number();
  double real();
  Bytes bytes();
  std::string text();
  Directory directory(int depth = 0);
  Descriptions descriptions();
  SourceFile source();
  ReadOptions options();

 private:
  const uint8_t* take(uint64_t size);

  const uint8_t* data_;
  size_t size_;
};

}  // namespace files
