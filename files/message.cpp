#include "files/message.h"

#include <cstring>

#include "files/failure.h"

namespace files {

void Writer::real(double value) {
  uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  number(bits);
}

void Writer::block(const void* data, size_t size) {
  number(size);
  const auto* from = static_cast<const uint8_t*>(data);
  bytes.insert(bytes.end(), from, from + size);
}

void Writer::directory(const Directory& value) {
  number(value.msb_first);
  number(value.entries.size());
  for (const auto& [tag, entry] : value.entries) {
    number(tag);
    number(entry.type);
    number(entry.count);
    bytes_of(entry.data);
  }
  number(value.below.size());
  for (const auto& [tag, below] : value.below) {
    number(tag);
    directory(below);
  }
}

void Writer::descriptions(const Descriptions& value) {
  real(value.resolution.x);
  real(value.resolution.y);
  number(value.resolution.per_cm);
  for (const Bytes* block : {&value.exif, &value.icc, &value.xmp, &value.photoshop}) bytes_of(*block);
  for (const auto* chunks : {&value.segments, &value.chunks}) {
    number(chunks->size());
    for (const Chunk& chunk : *chunks) {
      text(chunk.kind);
      bytes_of(chunk.data);
    }
  }
  directory(value.tags);
  number(value.sides_swapped);
  number(value.lossless);
}

void Writer::source(const SourceFile& value) {
  text(value.path);
  text(value.name);
  number(static_cast<uint64_t>(value.format));
  text(value.extension);
  number(static_cast<uint64_t>(value.pages));
  number(value.places.size());
  for (uint64_t place : value.places) number(place);
}

void Writer::options(const ReadOptions& value) {
  real(value.dpi);
  number(static_cast<uint64_t>(value.max_pixels));
  number(value.tolerant);
  text(value.password);
}

const uint8_t* Reader::take(uint64_t size) {
  if (size > size_) throw Failure("was not decoded (its decoder answered nonsense)");
  const uint8_t* from = data_;
  data_ += size;
  size_ -= size;
  return from;
}

uint64_t Reader::number() { return get_number(take(8), 8, false); }

double Reader::real() {
  const uint64_t bits = number();
  double value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

Bytes Reader::bytes() {
  const uint64_t size = number();
  const uint8_t* from = take(size);
  return Bytes(from, from + size);
}

std::string Reader::text() {
  const Bytes value = bytes();
  return std::string(value.begin(), value.end());
}

Directory Reader::directory(int depth) {
  Directory value;
  value.msb_first = number() != 0;
  for (uint64_t left = number(); left > 0; --left) {
    Entry entry;
    entry.tag = static_cast<uint16_t>(number());
    entry.type = static_cast<uint16_t>(number());
    entry.count = number();
    entry.data = bytes();
    value.entries.emplace(entry.tag, std::move(entry));
  }
  for (uint64_t left = number(); left > 0 && depth < 4; --left) {
    const auto tag = static_cast<uint16_t>(number());
    value.below.emplace(tag, directory(depth + 1));
  }
  return value;
}

Descriptions Reader::descriptions() {
  Descriptions value;
  value.resolution.x = real();
  value.resolution.y = real();
  value.resolution.per_cm = number() != 0;
  for (Bytes* block : {&value.exif, &value.icc, &value.xmp, &value.photoshop}) *block = bytes();
  for (auto* chunks : {&value.segments, &value.chunks})
    for (uint64_t left = number(); left > 0; --left) {
      const std::string kind = text();
      chunks->push_back({kind, bytes()});
    }
  value.tags = directory();
  value.sides_swapped = number() != 0;
  value.lossless = number() != 0;
  return value;
}

SourceFile Reader::source() {
  SourceFile value;
  value.path = text();
  value.name = text();
  value.format = static_cast<Format>(number());
  value.extension = text();
  value.pages = static_cast<int>(number());
  for (uint64_t left = number(); left > 0; --left) value.places.push_back(number());
  return value;
}

ReadOptions Reader::options() {
  ReadOptions value;
  value.dpi = real();
  value.max_pixels = static_cast<int64_t>(number());
  value.tolerant = number() != 0;
  value.password = text();
  return value;
}

}  // namespace files
