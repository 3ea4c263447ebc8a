// Levels the pages of a PDF by a matrix around each page's content. Nothing is re-encoded: images, fonts and
// page contents keep their bytes, and the matrix can be taken out again.
#pragma once

#include <memory>
#include <string>

namespace files {

struct PdfOptions {
  std::string password;   // of the owner or the user; ignored where none is needed
  bool tolerant = false;  // repair damaged files as far as that goes
};

class PdfDocument {
 public:
  // Reads the structure of a file; its pages are read when they are asked for. Throws Failure.
  PdfDocument(const std::string& path, const PdfOptions& options);
  ~PdfDocument();
  PdfDocument(const PdfDocument&) = delete;
  PdfDocument& operator=(const PdfDocument&) = delete;

  int pages() const;

  // Whether a change would break a signature.
  bool is_signed() const;

  // Dots per inch to draw a page (from 0) at: those of the image that covers most of it, else otherwise, but
  // none that would make a side longer than 12000 pixels.
  double drawing_dpi(int page, double otherwise) const;

  // Turns what is shown on a page so that lines at this angle (degrees, positive where they fall to the right)
  // become level. A page that was levelled before gets one matrix in place of the one it has. Returns an
  // empty text, or why the page is left as it is.
  std::string level(int page, double degrees);

  // Takes the matrix out again and puts everything back as it was. Returns false if the page has none.
  // Throws Failure if another program has changed the page so that the matrix cannot be found.
  bool undo(int page);

  // Writes the file, in the form of the source: encrypted, linearised, with object streams or not. Throws
  // Failure.
  void write(const std::string& path);

 private:
  struct Inner;
  std::unique_ptr<Inner> inner_;
};

}  // namespace files
