// One input file on its way through the tool: its pages, one after another or several at once, and the file
// or files written for it.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "cli/lines.h"
#include "cli/options.h"
#include "files/decoders.h"
#include "files/inputs.h"
#include "files/pdf_level.h"
#include "files/square.h"
#include "files/targets.h"
#include "files/temp_file.h"
#include "files/tiff_file.h"

namespace tool {

class FileJob {
 public:
  FileJob(const files::Input& input, const Options& options, files::Claims& claims,
          files::Decoders& decoders);

  int pages() const { return source_.pages; }
  const files::SourceFile& source() const { return source_; }

  // Does everything for one page (from 0). Pages may run at the same time on several threads, if each page is
  // started after the one before it: they are written in order. Never throws.
  PageResult run_page(int page);

  // Whether what the pages say will stay true: at once, or when the one file that they go into is written.
  bool settled();

  // Lets a page of a file that was not written say so.
  void settle(PageResult& result);

 private:
  void open_pdf();
  void plan_output(files::Claims& claims);
  void check_target(const std::string& path) const;
  bool stands(const std::string& path) const;
  files::Delivery delivery() const;
  std::string output_of_page(int page) const;
  files::Page read(int page);
  void process(int page, PageResult& result);
  void write_page(int page, PageResult& result);
  void describe_page(const files::Page& page, PageResult& result) const;
  void decide(PageResult& result) const;
  void write_alone(const files::Page& page, const files::Raster& pixels, bool changed,
                   const std::string& path);
  void write_pixels(int number, const files::Page& page, const files::SquarePixels& square,
                    const std::string& path, const PageResult& result);
  void note_unmoved(PageResult& result) const;
  void note_transform(const files::SquarePixels& square, PageResult& result) const;
  void keep_sidecar(int number, const PageResult& result);
  void wait_for_turn(int number);
  void add_to_pdf(int number, PageResult& result);
  void add_to_tiff(int number, const files::Page& page, const files::Raster& pixels, bool changed);
  void finish_file();
  void copy_source(const std::string& path);
  void pass_turn(int page, bool failed);

  const Options& options_;
  files::Decoders& decoders_;
  files::Input input_;
  files::SourceFile source_;
  files::ReadOptions read_options_;
  std::string trouble_;  // why no page of this file can be worked on

  std::string output_;
  std::string extension_;
  files::Format format_ = files::Format::kOther;
  bool same_format_ = false;
  bool one_file_ = false;  // all pages go into one TIFF or PDF
  bool skips_ = false;     // which stands already

  std::mutex mutex_;
  std::condition_variable turn_;
  int next_page_ = 0;     // the page whose turn it is to be written
  bool changed_ = false;  // a page of the one file was changed
  int failed_page_ = 0;   // the first page that failed, from 1
  std::unique_ptr<files::TempFile> temp_;
  std::unique_ptr<files::MappedFile> stored_;  // the source's bytes, where both are TIFF
  std::unique_ptr<files::TiffWriter> tiff_;
  std::string sidecar_;  // of the one file so far

  std::mutex pdf_mutex_;
  std::unique_ptr<files::PdfDocument> pdf_;
};

}  // namespace tool
