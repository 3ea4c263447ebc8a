#include "page/letters.h"

#include <cstring>

namespace skew {
namespace {

constexpr int kBlock = 8;  // pixels; the threshold is one for a block
constexpr int kReach = 2;  // blocks on each side that count as a block's surroundings: 40 pixels in all
constexpr int kLeastContrast = 12;  // levels below the mean of the surroundings
constexpr int kSharePercent = 35;   // of the way from the mean to the darkest of the surroundings

constexpr int kLeastHeight = 4;                                // pixels; less is dust
constexpr int kMostHeightPercent = 6, kMostWidthPercent = 12;  // of the page's shorter side
constexpr int kTypicalHeights = 4, kTypicalWidths = 8;         // of the typical height

constexpr int kLeastStroke = 24;   // pixels
constexpr int kStrokeHeights = 3;  // typical heights; a stroke is longer
constexpr int kStrokeRuns = 13;    // tenths of a run of ink a row; a stroke has fewer

struct Block {
  uint32_t sum;
  uint16_t pixels;
  uint8_t darkest, lightest;
};

struct Run {
  uint16_t left, right, row;
  uint16_t unused;
  uint32_t component;
};

struct Component {
  Letter box;
  uint32_t parent, runs;
};

int smaller(int a, int b) { return a < b ? a : b; }
int larger(int a, int b) { return a > b ? a : b; }

// The blocks of one row of blocks: columns first, which the compiler puts into vectors. `columns` has room for three
// rows of 16 bits.
void sum_blocks(const uint8_t* image, int width, int rows, ptrdiff_t stride, uint8_t flip, uint16_t* columns,
                Block* blocks) {
  uint16_t *sums = columns, *darkest = columns + width,
           *lightest = columns + 2 * static_cast<ptrdiff_t>(width);
  for (int x = 0; x < width; ++x) sums[x] = darkest[x] = lightest[x] = static_cast<uint16_t>(image[x] ^ flip);
  for (int y = 1; y < rows; ++y) {
    const uint8_t* row = image + y * stride;
    for (int x = 0; x < width; ++x) {
      const uint16_t v = static_cast<uint16_t>(row[x] ^ flip);
      sums[x] = static_cast<uint16_t>(sums[x] + v);
      darkest[x] = v < darkest[x] ? v : darkest[x];
      lightest[x] = v > lightest[x] ? v : lightest[x];
    }
  }
  for (int left = 0, b = 0; left < width; left += kBlock, ++b) {
    const int right = smaller(left + kBlock, width);
    Block& block = blocks[b];
    block = {0, static_cast<uint16_t>((right - left) * rows), 255, 0};
    for (int x = left; x < right; ++x) {
      block.sum += sums[x];
      block.darkest = static_cast<uint8_t>(smaller(block.darkest, darkest[x]));
      block.lightest = static_cast<uint8_t>(larger(block.lightest, lightest[x]));
    }
  }
}

// Pixels darker than this are ink; 0 where the surroundings hold none. In negatives ink must be the smaller part: between
// the letters of an ordinary page the paper would else pass for light ink, in the shape of the blocks.
uint8_t threshold_of(const Block* blocks, int across, int down, int bx, int by, bool negative) {
  uint32_t sum = 0, pixels = 0;
  int darkest = 255, lightest = 0;
  for (int y = larger(by - kReach, 0); y <= smaller(by + kReach, down - 1); ++y)
    for (int x = larger(bx - kReach, 0); x <= smaller(bx + kReach, across - 1); ++x) {
      const Block& b = blocks[y * across + x];
      sum += b.sum;
      pixels += b.pixels;
      darkest = smaller(darkest, b.darkest);
      lightest = larger(lightest, b.lightest);
    }
  const int mean = static_cast<int>(sum / (pixels > 0 ? pixels : 1));
  if (negative && mean - darkest < lightest - mean) return 0;
  return static_cast<uint8_t>(
      larger(mean - larger((mean - darkest) * kSharePercent / 100, kLeastContrast), 0));
}

// Eight pixels at a time; the compiler puts the comparisons into vectors, and a multiplication gathers their bits.
void find_ink(const uint8_t* row, const uint8_t* thresholds, int width, uint8_t flip, uint64_t* ink) {
  for (int left = 0; left < width; left += 64) {
    const int count = smaller(64, width - left);
    uint8_t dark[64] = {};
    for (int x = 0; x < count; ++x) dark[x] = (row[left + x] ^ flip) < thresholds[left + x];
    uint64_t bits = 0;
    for (int i = 0; i < 8; ++i) {
      const uint8_t* eight = dark + 8 * i;
      for (int k = 0; k < 8; ++k) bits |= static_cast<uint64_t>(eight[k]) << (8 * i + k);
    }
    ink[left / 64] = bits;
  }
}

bool find_ink_of_page(const uint8_t* image, int width, int height, ptrdiff_t stride, uint8_t flip,
                      Letters* letters) {
  const int across = (width + kBlock - 1) / kBlock, down = (height + kBlock - 1) / kBlock;
  const Buffer<Block> blocks = allocate<Block>(down, across);
  const Buffer<uint8_t> thresholds = allocate_zeroed<uint8_t>(across, kBlock);
  const Buffer<uint16_t> columns = allocate<uint16_t>(width, 3);
  letters->row_words = width / 64 + 1;
  letters->ink = allocate_zeroed<uint64_t>(height, letters->row_words);
  if (!blocks || !thresholds || !columns || !letters->ink) return false;
  for (int b = 0; b < down; ++b)
    sum_blocks(image + b * kBlock * stride, width, smaller(kBlock, height - b * kBlock), stride, flip,
               columns.get(), &blocks[b * across]);
  for (int y = 0; y < height; ++y) {
    if (y % kBlock == 0)
      for (int b = 0; b < across; ++b)
        std::memset(&thresholds[b * kBlock],
                    threshold_of(blocks.get(), across, down, b, y / kBlock, flip != 0), kBlock);
    find_ink(image + y * stride, thresholds.get(), width, flip,
             &letters->ink[static_cast<ptrdiff_t>(y) * letters->row_words]);
  }
  return true;
}

int count_runs(const Letters& letters, int height) {
  int count = 0;
  for (int y = 0; y < height; ++y) {
    const uint64_t* row = &letters.ink[static_cast<ptrdiff_t>(y) * letters.row_words];
    uint64_t last = 0;
    for (int w = 0; w < letters.row_words; ++w) {
      count += __builtin_popcountll(row[w] & ~(row[w] << 1 | last));
      last = row[w] >> 63;
    }
  }
  return count;
}

uint32_t root(Component* components, uint32_t c) {
  while (components[c].parent != c) c = components[c].parent = components[components[c].parent].parent;
  return c;
}

void grow(Letter* box, const Letter& by) {
  box->left = static_cast<uint16_t>(smaller(box->left, by.left));
  box->top = static_cast<uint16_t>(smaller(box->top, by.top));
  box->right = static_cast<uint16_t>(larger(box->right, by.right));
  box->bottom = static_cast<uint16_t>(larger(box->bottom, by.bottom));
  box->area += by.area;
}

void absorb(Component* into, const Component& other) {
  grow(&into->box, other.box);
  into->runs += other.runs;
}

uint32_t join(Component* components, uint32_t a, uint32_t b) {
  a = root(components, a);
  b = root(components, b);
  if (a == b) return a;
  if (b < a) {
    const uint32_t c = a;
    a = b;
    b = c;
  }
  components[b].parent = a;
  absorb(&components[a], components[b]);
  return a;
}

struct Labels {
  Buffer<Run> runs;
  Buffer<Component> components;
  int run_count = 0, component_count = 0;
};

// Runs that touch, corners too, belong to one component.
void label_rows(const Letters& letters, int height, Labels* labels) {
  Run* runs = labels->runs.get();
  Component* components = labels->components.get();
  int before = 0, start = 0, count = 0;
  for (int y = 0; y < height; ++y) {
    const uint64_t* row = &letters.ink[static_cast<ptrdiff_t>(y) * letters.row_words];
    uint64_t last = 0;
    bool inside = false;
    int above = before;
    for (int w = 0; w < letters.row_words; ++w) {
      uint64_t changes = row[w] ^ (row[w] << 1 | last);
      last = row[w] >> 63;
      for (; changes != 0; changes &= changes - 1) {
        const int at = w * 64 + __builtin_ctzll(changes);
        inside = !inside;
        if (inside) {
          runs[count].left = static_cast<uint16_t>(at);
          continue;
        }
        Run& run = runs[count++];
        run.right = static_cast<uint16_t>(at - 1);
        run.row = static_cast<uint16_t>(y);
        const uint32_t fresh = static_cast<uint32_t>(labels->component_count);
        components[fresh] = {
            {run.left, run.row, run.right, run.row, static_cast<uint32_t>(run.right - run.left + 1)},
            fresh,
            1};
        uint32_t name = fresh;
        while (above < start && runs[above].right + 1 < run.left) ++above;
        for (int k = above; k < start && runs[k].left <= run.right + 1; ++k) {
          if (name == fresh) {
            name = root(components, runs[k].component);
            absorb(&components[name], components[fresh]);
          } else {
            name = join(components, name, runs[k].component);
          }
        }
        if (name == fresh) ++labels->component_count;
        run.component = name;
      }
    }
    before = start;
    start = count;
  }
  labels->run_count = count;
}

bool is_letter_sized(const Letter& box, int width, int height) {
  const int side = smaller(width, height);
  const int most_high = larger(side * kMostHeightPercent / 100, 12),
            most_wide = larger(side * kMostWidthPercent / 100, 24);
  const int h = box.height(), w = box.width();
  return (h >= kLeastHeight || w >= kLeastHeight) && h <= most_wide && w <= most_wide &&
         (h <= most_high || w <= most_high);
}

// Half of the ink of what has a letter's size stands in components up to this height.
int typical_height_of(const Labels& labels, int width, int height) {
  uint32_t ink[1024] = {};
  uint64_t total = 0;
  for (int i = 0; i < labels.component_count; ++i) {
    const Component& c = labels.components[i];
    if (c.parent != static_cast<uint32_t>(i) || !is_letter_sized(c.box, width, height)) continue;
    const int h = smaller(smaller(c.box.height(), c.box.width()), 1023);
    const uint32_t weight = static_cast<uint32_t>(smaller(c.box.width(), c.box.height() * 4));
    ink[h] += weight;
    total += weight;
  }
  uint64_t sum = 0;
  for (int h = 0; h < 1024; ++h)
    if ((sum += ink[h]) * 2 >= total) return h;
  return 0;
}

// Pieces of rules, hatching, contours and blots have one run of ink a row, letters of their size have more.
bool is_stroke(const Component& c, int typical) {
  const int longer = larger(c.box.width(), c.box.height());
  return longer > larger(kStrokeHeights * typical, kLeastStroke) &&
         10 * c.runs < kStrokeRuns * static_cast<uint32_t>(c.box.height());
}

bool is_letter(const Component& c, int typical, int width, int height) {
  const int longer = larger(c.box.width(), c.box.height()), shorter = smaller(c.box.width(), c.box.height());
  return is_letter_sized(c.box, width, height) && shorter <= kTypicalHeights * typical &&
         longer <= kTypicalWidths * typical && !is_stroke(c, typical);
}

void clear_run(const Run& run, uint64_t* row) {
  for (int x = run.left; x <= run.right; ++x) row[x / 64] &= ~(uint64_t{1} << x % 64);
}

}  // namespace

bool find_letters(const uint8_t* image, int width, int height, ptrdiff_t stride, bool light,
                  Letters* letters) {
  if (!find_ink_of_page(image, width, height, stride, light ? 255 : 0, letters)) return false;
  Labels labels;
  const int runs = count_runs(*letters, height);
  labels.runs = allocate<Run>(runs);
  labels.components = allocate<Component>(static_cast<uint64_t>(runs) + 1);
  if (!labels.runs || !labels.components) return false;
  label_rows(*letters, height, &labels);
  letters->typical_height = typical_height_of(labels, width, height);
  for (int i = 0; i < labels.component_count; ++i) {
    const Component& c = labels.components[i];
    letters->count +=
        c.parent == static_cast<uint32_t>(i) && is_letter(c, letters->typical_height, width, height);
  }
  letters->list = allocate<Letter>(letters->count);
  if (!letters->list) return false;
  for (int i = 0, k = 0; i < labels.component_count; ++i) {
    const Component& c = labels.components[i];
    if (c.parent == static_cast<uint32_t>(i) && is_letter(c, letters->typical_height, width, height))
      letters->list[k++] = c.box;
  }
  for (int i = 0; i < labels.run_count; ++i) {
    const Run& run = labels.runs[i];
    const Component& c = labels.components[root(labels.components.get(), run.component)];
    if (!is_letter(c, letters->typical_height, width, height))
      clear_run(run, &letters->ink[static_cast<ptrdiff_t>(run.row) * letters->row_words]);
  }
  return true;
}

void outline_letters(const Letters& letters, int width, int height, uint8_t* map, ptrdiff_t stride) {
  const int words = letters.row_words;
  for (int y = 0; y < height; ++y) {
    uint8_t* out = map + y * stride;
    std::memset(out, 0, static_cast<size_t>(stride));
    if (y == 0 || y == height - 1) continue;
    const uint64_t* row = &letters.ink[static_cast<ptrdiff_t>(y) * words];
    for (int w = 0; w < words; ++w) {
      if (row[w] == 0) continue;
      const uint64_t left = row[w] << 1 | (w > 0 ? row[w - 1] >> 63 : 0);
      const uint64_t right = row[w] >> 1 | (w + 1 < words ? row[w + 1] << 63 : 0);
      uint64_t edge = row[w] & ~(left & right & row[w - words] & row[w + words]);
      for (; edge != 0; edge &= edge - 1) {
        const int x = w * 64 + __builtin_ctzll(edge);
        if (x < width) out[x] = 255;
      }
    }
  }
}

}  // namespace skew
