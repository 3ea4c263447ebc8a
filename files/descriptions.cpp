#include "files/descriptions.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "files/failure.h"

namespace files {

namespace {

constexpr uint16_t kTagIcc = 34675, kTagXmp = 700, kTagPhotoshop = 34377, kTagIptc = 33723;
constexpr char kExifMark[] = "Exif\0", kXmpMark[] = "http://ns.adobe.com/xap/1.0/",
               kIccMark[] = "ICC_PROFILE", kPhotoshopMark[] = "Photoshop 3.0", kJfifMark[] = "JFIF";

// Whether bytes begin with a word and the zero after it.
template <size_t n>
bool begins(const Bytes& data, const char (&mark)[n]) {
  return data.size() >= n && std::memcmp(data.data(), mark, n) == 0;
}

Bytes after(const Bytes& data, size_t mark) { return Bytes(data.begin() + mark, data.end()); }

template <size_t n>
Bytes marked(const char (&mark)[n], const uint8_t* data, size_t size) {
  Bytes bytes(mark, mark + n);
  bytes.insert(bytes.end(), data, data + size);
  return bytes;
}

Resolution resolution_of(const Directory& tags) {
  const uint64_t unit = tags.number(kTagResolutionUnit, 2);
  if (unit != 2 && unit != 3) return {};
  return {tags.real(kTagXResolution), tags.real(kTagYResolution), unit == 3};
}

void set_resolution(Directory& tags, const Resolution& resolution) {
  tags.set_fraction(kTagXResolution, resolution.x);
  tags.set_fraction(kTagYResolution, resolution.y);
  tags.set_number(kTagResolutionUnit, kShort, resolution.per_cm ? 3 : 2);
}

Resolution resolution_of_exif(const Bytes& exif) {
  try {
    const Block block = Block::open(exif.data(), exif.size());
    return resolution_of(block.read(block.first()));
  } catch (const Failure&) {
    return {};
  }
}

// Returns the size of a profile's kind of colour: 1 gray, 3 RGB, 0 others.
int channels_of(const Bytes& icc) {
  if (icc.size() < 20) return 0;
  return std::memcmp(&icc[16], "GRAY", 4) == 0 ? 1 : std::memcmp(&icc[16], "RGB ", 4) == 0 ? 3 : 0;
}

void read_segment(Descriptions& page, int marker, const Bytes& data) {
  if (marker == 0xe0 && begins(data, kJfifMark) && data.size() >= 12) {
    const int unit = data[7];
    if ((unit == 1 || unit == 2) && !page.resolution.known())
      page.resolution = {static_cast<double>(get_number(&data[8], 2, true)),
                         static_cast<double>(get_number(&data[10], 2, true)), unit == 2};
  } else if (marker == 0xe1 && begins(data, kExifMark)) {
    if (page.exif.empty()) page.exif = after(data, 6);
  } else if (marker == 0xe1 && begins(data, kXmpMark)) {
    if (page.xmp.empty()) page.xmp = after(data, sizeof kXmpMark);
  } else if (marker == 0xe2 && begins(data, kIccMark) && data.size() > 14) {
    page.icc.insert(page.icc.end(), data.begin() + 14, data.end());
  } else if (marker == 0xed && begins(data, kPhotoshopMark)) {
    const Bytes part = after(data, sizeof kPhotoshopMark);
    page.photoshop.insert(page.photoshop.end(), part.begin(), part.end());
  } else if (marker == 0xfe || (marker >= 0xe1 && marker <= 0xef && marker != 0xe2 && marker != 0xee)) {
    page.segments.push_back(
        {std::string(1, static_cast<char>(marker)), data});  // not the lists of further pictures
  }
}

void read_jpeg(Descriptions& page, const uint8_t* data, size_t size) {
  for (size_t at = 2; at + 4 <= size && data[at] == 0xff;) {
    const int marker = data[at + 1];
    if (marker == 0xff) {
      ++at;
      continue;
    }
    const size_t length = get_number(data + at + 2, 2, true);
    if (marker == 0xda || length < 2 || at + 2 + length > size) break;
    read_segment(page, marker, Bytes(data + at + 4, data + at + 2 + length));
    at += 2 + length;
  }
  // 72 in the JFIF header is what programs write that do not know; elsewhere it is the container's own word.
  const Resolution told = resolution_of_exif(page.exif);
  if (told.known() && (!page.resolution.known() || page.resolution.dpi() == 72)) page.resolution = told;
}

// A number that whole dots per inch are rounded to means those.
Resolution per_metre(uint64_t x, uint64_t y) {
  const double across = std::round(x * 0.0254), down = std::round(y * 0.0254);
  const auto same = [](double dpi, uint64_t metre) {
    return std::llround(dpi / 0.0254) == static_cast<long long>(metre);
  };
  if (same(across, x) && same(down, y)) return {across, down, false};
  return {x / 100.0, y / 100.0, true};
}

void read_png(Descriptions& page, const uint8_t* data, size_t size, int& frames) {
  static const char* const kKept[] = {"gAMA", "cHRM", "sRGB", "iCCP", "cICP", "tEXt", "zTXt", "iTXt", "tIME"};
  for (size_t at = 8; at + 12 <= size;) {
    const uint64_t length = get_number(data + at, 4, true);
    if (length > size - at - 12) break;
    const std::string kind(reinterpret_cast<const char*>(data + at + 4), 4);
    const uint8_t* body = data + at + 8;
    if (kind == "acTL" && length >= 4) frames = static_cast<int>(get_number(body, 4, true));
    if (kind == "pHYs" && length >= 9 && body[8] == 1)
      page.resolution = per_metre(get_number(body, 4, true), get_number(body + 4, 4, true));
    if (kind == "eXIf") page.exif.assign(body, body + length);
    if (std::find(std::begin(kKept), std::end(kKept), kind) != std::end(kKept))
      page.chunks.push_back({kind, Bytes(body, body + length)});
    at += 12 + length;
  }
  if (!page.resolution.known()) page.resolution = resolution_of_exif(page.exif);
}

void read_webp(Descriptions& page, const uint8_t* data, size_t size) {
  for (size_t at = 12; at + 8 <= size;) {
    const std::string kind(reinterpret_cast<const char*>(data + at), 4);
    const uint64_t length = get_number(data + at + 4, 4, false);
    if (length > size - at - 8) break;
    const Bytes body(data + at + 8, data + at + 8 + (kind[0] == 'V' ? 0 : length));
    if (kind == "VP8L") page.lossless = true;
    if (kind == "ICCP") page.icc = body;
    if (kind == "EXIF") page.exif = begins(body, kExifMark) ? after(body, 6) : body;
    if (kind == "XMP ") page.xmp = body;
    at += 8 + length + (length & 1);
  }
  page.resolution = resolution_of_exif(page.exif);
}

void append(Bytes& bytes, const Bytes& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

void append_segment(Bytes& out, int marker, const Bytes& data) {
  if (data.size() > 65533) return;  // longer ones cannot exist in this container
  out.push_back(0xff);
  out.push_back(static_cast<uint8_t>(marker));
  append_number(out, data.size() + 2, 2, true);
  append(out, data);
}

// Long blocks in parts of 65000 bytes, each after the mark.
template <size_t n>
void append_parts(Bytes& out, int marker, const char (&mark)[n], const Bytes& data, bool numbered) {
  constexpr size_t kPart = 65000;
  const size_t parts = (data.size() + kPart - 1) / kPart;
  for (size_t i = 0; i < parts; ++i) {
    Bytes body(mark, mark + n);
    if (numbered) {
      body.push_back(static_cast<uint8_t>(i + 1));
      body.push_back(static_cast<uint8_t>(parts));
    }
    body.insert(body.end(), data.begin() + i * kPart, data.begin() + std::min(data.size(), (i + 1) * kPart));
    append_segment(out, marker, body);
  }
}

// Densities are whole numbers here: the unit of the page where they fit, else the one that comes nearest.
Bytes jfif(const Resolution& resolution) {
  Bytes body(kJfifMark, kJfifMark + sizeof kJfifMark);
  append(body, {1, 1});
  const bool fits = resolution.known() && std::max(resolution.x, resolution.y) < 65535;
  bool per_cm = resolution.per_cm;
  double x = resolution.x, y = resolution.y;
  if (fits && per_cm && std::fabs(x - std::round(x)) > 0.005) {
    x *= 2.54, y *= 2.54;
    per_cm = false;
  }
  body.push_back(!fits ? 0 : per_cm ? 2 : 1);
  append_number(body, fits ? std::lround(x) : 1, 2, true);
  append_number(body, fits ? std::lround(y) : 1, 2, true);
  append(body, {0, 0});
  return body;
}

Bytes into_jpeg(const Bytes& encoded, const Descriptions& page) {
  Bytes out(encoded.begin(), encoded.begin() + 2);
  append_segment(out, 0xe0, jfif(page.resolution));
  if (!page.exif.empty()) append_segment(out, 0xe1, marked(kExifMark, page.exif.data(), page.exif.size()));
  if (!page.xmp.empty()) append_segment(out, 0xe1, marked(kXmpMark, page.xmp.data(), page.xmp.size()));
  append_parts(out, 0xe2, kIccMark, page.icc, true);
  append_parts(out, 0xed, kPhotoshopMark, page.photoshop, false);
  for (const Chunk& segment : page.segments)
    append_segment(out, static_cast<uint8_t>(segment.kind[0]), segment.data);
  size_t rest = 2;
  while (rest + 4 <= encoded.size() && (encoded[rest + 1] & 0xf0) == 0xe0)
    rest += 2 + get_number(&encoded[rest + 2], 2, true);
  out.insert(out.end(), encoded.begin() + rest, encoded.end());
  return out;
}

void append_chunk(Bytes& out, const char* kind, const Bytes& data) {
  append_number(out, data.size(), 4, true);
  const size_t from = out.size();
  out.insert(out.end(), kind, kind + 4);
  append(out, data);
  append_number(out, crc32(0, out.data() + from, static_cast<uInt>(out.size() - from)), 4, true);
}

Bytes packed(const Bytes& data) {
  uLongf size = compressBound(data.size());
  Bytes out(size);
  if (compress(out.data(), &size, data.data(), data.size()) != Z_OK) return {};
  out.resize(size);
  return out;
}

Bytes into_png(const Bytes& encoded, const Descriptions& page) {
  constexpr size_t kHead = 8 + 25;  // signature and image header
  Bytes out(encoded.begin(), encoded.begin() + kHead);
  if (page.resolution.known()) {
    const double scale = page.resolution.per_cm ? 100 : 100 / 2.54;
    Bytes body;
    append_number(body, std::lround(page.resolution.x * scale), 4, true);
    append_number(body, std::lround(page.resolution.y * scale), 4, true);
    body.push_back(1);
    append_chunk(out, "pHYs", body);
  }
  const bool from_png = !page.chunks.empty();
  for (const Chunk& chunk : page.chunks)
    if (chunk.kind != "iCCP" || !page.icc.empty()) append_chunk(out, chunk.kind.c_str(), chunk.data);
  const auto has = [&](const char* kind) {
    return std::any_of(page.chunks.begin(), page.chunks.end(),
                       [=](const Chunk& c) { return c.kind == kind; });
  };
  if (!page.icc.empty() && !has("iCCP")) {
    Bytes body = {'I', 'C', 'C', 0, 0};
    append(body, packed(page.icc));
    append_chunk(out, "iCCP", body);
  }
  if (!page.xmp.empty() && !from_png) {
    static const char kKey[] = "XML:com.adobe.xmp\0\0\0\0";
    append_chunk(out, "iTXt", marked(kKey, page.xmp.data(), page.xmp.size()));
  }
  if (!page.exif.empty()) append_chunk(out, "eXIf", page.exif);
  for (size_t at = kHead; at + 12 <= encoded.size();) {
    const size_t length = 12 + get_number(&encoded[at], 4, true);
    if (std::memcmp(&encoded[at + 4], "pHYs", 4) != 0)
      out.insert(out.end(), encoded.begin() + at, encoded.begin() + std::min(encoded.size(), at + length));
    at += length;
  }
  return out;
}

void append_webp(Bytes& out, const char* kind, const Bytes& data) {
  if (data.empty()) return;
  out.insert(out.end(), kind, kind + 4);
  append_number(out, data.size(), 4, false);
  append(out, data);
  if (data.size() & 1) out.push_back(0);
}

// The only place for a resolution in a WebP is its EXIF block.
Bytes exif_with_resolution(const Bytes& exif, const Resolution& resolution) {
  if (!resolution.known() || resolution_of_exif(exif).known()) return exif;
  Directory tags;
  if (!exif.empty()) {
    const Block block = Block::open(exif.data(), exif.size());
    tags = block.read(block.first());
  }
  set_resolution(tags, resolution);
  return exif_block(tags);
}

Bytes into_webp(const Bytes& encoded, const Descriptions& described, int width, int height) {
  Descriptions page = described;
  page.exif = exif_with_resolution(page.exif, page.resolution);
  const bool extended = std::memcmp(&encoded[12], "VP8X", 4) == 0;
  Bytes head(10);
  if (extended) std::copy_n(encoded.begin() + 20, 10, head.begin());
  head[0] = static_cast<uint8_t>((head[0] & 0x10) | (page.icc.empty() ? 0 : 0x20) |
                                 (page.exif.empty() ? 0 : 8) | (page.xmp.empty() ? 0 : 4));
  put_number(&head[4], width - 1, 3, false);
  put_number(&head[7], height - 1, 3, false);
  Bytes out(encoded.begin(), encoded.begin() + 12);
  append_webp(out, "VP8X", head);
  append_webp(out, "ICCP", page.icc);
  for (size_t at = extended ? 30 : 12; at + 8 <= encoded.size();) {
    const size_t length = get_number(&encoded[at + 4], 4, false), whole = 8 + length + (length & 1);
    if (std::memcmp(&encoded[at], "VP8", 3) == 0 || std::memcmp(&encoded[at], "ALPH", 4) == 0)
      out.insert(out.end(), encoded.begin() + at, encoded.begin() + std::min(encoded.size(), at + whole));
    at += whole;
  }
  append_webp(out, "EXIF", page.exif);
  append_webp(out, "XMP ", page.xmp);
  put_number(&out[4], out.size() - 8, 4, false);
  return out;
}

Bytes bytes_of(const Directory& tags, uint16_t tag) {
  const Entry* entry = tags.find(tag);
  return entry ? entry->data : Bytes();
}

}  // namespace

void swap_sides(Descriptions& page) {
  std::swap(page.resolution.x, page.resolution.y);
  page.sides_swapped = !page.sides_swapped;
}

Descriptions descriptions_in(const uint8_t* data, size_t size, Format format, int& frames) {
  Descriptions page;
  frames = 1;
  if (format == Format::kJpeg) read_jpeg(page, data, size);
  if (format == Format::kPng) read_png(page, data, size, frames);
  if (format == Format::kWebp) read_webp(page, data, size);
  return page;
}

Descriptions descriptions_of(const Directory& tags) {
  Descriptions page;
  page.tags = tags;
  page.resolution = resolution_of(tags);
  page.icc = bytes_of(tags, kTagIcc);
  page.xmp = bytes_of(tags, kTagXmp);
  page.photoshop = bytes_of(tags, kTagPhotoshop);
  const Bytes iptc = bytes_of(tags, kTagIptc);
  if (page.photoshop.empty() && !iptc.empty()) {  // as a resource of Photoshop, which is how a JPEG holds it
    append(page.photoshop, {'8', 'B', 'I', 'M', 4, 4, 0, 0});
    append_number(page.photoshop, iptc.size(), 4, true);
    append(page.photoshop, iptc);
    if (iptc.size() & 1) page.photoshop.push_back(0);
  }
  Directory exif;
  exif.msb_first = tags.msb_first;
  for (uint16_t tag : {270, 271, 272, 282, 283, 296, 305, 306, 315, 316, 33432})
    if (const Entry* entry = tags.find(tag)) exif.entries[tag] = *entry;
  exif.below = tags.below;
  if (!exif.entries.empty() || !exif.below.empty()) page.exif = exif_block(exif);
  return page;
}

Directory as_tags(const Descriptions& page, int channels) {
  Directory tags = page.tags;
  const bool from_tiff = !tags.entries.empty();
  if (!from_tiff && !page.exif.empty()) {
    try {
      const Block block = Block::open(page.exif.data(), page.exif.size());
      tags = block.read(block.first());
    } catch (const Failure&) {
      tags = Directory();  // what calls itself EXIF and is not stays behind
    }
  }
  const auto put = [&](uint16_t tag, uint16_t type, const Bytes& data) {
    if (!data.empty()) tags.entries[tag] = {tag, type, data.size(), data};
  };
  tags.entries.erase(kTagIcc);
  if (channels_of(page.icc) == channels) put(kTagIcc, 7, page.icc);
  if (!from_tiff) put(kTagXmp, 1, page.xmp);
  if (!from_tiff) put(kTagPhotoshop, 1, page.photoshop);
  if (page.resolution.known()) {
    const Resolution now = resolution_of(tags);
    if (now.x != page.resolution.x || now.y != page.resolution.y || now.per_cm != page.resolution.per_cm) {
      set_resolution(tags, page.resolution);
    }
  }
  return tags;
}

Bytes with_descriptions(const Bytes& encoded, Format format, const Descriptions& described, int width,
                        int height, int channels) {
  Descriptions page = described;
  if (channels_of(page.icc) != channels) page.icc.clear();
  if (!page.exif.empty()) {
    try {
      const Resolution& told = page.resolution;
      make_upright(page.exif, {width, height, page.sides_swapped, told.x, told.y, told.per_cm});
    } catch (const Failure&) {
      page.exif.clear();
    }
  }
  if (format == Format::kJpeg) return into_jpeg(encoded, page);
  if (format == Format::kPng) return into_png(encoded, page);
  if (format == Format::kWebp) return into_webp(encoded, page, width, height);
  return encoded;
}

}  // namespace files
