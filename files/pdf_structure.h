// Boxes that the structure tree of a tagged PDF gives for figures, tables and the like.
#pragma once

#include <map>
#include <qpdf/QPDF.hh>
#include <vector>

namespace files {

class PdfStructure {
 public:
  explicit PdfStructure(QPDF& pdf);

  // The attribute dictionaries with a box (/BBox) on a page.
  const std::vector<QPDFObjectHandle>& boxes_on(const QPDFObjectHandle& page);

 private:
  void visit(QPDFObjectHandle element, const QPDFObjectHandle& page);

  std::map<QPDFObjGen, std::vector<QPDFObjectHandle>> boxes_;
};

}  // namespace files
