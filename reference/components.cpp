#include "reference/components.h"

#include <cstdlib>
#include <cstring>

namespace skew::reference {
namespace {

// Runs are kept in the record type, their record in `link`.
struct Labeller {
  ImgROI* table;
  int records;
  ImgROI *row, *previous;
  int runs, previous_runs;
  uint16_t merge[2000];
  int merged;

  int root(uint32_t i) const {
    while (table[i].area == 0 && table[i].link != i) i = table[i].link;
    return static_cast<int>(i);
  }

  void find_runs(const uint8_t* pixels, int width, uint8_t foreground) {
    runs = 0;
    for (int x = 0; x < width; ++x) {
      if (pixels[x] != foreground) continue;
      ImgROI run = {};
      run.left = static_cast<uint16_t>(x);
      while (x + 1 < width && pixels[x + 1] == foreground) ++x;
      run.right = static_cast<uint16_t>(x);
      run.area = run.right - run.left + 1u;
      row[runs++] = run;
    }
  }

  void open(ImgROI* run, int y) {
    table[records] = *run;
    table[records].top = table[records].bottom = static_cast<uint16_t>(y);
    table[records].maxRun = static_cast<uint16_t>(run->area);
    run->link = static_cast<uint32_t>(records++);
  }

  void widen(ImgROI* record, const ImgROI& by, uint16_t max_run) {
    if (by.left < record->left) record->left = by.left;
    if (by.right > record->right) record->right = by.right;
    if (max_run > record->maxRun) record->maxRun = max_run;
    record->area += by.area;
  }

  int connect(ImgROI* run, int from, int d, int y) {
    merged = 0;
    int j = from;
    for (; j < previous_runs && previous[j].left <= run->right + d; ++j) {
      if (previous[j].right < run->left - d) continue;
      merge[merged++] = static_cast<uint16_t>(root(previous[j].link));
      previous[j].link = merge[0];
    }
    if (merged == 0) {
      open(run, y);
      return j > 0 ? j - 1 : 0;
    }
    ImgROI* survivor = &table[merge[0]];
    widen(survivor, *run, static_cast<uint16_t>(run->area));
    survivor->bottom = static_cast<uint16_t>(y);
    run->link = merge[0];
    for (int k = 1; k < merged; ++k) {
      ImgROI* other = &table[merge[k]];
      if (other == survivor || other->area == 0) continue;
      if (other->top < survivor->top) survivor->top = other->top;
      widen(survivor, *other, other->maxRun);
      other->area = 0;
      other->link = merge[0];
    }
    return j > 0 ? j - 1 : 0;
  }

  bool kept(const ImgROI& record, int y) const { return record.bottom == y || record.area > 3; }

  bool compact(int y) {
    int count = 0;
    for (int i = 0; i < records; ++i)
      if (kept(table[i], y)) table[i].scratchIndex = static_cast<uint16_t>(count++);
    if (count > 8000) return false;
    for (int i = 0; i < runs; ++i) row[i].link = table[row[i].link].scratchIndex;
    for (int i = 0; i < records; ++i)
      if (kept(table[i], y) && table[i].area == 0) table[i].reserved = table[root(i)].scratchIndex;
    count = 0;
    for (int i = 0; i < records; ++i) {
      if (!kept(table[i], y)) continue;
      table[count] = table[i];
      if (table[count].area == 0) table[count].link = table[count].reserved;
      table[count++].reserved = 0;
    }
    records = count;
    return true;
  }

  bool add_row(int d, int y) {
    if (runs == 0) return true;
    if (previous_runs == 0) {
      for (int i = 0; i < runs; ++i) open(&row[i], y);
    } else {
      int from = 0;
      for (int i = 0; i < runs; ++i) from = connect(&row[i], from, d, y);
      for (int i = 0; i < runs; ++i)
        if (table[row[i].link].area == 0) row[i].link = table[row[i].link].link;
    }
    return records <= 8000 || compact(y);
  }
};

}  // namespace

ImgROI* cc_analysis(const uint8_t* pixels, int width, int height, int* count, int eight_connected,
                    uint8_t foreground) {
  Labeller l = {};
  l.table = static_cast<ImgROI*>(std::calloc(10000, sizeof(ImgROI)));
  ImgROI* first = l.row = static_cast<ImgROI*>(std::malloc(2000 * sizeof(ImgROI)));
  ImgROI* second = l.previous = static_cast<ImgROI*>(std::malloc(2000 * sizeof(ImgROI)));
  const int stride = (width + 3) & ~3;
  for (int y = 0; y < height; ++y) {
    l.find_runs(pixels + int64_t{y} * stride, width, foreground);
    if (!l.add_row(eight_connected != 0 ? 1 : 0, y)) break;
    ImgROI* done = l.row;
    l.row = l.previous;
    l.previous = done;
    l.previous_runs = l.runs;
  }
  std::free(first);
  std::free(second);

  *count = 0;
  for (int i = 0; i < l.records; ++i) {
    if (l.table[i].area == 0) continue;
    l.table[*count] = l.table[i];
    l.table[*count].scratchIndex = 0;
    l.table[(*count)++].link = 2;
  }
  if (*count != 0) return l.table;
  std::free(l.table);
  return nullptr;
}

void barycenter(const uint8_t* pixels, int width, int height, int32_t* x, int32_t* y) {
  double sum_x = 0, sum_y = 0;
  int count = 0;
  for (int row = 0; row < height; ++row)
    for (int column = 0; column < width; ++column) {
      if (pixels[int64_t{row} * width + column] == 0) continue;
      sum_x += column;
      sum_y += row;
      ++count;
    }
  *x = count == 0 ? 0 : static_cast<int32_t>(sum_x / count + 0.5);
  *y = count == 0 ? 0 : static_cast<int32_t>(sum_y / count + 0.5);
}

}  // namespace skew::reference
