#include "files/pnm.h"

#include <algorithm>
#include <cctype>

#include "files/failure.h"

namespace files {

namespace {

struct Reader {
  const MappedFile& file;
  size_t at;

  bool skip_space() {
    while (at < file.size()) {
      if (file.data()[at] == '#')
        while (at < file.size() && file.data()[at] != '\n') ++at;
      else if (!std::isspace(file.data()[at]))
        return true;
      else
        ++at;
    }
    return false;
  }

  // -1 if there is no number.
  int64_t number() {
    if (!skip_space() || !std::isdigit(file.data()[at])) return -1;
    int64_t value = 0;
    while (at < file.size() && std::isdigit(file.data()[at]) && value < 100000000)
      value = 10 * value + (file.data()[at++] - '0');
    return value;
  }

  // Bits of plain bitmaps need no space between them.
  int64_t bit() {
    if (!skip_space() || (file.data()[at] != '0' && file.data()[at] != '1')) return -1;
    return file.data()[at++] - '0';
  }
};

uint8_t scaled(int64_t value, int64_t most) {
  return static_cast<uint8_t>((std::min(value, most) * 255 + most / 2) / most);
}

// Returns how many samples there were.
size_t read_plain(Reader& reader, const PnmHeader& header, Raster& raster) {
  for (size_t i = 0; i < raster.pixels.size(); ++i) {
    const int64_t value = header.bilevel() ? reader.bit() : reader.number();
    if (value < 0) return i;
    raster.pixels[i] = header.bilevel() ? (value ? 0 : 255) : scaled(value, header.most);
  }
  return raster.pixels.size();
}

size_t read_raw(Reader& reader, const PnmHeader& header, Raster& raster) {
  const size_t sample = header.most > 255 ? 2 : 1, width = raster.row_bytes(),
               row = header.bilevel() ? (width + 7) / 8 : width * sample;
  for (int y = 0; y < raster.height; ++y, reader.at += row) {
    if (reader.file.size() - reader.at < row) return width * y;
    const uint8_t* from = reader.file.data() + reader.at;
    uint8_t* to = raster.row(y);
    for (size_t x = 0; x < width; ++x)
      to[x] = header.bilevel()
                  ? ((from[x / 8] >> (7 - x % 8)) & 1 ? 0 : 255)
                  : scaled(static_cast<int64_t>(get_number(from + x * sample, sample, true)), header.most);
  }
  return raster.pixels.size();
}

}  // namespace

PnmHeader read_pnm_header(const MappedFile& file) {
  PnmHeader header;
  const uint8_t* data = file.data();
  if (file.size() < 3 || data[0] != 'P' || data[1] < '1' || data[1] > '6') return header;
  header.kind = data[1] - '0';
  Reader reader{file, 2};
  header.width = reader.number();
  header.height = reader.number();
  if (!header.bilevel()) header.most = reader.number();
  if (header.width < 1 || header.height < 1 || header.most < 1 || header.most > 65535 ||
      reader.at >= file.size())
    throw Failure("is damaged (no PNM header)");
  header.pixels = reader.at + 1;
  return header;
}

Raster read_pnm(const MappedFile& file, const PnmHeader& header, bool tolerant) {
  Raster raster =
      make_raster(static_cast<int>(header.width), static_cast<int>(header.height), header.channels());
  Reader reader{file, header.pixels};
  const size_t read = header.plain() ? read_plain(reader, header, raster) : read_raw(reader, header, raster);
  if (read < raster.pixels.size() && !tolerant) throw Failure("is damaged (pixels are missing)");
  std::fill(raster.pixels.begin() + read, raster.pixels.end(), 255);
  if (reader.skip_space() && reader.file.data()[reader.at] == 'P' && !tolerant)
    throw Failure("holds several pictures one after another: split it first");
  return raster;
}

}  // namespace files
