#include "files/ifd.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "files/failure.h"

namespace files {

namespace {

// Bytes of one value of each type; 0 for types that do not exist.
int size_of_type(uint16_t type) {
  constexpr int kSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
  return type < std::size(kSizes) ? kSizes[type] : 0;
}

// Of the parts that are swapped when the byte order changes: fractions are two numbers.
int size_of_part(uint16_t type) { return type == 5 || type == 10 ? 4 : size_of_type(type); }

bool leads_below(uint16_t tag) { return tag == kTagExif || tag == kTagGps || tag == kTagInterop; }

// Finds an entry of a directory in a block. Returns its place, 0 if there is none.
uint64_t place_of_entry(const Block& block, uint64_t directory, uint16_t tag) {
  if (block.next_place(directory) == 0) return 0;
  const uint64_t count = block.number(directory, 2);
  for (uint64_t i = 0; i < count; ++i)
    if (block.number(directory + 2 + 12 * i, 2) == tag) return directory + 2 + 12 * i;
  return 0;
}

void change_number(Bytes& exif, const Block& block, uint64_t entry, uint64_t value) {
  if (entry == 0) return;
  const int size = size_of_type(static_cast<uint16_t>(block.number(entry + 2, 2)));
  if (size > 0 && size <= 4) put_number(&exif[entry + 8], value, size, block.msb_first);
}

// A fraction stays as it is written where it says the same already.
void change_fraction(Bytes& exif, const Block& block, uint64_t entry, double value) {
  if (entry == 0 || block.number(entry + 2, 2) != kFraction) return;
  const uint64_t at = block.number(entry + 8, 4);
  if (at < 8 || at > exif.size() || exif.size() - at < 8) return;
  const auto over = static_cast<double>(block.number(at, 4)),
             under = static_cast<double>(block.number(at + 4, 4));
  if (under > 0 && std::fabs(over / under - value) < 1e-3) return;
  Directory fraction;
  fraction.msb_first = block.msb_first;
  fraction.set_fraction(0, value);
  std::copy_n(fraction.entries[0].data.begin(), 8, exif.begin() + static_cast<ptrdiff_t>(at));
}

}  // namespace

const Entry* Directory::find(uint16_t tag) const {
  const auto found = entries.find(tag);
  return found == entries.end() ? nullptr : &found->second;
}

uint64_t Directory::number(uint16_t tag, uint64_t otherwise) const {
  const Entry* entry = find(tag);
  if (!entry || entry->count == 0) return otherwise;
  const bool whole =
      entry->type == 1 || entry->type == 3 || entry->type == 4 || entry->type == 13 || entry->type >= 16;
  return whole ? get_number(entry->data.data(), size_of_type(entry->type), msb_first) : otherwise;
}

double Directory::real(uint16_t tag) const {
  const Entry* entry = find(tag);
  if (!entry || entry->count == 0) return 0;
  if (entry->type != kFraction) return static_cast<double>(number(tag, 0));
  const double over = static_cast<double>(get_number(entry->data.data(), 4, msb_first)),
               under = static_cast<double>(get_number(entry->data.data() + 4, 4, msb_first));
  return under > 0 ? over / under : 0;
}

void Directory::set_number(uint16_t tag, uint16_t type, uint64_t value) {
  Entry entry{tag, type, 1, {}};
  append_number(entry.data, value, size_of_type(type), msb_first);
  entries[tag] = entry;
}

void Directory::set_fraction(uint16_t tag, double value) {
  const uint64_t under = value == std::floor(value) ? 1 : value < 400000 ? 10000 : 1;
  Entry entry{tag, kFraction, 1, {}};
  append_number(entry.data, static_cast<uint64_t>(std::llround(value * static_cast<double>(under))), 4,
                msb_first);
  append_number(entry.data, under, 4, msb_first);
  entries[tag] = entry;
}

Block Block::open(const uint8_t* data, size_t size) {
  const bool msb = size >= 8 && data[0] == 'M' && data[1] == 'M';
  if (size < 8 || (!msb && (data[0] != 'I' || data[1] != 'I'))) throw Failure("is damaged (no TIFF header)");
  const uint64_t version = get_number(data + 2, 2, msb);
  if (version != 42 && (version != 43 || size < 16)) throw Failure("is damaged (no TIFF header)");
  return {data, size, msb, version == 43};
}

uint64_t Block::first() const { return big ? number(8, 8) : number(4, 4); }

uint64_t Block::next_place(uint64_t directory) const {
  const uint64_t head = big ? 8 : 2, entry = big ? 20 : 12;
  if (directory < 8 || directory > size || size - directory < head) return 0;
  const uint64_t count = number(directory, static_cast<int>(head));
  if (count > (size - directory - head) / entry) return 0;
  const uint64_t place = directory + head + count * entry;
  return size - place < static_cast<uint64_t>(offset_bytes()) ? 0 : place;
}

Directory Block::read(uint64_t place, int depth) const {
  Directory found;
  found.msb_first = msb_first;
  if (next_place(place) == 0) return found;
  const int head = big ? 8 : 2, step = big ? 20 : 12, inside = offset_bytes();
  const uint64_t count = number(place, head);
  uint64_t left = size;  // values that share their place could add up to more than there is
  for (uint64_t i = 0; i < count; ++i) {
    const uint64_t at = place + head + step * i, values = at + 4 + (big ? 8 : 4);
    Entry entry;
    entry.tag = static_cast<uint16_t>(number(at, 2));
    entry.type = static_cast<uint16_t>(number(at + 2, 2));
    entry.count = number(at + 4, big ? 8 : 4);
    const uint64_t each = size_of_type(entry.type);
    if (each == 0 || entry.count > size / each) continue;
    const uint64_t length = entry.count * each;
    const uint64_t from = length <= static_cast<uint64_t>(inside) ? values : number(values, inside);
    if (from > size || size - from < length || length > left) continue;
    left -= length;
    if (leads_below(entry.tag)) {
      if (depth < 2) found.below[entry.tag] = read(number(values, each == 8 ? 8 : 4), depth + 1);
      continue;
    }
    entry.data.assign(data + from, data + from + length);
    found.entries.emplace(entry.tag, std::move(entry));
  }
  return found;
}

Directory ordered(const Directory& directory, bool msb_first) {
  Directory result = directory;
  if (directory.msb_first == msb_first) return result;
  result.msb_first = msb_first;
  for (auto& [tag, entry] : result.entries) {
    const size_t part = size_of_part(entry.type);
    for (size_t i = 0; part > 1 && i + part <= entry.data.size(); i += part)
      std::reverse(entry.data.begin() + i, entry.data.begin() + i + part);
  }
  for (auto& [tag, below] : result.below) below = ordered(below, msb_first);
  return result;
}

uint64_t append_directory(const Directory& directory, bool big, uint64_t start, Bytes& bytes) {
  const int inside = big ? 8 : 4;
  const bool msb = directory.msb_first;
  std::map<uint16_t, Entry> entries = directory.entries;
  for (const auto& [tag, below] : directory.below) {
    if (below.entries.empty() && below.below.empty()) continue;
    Entry entry{tag, kLong, 1, {}};
    append_number(entry.data, append_directory(below, big, start, bytes), 4, msb);
    entries[tag] = entry;
  }
  Bytes table;
  append_number(table, entries.size(), big ? 8 : 2, msb);
  for (const auto& [tag, entry] : entries) {
    append_number(table, tag, 2, msb);
    append_number(table, entry.type, 2, msb);
    append_number(table, entry.count, inside, msb);
    if (entry.data.size() <= static_cast<size_t>(inside)) {
      table.insert(table.end(), entry.data.begin(), entry.data.end());
      table.resize(table.size() + inside - entry.data.size());
    } else {
      bytes.resize(bytes.size() + ((start + bytes.size()) & 1));
      append_number(table, start + bytes.size(), inside, msb);
      bytes.insert(bytes.end(), entry.data.begin(), entry.data.end());
    }
  }
  append_number(table, 0, inside, msb);
  bytes.resize(bytes.size() + ((start + bytes.size()) & 1));
  const uint64_t place = start + bytes.size();
  bytes.insert(bytes.end(), table.begin(), table.end());
  return place;
}

Bytes exif_block(const Directory& directory) {
  const bool msb = directory.msb_first;
  Bytes block(2, msb ? 'M' : 'I');
  append_number(block, 42, 2, msb);
  Bytes rest;
  append_number(block, append_directory(directory, false, 8, rest), 4, msb);
  block.insert(block.end(), rest.begin(), rest.end());
  return block;
}

void make_upright(Bytes& exif, const Upright& page) {
  const Block block = Block::open(exif.data(), exif.size());
  const uint64_t first = block.first(), next = block.next_place(first);
  if (block.big || next == 0) return;
  change_number(exif, block, place_of_entry(block, first, kTagOrientation), 1);
  const uint64_t x = place_of_entry(block, first, kTagXResolution),
                 y = place_of_entry(block, first, kTagYResolution);
  if (page.x > 0 && page.y > 0) {
    change_fraction(exif, block, x, page.x);
    change_fraction(exif, block, y, page.y);
    change_number(exif, block, place_of_entry(block, first, kTagResolutionUnit), page.per_cm ? 3 : 2);
  } else if (page.sides_swapped && x && y) {
    std::swap_ranges(&exif[x + 8], &exif[x + 12], &exif[y + 8]);
  }
  if (const uint64_t below = place_of_entry(block, first, kTagExif)) {
    const uint64_t inner = block.number(below + 8, 4);
    change_number(exif, block, place_of_entry(block, inner, 40962), page.width);
    change_number(exif, block, place_of_entry(block, inner, 40963), page.height);
  }
  // The preview: its bytes too, since they show the crooked page.
  const uint64_t second = block.number(next, 4);
  const Directory preview = block.read(second);
  const uint64_t from = preview.number(513, 0), length = preview.number(514, 0);
  if (from > next + 4 && from < exif.size() && length <= exif.size() - from) {
    if (from + length == exif.size())
      exif.resize(from);
    else
      std::fill(exif.begin() + from, exif.begin() + from + length, 0);
  }
  put_number(&exif[next], 0, 4, block.msb_first);
}

}  // namespace files
