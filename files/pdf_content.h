// What the content of a PDF page does to the graphics state, and which picture it consists of.
#pragma once

#include <qpdf/QPDFPageObjectHelper.hh>
#include <set>
#include <string>

namespace files {

struct PdfContent {
  int unopened = 0;       // Q operators that close nothing, at the worst point
  int unclosed = 0;       // q operators still open at the end, counted from that worst point
  bool disorder = false;  // an unopened Q meets a changed graphics state, where viewers differ
  std::set<std::string>
      patterns;      // names of the patterns that the page itself, not a form on it, paints with
  double dpi = 0.0;  // resolution of the image that covers most of the page; 0 if there is none
};

// Reads the content of a page. width and height are those of the visible page in its own units. Throws
// Failure where the content cannot be read surely.
PdfContent read_content(QPDFPageObjectHelper& page, double width, double height);

}  // namespace files
