// Hysteresis on bits: a word takes over the edges that reach it from the eight words around it and along its
// own row, all columns at once. One sweep down and one up settle nearly everything; what winds on is followed
// word by word, so the work stays in proportion to the edges.
#include "skew/edge_map.h"

namespace skew {
namespace {

constexpr uint32_t kLast =
    UINT32_MAX;  // ends the chain; 0 means not in it: word 0 lies in row 0, without bits

// All candidates in the runs of candidates that hold an edge.
uint64_t fill_runs(uint64_t edges, uint64_t candidates) {
  uint64_t up = candidates, down = candidates;
  for (int step = 1; step < 64; step *= 2) {
    edges |= (up & (edges << step)) | (down & (edges >> step));
    up &= up << step;
    down &= down >> step;
  }
  return edges;
}

struct Spreading {
  uint64_t* edges;
  const uint64_t* candidates;
  ptrdiff_t words;  // of a row
  uint32_t* links;  // the chain of words to look at again
  uint32_t first;

  uint64_t undecided(ptrdiff_t word) const { return candidates[word] & ~edges[word]; }

  // The edges of three rows' words, each column's together.
  uint64_t stacked(ptrdiff_t word) const { return edges[word - words] | edges[word] | edges[word + words]; }

  // Lets the edges around a word reach its candidates. True if it gained any.
  bool reach(ptrdiff_t word) const {
    const uint64_t open = undecided(word);
    if (open == 0) return false;
    const uint64_t here = stacked(word), before = stacked(word - 1), behind = stacked(word + 1);
    const uint64_t gained = (here | here << 1 | here >> 1 | before >> 63 | behind << 63) & open;
    if (gained == 0) return false;
    edges[word] = fill_runs(edges[word] | gained, candidates[word]);
    return true;
  }

  void chain(ptrdiff_t word) {
    if (undecided(word) == 0 || links[word] != 0) return;
    links[word] = first;
    first = static_cast<uint32_t>(word);
  }

  void chain_neighbours(ptrdiff_t word) {
    for (ptrdiff_t row = word - words; row <= word + words; row += words) {
      chain(row - 1);
      chain(row);
      chain(row + 1);
    }
  }

  // Follows the edges from one word until nothing changes.
  void follow(ptrdiff_t word) {
    if (!reach(word)) return;
    chain_neighbours(word);
    while (first != kLast) {
      const ptrdiff_t next = first;
      first = links[next];
      links[next] = 0;
      if (reach(next)) chain_neighbours(next);
    }
  }
};

}  // namespace

void spread_edges(const EdgeBits& bits, int height, uint32_t* links) {
  if (height < 3) return;
  Spreading spreading = {bits.edges, bits.candidates, bits.words, links, kLast};
  const ptrdiff_t begin = bits.words, end = bits.words * (height - 1);
  for (ptrdiff_t word = begin; word < end; ++word) spreading.reach(word);
  for (ptrdiff_t word = end; word-- > begin;) spreading.reach(word);
  for (ptrdiff_t word = begin; word < end; ++word) spreading.follow(word);
}

}  // namespace skew
