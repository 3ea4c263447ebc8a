#include "cli/undo.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>

#include "files/failure.h"
#include "files/pdf_level.h"
#include "files/targets.h"
#include "files/temp_file.h"

namespace tool {

namespace {

// Folders may hold images as well; they were never levelled by a matrix.
bool concerns(const files::Input& input, const Options& options) {
  const bool named = std::count(options.inputs.begin(), options.inputs.end(), input.name) > 0;
  const std::string extension = std::filesystem::path(input.path).extension();
  return named || !input.error.empty() || input.relative == "stdin" || extension == ".pdf" ||
         extension == ".PDF";
}

struct Undone {
  int pages = 0, undone = 0;
  std::string output;
};

int undo_pages(files::PdfDocument& pdf) {
  int undone = 0;
  for (int page = 0; page < pdf.pages(); ++page) {
    try {
      undone += pdf.undo(page) ? 1 : 0;
    } catch (const files::Failure& failure) {
      throw files::Failure("cannot be put back: page " + std::to_string(page + 1) + " " + failure.what());
    }
  }
  return undone;
}

Undone undo_file(const files::Input& input, const Options& options, files::Claims& claims) {
  if (!input.error.empty()) throw files::Failure(input.error);
  Undone done;
  done.output = files::output_path(input, options.target, "pdf");
  claims.claim(done.output, options.target.in_place);
  files::PdfDocument pdf(input.path, {options.password, options.tolerant});
  done.pages = pdf.pages();
  done.undone = undo_pages(pdf);
  if (done.undone == 0 && options.target.in_place) return done;
  if (done.undone > 0 && pdf.is_signed() && !options.force)
    throw files::Failure("is signed, and a change would break the signature (--force does it)");
  files::TempFile temp(done.output, ".pdf");
  if (done.undone > 0)
    pdf.write(temp.path());
  else
    files::copy_bytes(input.path, temp.path());
  temp.commit({options.overwrite, options.target.in_place, options.keep_time ? input.path : ""});
  return done;
}

void say(const files::Input& input, const Undone& done, const Options& options) {
  if (options.quiet) return;
  FILE* out = options.target.file == "-" ? stderr : stdout;
  if (options.json) {
    const nlohmann::ordered_json json = {
        {"file", input.name}, {"pages", done.pages}, {"undone", done.undone}, {"output", done.output}};
    const auto text = json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    std::fprintf(out, "%s\n", text.c_str());
  } else {
    std::fprintf(out, "%s: %d of %d pages put back, %s\n", input.name.c_str(), done.undone, done.pages,
                 done.output.c_str());
  }
}

}  // namespace

int undo(const Options& options) {
  files::clean_up_on_signals();
  std::unique_ptr<files::TempFile> spool;
  if (std::count(options.inputs.begin(), options.inputs.end(), "-") > 0) {
    spool = std::make_unique<files::TempFile>("", "");
    files::copy_bytes("/dev/stdin", spool->path());
  }
  const auto inputs = files::find_inputs(options.inputs, options.recursive, options.target.folder,
                                         spool ? spool->path() : "");
  files::Claims claims(inputs);
  bool failed = false;
  for (const auto& input : inputs) {
    if (!concerns(input, options)) continue;
    try {
      say(input, undo_file(input, options, claims), options);
    } catch (const std::exception& error) {
      failed = true;
      std::fprintf(stderr, "skewcorrect: %s %s\n", input.name.c_str(), error.what());
    }
  }
  return failed ? 1 : 0;
}

}  // namespace tool
