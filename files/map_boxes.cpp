#include "files/map_boxes.h"

#include "files/failure.h"
#include "files/map_formats.h"
#include "files/xml_filter.h"

namespace files {

BoxMap PageOrder::next(double width, double height) {
  if (next_ == pages_.size()) throw Failure("has more pages than the sidecar");
  current_ = &pages_[next_++];
  const BoxMap map(current_->transform, options_.back);
  if (width > 0 && (width != map.width_before() || height != map.height_before()))
    throw Failure("is of a page of " + coordinate(width, false) + " x " + coordinate(height, false) +
                  " pixels, the sidecar of one of " + std::to_string(map.width_before()) + " x " +
                  std::to_string(map.height_before()));
  return map;
}

std::string PageOrder::name_of(const TurnedPage& page) const {
  const std::string& path = options_.back ? page.source : page.result;
  return path.substr(path.find_last_of('/') + 1);
}

std::string PageOrder::image() const { return name_of(*current_); }

std::string PageOrder::only_image() const { return pages_.size() == 1 ? name_of(pages_[0]) : ""; }

void map_boxes(const std::string& from, const std::string& to, const std::vector<TurnedPage>& pages,
               const MapOptions& options) {
  PageOrder order(pages, options);
  const std::string root = xml_root(from);
  if (root.empty()) return map_table(from, to, order);
  const auto editor = root == "html"    ? hocr_editor(order)
                      : root == "alto"  ? alto_editor(order)
                      : root == "PcGts" ? page_editor(order)
                                        : nullptr;
  if (!editor)
    throw Failure("is neither hOCR, ALTO, PAGE nor a table: its root is <" + root.substr(0, 40) + ">");
  filter_xml(from, to, *editor);
  if (!order.any()) throw Failure("describes no page");
}

}  // namespace files
