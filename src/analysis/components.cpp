// Connected components, one row of runs at a time. The table of records is all that is kept: a run names its
// record, and a record that was merged into another has area 0 and names that one.
#include <cstddef>

#include "analysis/runs.h"
#include "core/buffer.h"
#include "core/raster.h"
#include "include/skewcorrection/analysis.h"

namespace skew {
namespace {

constexpr int kTableSize = 10000;
constexpr int kCompactAbove = 8000;
constexpr int kTallest = 65536;  // rows have 16-bit numbers
constexpr uint32_t kSpeck = 3;   // finished components up to this area go when space is short
constexpr uint32_t kReturnedLink = 2;
constexpr uint32_t kNone = UINT32_MAX;

static_assert(kCompactAbove + kRunsInRow <= kTableSize, "a row may open one record for each of its runs");

struct RunRow {
  Run* runs;
  int count;
};

class ComponentTable {
 public:
  explicit ComponentTable(ImgROI* records) : records_(records) {}

  // Gives every run of row y its record. The previous row's runs name records that were not merged.
  void add_row(const RunRow& row, const RunRow& previous, int reach, int y) {
    int first = 0;
    for (int i = 0; i < row.count; ++i) first = connect(&row.runs[i], previous, first, reach, y);
    for (int i = 0; i < row.count; ++i) row.runs[i].record = root(row.runs[i].record);
  }

  // Makes room when more than kCompactAbove records are in use: keeps those of row y, which may still grow,
  // and those that are larger than a speck. False, with nothing changed but scratchIndex, if too many remain.
  // Afterwards the link of a merged record is stale; nothing reads it again, since runs name live records.
  bool make_room(const RunRow& row, int y) {
    if (size_ <= kCompactAbove) return true;
    int kept = 0;
    for (int i = 0; i < size_; ++i)
      if (is_kept(records_[i], y)) records_[i].scratchIndex = static_cast<uint16_t>(kept++);
    if (kept > kCompactAbove) return false;

    for (int i = 0; i < row.count; ++i) row.runs[i].record = records_[row.runs[i].record].scratchIndex;
    kept = 0;
    for (int i = 0; i < size_; ++i)
      if (is_kept(records_[i], y)) records_[kept++] = records_[i];
    size_ = kept;
    return true;
  }

  // Moves the components to the front, in order, as they are returned; gives their number.
  int finish() {
    int count = 0;
    for (int i = 0; i < size_; ++i) {
      if (records_[i].area == 0) continue;
      records_[count] = records_[i];
      records_[count].link = kReturnedLink;
      records_[count].scratchIndex = 0;
      ++count;
    }
    return count;
  }

 private:
  static bool is_kept(const ImgROI& record, int y) { return record.bottom == y || record.area > kSpeck; }

  uint32_t root(uint32_t record) const {
    while (records_[record].area == 0) record = records_[record].link;
    return record;
  }

  // Puts the run into the record of the leftmost previous run it touches, and merges the records of the
  // others into that one; a run that touches none opens a record. Looks at the previous runs from `first` on
  // and returns where to begin for the next run: a long previous run may touch that one, too.
  int connect(Run* run, const RunRow& previous, int first, int reach, int y) {
    uint32_t survivor = kNone;
    int i = first;
    for (; i < previous.count && previous.runs[i].left <= run->right + reach; ++i) {
      if (previous.runs[i].right < run->left - reach) continue;
      const uint32_t touched = root(previous.runs[i].record);
      if (survivor == kNone)
        extend(survivor = touched, *run, y);
      else if (touched != survivor)
        absorb(survivor, touched);
    }
    run->record = survivor != kNone ? survivor : open(*run, y);
    return i > 0 ? i - 1 : 0;
  }

  uint32_t open(const Run& run, int y) {
    const uint16_t row = static_cast<uint16_t>(y), length = static_cast<uint16_t>(run.right - run.left + 1);
    records_[size_] = {run.left, run.right, row, row, length, 0, length, 0, 0};
    return static_cast<uint32_t>(size_++);
  }

  void extend(uint32_t record, const Run& run, int y) {
    ImgROI& r = records_[record];
    const uint16_t length = static_cast<uint16_t>(run.right - run.left + 1);
    if (run.left < r.left) r.left = run.left;
    if (run.right > r.right) r.right = run.right;
    if (length > r.maxRun) r.maxRun = length;
    r.bottom = static_cast<uint16_t>(y);
    r.area += length;
  }

  void absorb(uint32_t survivor, uint32_t other) {
    ImgROI &r = records_[survivor], &gone = records_[other];
    if (gone.left < r.left) r.left = gone.left;
    if (gone.right > r.right) r.right = gone.right;
    if (gone.top < r.top) r.top = gone.top;
    if (gone.maxRun > r.maxRun) r.maxRun = gone.maxRun;
    r.area += gone.area;
    gone.area = 0;
    gone.link = survivor;
  }

  ImgROI* records_;
  int size_ = 0;
};

// Returns the number of components.
int find_components(const uint8_t* pixels, int width, int height, int reach, uint8_t value, ImgROI* records,
                    Run* runs) {
  ComponentTable table(records);
  RunRow row = {runs, 0}, previous = {runs + kRunsInRow, 0};
  for (int y = 0; y < height; ++y) {
    row.count = find_runs(pixels + y * padded_stride(width), width, value, row.runs);
    table.add_row(row, previous, reach, y);
    if (!table.make_room(row, y)) break;
    const RunRow done = row;
    row = previous;
    previous = done;
  }
  return table.finish();
}

}  // namespace
}  // namespace skew

ImgROI* CCAnalysis(const uint8_t* pSrc, int width, int height, int* pCount, int eightConnected,
                   uint8_t foreground) {
  skew::Buffer<ImgROI> records = skew::allocate<ImgROI>(skew::kTableSize);
  const skew::Buffer<skew::Run> runs = skew::allocate<skew::Run>(2, skew::kRunsInRow);
  if (!records || !runs) return nullptr;

  *pCount = 0;
  if (width < 1 || width > skew::kWidestRunRow || height < 1 || height > skew::kTallest) return nullptr;
  *pCount = skew::find_components(pSrc, width, height, eightConnected != 0 ? 1 : 0, foreground, records.get(),
                                  runs.get());
  return *pCount != 0 ? records.release() : nullptr;
}
