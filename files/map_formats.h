// The formats that map_boxes knows, for its own use.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "files/boxes.h"
#include "files/map_boxes.h"
#include "files/xml_filter.h"

namespace files {

// The pages of a sidecar, handed out as the document comes to them.
class PageOrder {
 public:
  PageOrder(const std::vector<TurnedPage>& pages, const MapOptions& options)
      : pages_(pages), options_(options) {}

  // The next page, of which the document says this size (0 if it does not). Throws Failure if that cannot be.
  BoxMap next(double width, double height);

  // The name of the image that the results belong to afterwards, without its folder.
  std::string image() const;

  // The same before the first page, where the sidecar has one only; else empty.
  std::string only_image() const;

  bool back() const { return options_.back; }
  bool any() const { return next_ > 0; }
  bool whole() const { return options_.whole; }

 private:
  std::string name_of(const TurnedPage& page) const;

  const std::vector<TurnedPage>& pages_;
  MapOptions options_;
  const TurnedPage* current_ = nullptr;
  size_t next_ = 0;
};

std::unique_ptr<XmlEditor> hocr_editor(PageOrder& order);
std::unique_ptr<XmlEditor> alto_editor(PageOrder& order);
std::unique_ptr<XmlEditor> page_editor(PageOrder& order);
void map_table(const std::string& from, const std::string& to, PageOrder& order);

}  // namespace files
