#include "files/pdf_structure.h"

#include <set>
#include <utility>

namespace files {

namespace {

using Object = QPDFObjectHandle;

std::vector<Object> list_of(Object object) {
  if (object.isArray()) return object.getArrayAsVector();
  return {object};
}

// The page that an element names, or the first of its content does.
Object page_of(Object element, const Object& inherited) {
  Object page = element.getKey("/Pg");
  if (page.isDictionary()) return page;
  for (auto& kid : list_of(element.getKey("/K")))
    if (kid.isDictionary() && kid.getKey("/Pg").isDictionary()) return kid.getKey("/Pg");
  return inherited;
}

}  // namespace

PdfStructure::PdfStructure(QPDF& pdf) {
  Object root = pdf.getRoot().getKey("/StructTreeRoot");
  if (!root.isDictionary()) return;
  std::set<QPDFObjGen> seen;
  std::vector<std::pair<Object, Object>> waiting = {{root, Object::newNull()}};
  while (!waiting.empty()) {
    auto [element, inherited] = waiting.back();
    waiting.pop_back();
    if (!element.isDictionary() || (element.isIndirect() && !seen.insert(element.getObjGen()).second))
      continue;
    Object page = page_of(element, inherited);
    if (page.isIndirect()) visit(element, page);
    for (auto& kid : list_of(element.getKey("/K"))) waiting.emplace_back(kid, page);
  }
}

void PdfStructure::visit(Object element, const Object& page) {
  for (auto& attributes : list_of(element.getKey("/A")))
    if (attributes.isDictionary() && attributes.getKey("/BBox").isRectangle())
      boxes_[page.getObjGen()].push_back(attributes);
}

const std::vector<Object>& PdfStructure::boxes_on(const Object& page) { return boxes_[page.getObjGen()]; }

}  // namespace files
