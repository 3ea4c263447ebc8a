// The page-level measurement.
#include "include/skewcorrection/page.h"
#include "tests/calls/lists.h"

namespace skew::test {
namespace {

struct Page {
  Size size = {1, 1};
  size_t stride = 0;
  std::vector<uint8_t> pixels;
};
Page draw_page(Source& source) {
  Page page;
  page.size = draw_size(source, 1, source.chance(12) ? 800 : 250);
  page.stride = static_cast<size_t>(page.size.width + source.between(0, 5));
  page.pixels = draw_raster(source, page.size, page.stride);
  return page;
}

void add(Outcome& out, const SkewPage& page) {
  for (const double value :
       {page.angle, page.confidence, page.lowestAngle, page.highestAngle, page.paperAngle, page.spread})
    out.add(value);
  for (const int value :
       {page.verdict, page.reason, page.basis, page.paperFound, page.windowsMeasured, page.windowsAgreeing})
    out.add(value);
}

void call_measure(Source& source, Outcome& out) {
  const Page page = draw_page(source);
  SkewPage found = {};
  out.add(skew_measure_page(page.pixels.data(), page.size.width, page.size.height,
                            static_cast<ptrdiff_t>(page.stride), &found));
  add(out, found);
}

void call_details(Source& source, Outcome& out) {
  const Page page = draw_page(source);
  SkewPage found = {};
  SkewPageDetails details = {};
  out.add(skew_measure_page_details(page.pixels.data(), page.size.width, page.size.height,
                                    static_cast<ptrdiff_t>(page.stride), &found, &details));
  add(out, found);
  const size_t bytes = static_cast<size_t>(details.stride) * static_cast<size_t>(details.height);
  if (details.pWorking != nullptr) out.add_bytes(details.pWorking, bytes);
  if (details.pEdges != nullptr) out.add_bytes(details.pEdges, bytes);
  for (int i = 0; i < details.windowCount; ++i) {
    const SkewPageWindow& window = details.pWindows[i];
    for (const int value :
         {window.left, window.top, window.right, window.bottom, window.points, window.agrees})
      out.add(value);
    out.add(window.angle);
  }
  for (int i = 0; i < details.scoreCount; ++i) {
    out.add(details.pScores[i].angle);
    out.add(details.pScores[i].score);
  }
  skew_free_page_details(&details);
}

}  // namespace

const std::vector<Call> kPageCalls = {
    {"skew_measure_page", Family::kPage, true, call_measure},
    {"skew_measure_page_details", Family::kPage, true, call_details},
};

}  // namespace skew::test
