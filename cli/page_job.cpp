#include "cli/page_job.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <new>
#include <vector>

#include "cli/report.h"
#include "cli/turn.h"
#include "files/failure.h"
#include "files/image_write.h"

namespace tool {

namespace fs = std::filesystem;

namespace {

bool exists(const std::string& path) {
  std::error_code ignored;
  return fs::exists(path, ignored);
}

// Dots per inch as most programs mean it; 0 if the file does not tell.
double dots_per_inch(const files::Page& page, files::Format format) {
  const bool told = page.header.get_typeof(VIPS_META_RESOLUTION_UNIT) != 0 || page.header.xres() != 1.0 ||
                    format == files::Format::kPdf;
  return told ? page.header.xres() * 25.4 : 0.0;
}

void note_size(const files::Page& page, files::Format format, PageResult& result) {
  result.width = page.raster.width;
  result.height = page.raster.height;
  result.dpi = dots_per_inch(page, format);
}

// Copies bytes to a path, or to standard output for "-".
void copy_bytes(const std::string& from, const std::string& to) {
  const int in = open(from.c_str(), O_RDONLY | O_CLOEXEC);
  const int out = to == "-" ? 1 : open(to.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
  bool good = in >= 0 && out >= 0;
  std::vector<char> block(1 << 16);
  while (good) {
    const ssize_t got = read(in, block.data(), block.size());
    if (got <= 0) {
      good = got == 0;
      break;
    }
    for (ssize_t done = 0; good && done < got;) {
      const ssize_t put = write(out, block.data() + done, static_cast<size_t>(got - done));
      good = put >= 0;
      done += put;
    }
  }
  const int error = errno;
  if (in >= 0) close(in);
  if (out > 1) close(out);
  if (!good) throw files::Failure(std::string("cannot be copied: ") + std::strerror(error));
}

}  // namespace

FileJob::FileJob(const files::Input& input, const Options& options) : options_(options), input_(input) {
  read_options_.dpi = options.dpi;
  read_options_.max_pixels = options.max_pixels;
  read_options_.tolerant = options.tolerant;
  source_.name = input.name;
  trouble_ = input.error;
  if (!trouble_.empty()) return;
  try {
    source_ = files::open_source(input.path, input.name, read_options_);
    if (options.command == Command::kDeskew || options.command == Command::kRotate) plan_output();
  } catch (const std::exception& error) {
    trouble_ = error.what();
    source_.pages = 1;  // one line for the whole file
  }
}

void FileJob::plan_output() {
  extension_ = options_.format;
  if (extension_.empty() && !options_.target.file.empty() && options_.target.file != "-") {
    extension_ = fs::path(options_.target.file).extension();
    if (!extension_.empty()) extension_.erase(0, 1);
  }
  if (extension_.empty()) {
    extension_ = source_.extension;
    if (source_.format == files::Format::kPdf) extension_ = "tif";
    if (source_.format == files::Format::kHeif) extension_ = "jpg";
  }
  format_ = files::writable_format(extension_);
  if (format_ == files::Format::kOther)
    throw files::Failure("cannot be written as \"" + extension_ + "\" (known: jpg, png, tif, webp, ppm)");
  same_format_ = format_ == source_.format;
  if (options_.target.in_place && !same_format_)
    throw files::Failure("cannot be replaced by a file of another format (use -o or --output-dir)");
  one_file_ = format_ == files::Format::kTiff;
  output_ = options_.target.file == "-" ? "-" : files::output_path(input_, options_.target, extension_);
  skips_ = options_.resume && one_file_ && exists(output_);
  if (one_file_ && !skips_ && !options_.dry_run) check_target(output_);
  if (!one_file_ && source_.pages > 1 && output_ == "-")
    throw files::Failure("has " + std::to_string(source_.pages) +
                         " pages: only TIFF can carry them on standard output");
}

std::string FileJob::output_of_page(int page) const {
  if (one_file_ || source_.pages == 1) return output_;
  char number[20];
  std::snprintf(number, sizeof number, "-%03d", page + 1);
  fs::path path = output_;
  const std::string extension = path.extension();
  return path.replace_extension().string() + number + extension;
}

void FileJob::check_target(const std::string& path) const {
  if (path == "-" || options_.target.in_place) return;
  std::error_code ignored;
  if (fs::equivalent(path, input_.path, ignored))
    throw files::Failure("would be overwritten by its own result (use --in-place if that is meant)");
  if (exists(path) && !options_.overwrite)
    throw files::Failure("not written: " + path + " exists (use --overwrite)");
}

PageResult FileJob::run_page(int page) {
  PageResult result;
  result.file = source_.name;
  result.page = page + 1;
  result.pages = source_.pages;
  try {
    if (!trouble_.empty()) throw files::Failure(trouble_);
    process(page, result);
  } catch (const std::bad_alloc&) {
    result.action = Action::kFailed;
    result.why = "does not fit into memory";
  } catch (const std::exception& error) {
    result.action = Action::kFailed;
    result.why = error.what();
  }
  if (result.action == Action::kFailed) result.output.clear();
  pass_turn(page, result.action == Action::kFailed);
  return result;
}

void FileJob::process(int number, PageResult& result) {
  if (options_.command == Command::kDeskew || options_.command == Command::kRotate)
    return write_page(number, result);
  const files::Page page = files::read_page(source_, number, read_options_);
  note_size(page, source_.format, result);
  if (options_.command == Command::kReport) return describe_page(page, result);
  result.measurement = measure(page.raster, options_.fast);
  result.measured = true;
  result.action = Action::kMeasured;
}

void FileJob::describe_page(const files::Page& page, PageResult& result) const {
  Details details;
  result.measurement = measure(page.raster, details);
  result.measured = true;
  decide(result);
  files::Raster turned;
  if (result.action == Action::kStraightened)
    turned = turn(page.raster, result.measurement.angle, options_.canvas,
                  background_for(page.raster, options_.background), false);
  result.html = report_section(result, page.raster, turned, *details);
}

void FileJob::write_page(int number, PageResult& result) {
  const std::string path = output_of_page(number);
  if (!options_.dry_run) {
    if (options_.resume && path != "-" && exists(path) && (!one_file_ || skips_)) {
      result.action = Action::kSkipped;
      result.why = path + " stands already";
      return;
    }
    if (!one_file_) check_target(path);
  }
  const files::Page page = files::read_page(source_, number, read_options_);
  note_size(page, source_.format, result);
  double angle = options_.angle;
  if (options_.command == Command::kRotate) {
    result.action = angle == 0.0 ? Action::kLeftAlone : Action::kStraightened;
  } else {
    result.measurement = measure(page.raster, options_.fast);
    result.measured = true;
    decide(result);
    angle = result.measurement.angle;
  }
  if (options_.dry_run) return;

  const bool changed = result.action == Action::kStraightened;
  files::Raster turned;
  if (changed)
    turned = turn(page.raster, angle, options_.canvas, background_for(page.raster, options_.background),
                  options_.fast);
  const files::Raster& pixels = changed ? turned : page.raster;
  if (one_file_)
    write_in_order(number, page, pixels, changed);
  else
    write_alone(page, pixels, changed, path);
  if (changed || !options_.target.in_place) result.output = path;
}

// Whether a page is straightened or left alone.
void FileJob::decide(PageResult& result) const {
  const double tilt = std::fabs(result.measurement.angle);
  const Verdict verdict = result.measurement.verdict;
  result.action = Action::kLeftAlone;
  if (verdict == Verdict::kBlank)
    result.why = "blank";
  else if (verdict == Verdict::kUncertain && !options_.force)
    result.why = "not sure";
  else if (tilt < options_.min_angle)
    result.why = "straight already";
  else if (tilt > options_.max_angle)
    result.why = "beyond --max-angle";
  else
    result.action = Action::kStraightened;
}

void FileJob::copy_source(const std::string& path) {
  if (options_.target.in_place) return;
  if (path == "-") return copy_bytes(input_.path, path);
  files::TempFile copy(path, "." + extension_);
  copy_bytes(input_.path, copy.path());
  copy.commit(options_.overwrite);
}

void FileJob::deliver(files::TempFile& file) {
  if (output_ == "-")
    copy_bytes(file.path(), "-");
  else
    file.commit(options_.overwrite || options_.target.in_place);
}

void FileJob::write_alone(const files::Page& page, const files::Raster& pixels, bool changed,
                          const std::string& path) {
  if (!changed && same_format_) return copy_source(path);
  files::TempFile temp(path == "-" ? "" : path, "." + extension_);
  files::write_image(pixels, page, format_, options_.quality, temp.path());
  deliver(temp);
}

void FileJob::write_in_order(int number, const files::Page& page, const files::Raster& pixels, bool changed) {
  {
    std::unique_lock<std::mutex> lock(mutex_);
    turn_.wait(lock, [&] { return next_page_ == number; });
  }
  // Only the page whose turn it is touches the writer.
  if (failed_page_ > 0)
    throw files::Failure("not written, because page " + std::to_string(failed_page_) + " failed");
  if (!tiff_) {
    temp_ = std::make_unique<files::TempFile>(output_ == "-" ? "" : output_, "." + extension_);
    tiff_ = std::make_unique<files::TiffWriter>(temp_->path(), same_format_ ? input_.path : "");
  }
  if (same_format_ && !changed)
    tiff_->add_unchanged(number);
  else
    tiff_->add(pixels, page, number, source_.pages, options_.quality);
  changed_ = changed_ || changed || !same_format_;
  if (number + 1 == source_.pages) finish_tiff();
}

void FileJob::finish_tiff() {
  tiff_->finish();
  tiff_.reset();
  if (changed_) {
    deliver(*temp_);
  } else {
    temp_.reset();
    copy_source(output_);
  }
  temp_.reset();
}

void FileJob::pass_turn(int page, bool failed) {
  std::unique_lock<std::mutex> lock(mutex_);
  turn_.wait(lock, [&] { return next_page_ == page; });
  if (failed && failed_page_ == 0) {
    failed_page_ = page + 1;
    tiff_.reset();
    temp_.reset();
  }
  next_page_ = page + 1;
  turn_.notify_all();
}

}  // namespace tool
