// Hysteresis on bits: a word's edges spread along its row and into the words around it at once. A word whose
// edges grew is looked at again, so the work follows the edges, however they wind.
#include "skew/edge_map.h"

namespace skew {
namespace {

constexpr uint32_t kLast =
    UINT32_MAX;  // ends the chain; 0 means not in it: word 0 lies in row 0, without bits

struct Spreading {
  uint64_t* edges;
  const uint64_t* candidates;
  uint32_t* links;  // the chain of words to look at again
  uint32_t first;

  void grow(size_t word, uint64_t reached) {
    const uint64_t gained = reached & candidates[word] & ~edges[word];
    if (gained == 0) return;
    edges[word] |= gained;
    if (links[word] != 0) return;
    links[word] = first;
    first = static_cast<uint32_t>(word);
  }

  // The word and those above and below it.
  void grow_column(size_t word, size_t words, uint64_t reached) {
    grow(word - words, reached);
    grow(word, reached);
    grow(word + words, reached);
  }
};

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

void visit(Spreading& spreading, size_t word, size_t words) {
  uint64_t edges = spreading.edges[word];
  if ((((edges << 1) | (edges >> 1)) & spreading.candidates[word] & ~edges) != 0) {
    edges = fill_runs(edges, spreading.candidates[word]);
    spreading.edges[word] = edges;
  }
  const uint64_t reached = edges | (edges << 1) | (edges >> 1);
  spreading.grow(word - words, reached);
  spreading.grow(word + words, reached);
  if ((edges >> 63) != 0) spreading.grow_column(word + 1, words, 1);
  if ((edges & 1) != 0) spreading.grow_column(word - 1, words, uint64_t{1} << 63);
}

}  // namespace

void spread_edges(const EdgeBits& bits, int height, uint32_t* links) {
  Spreading spreading = {bits.edges, bits.candidates, links, kLast};
  const size_t end = bits.words * (height - 1);
  for (size_t seed = bits.words; seed < end; ++seed) {
    if (bits.edges[seed] == 0) continue;
    visit(spreading, seed, bits.words);
    while (spreading.first != kLast) {
      const size_t word = spreading.first;
      spreading.first = links[word];
      links[word] = 0;
      visit(spreading, word, bits.words);
    }
  }
}

}  // namespace skew
