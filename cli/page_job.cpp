#include "cli/page_job.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <new>
#include <vector>

#include "cli/report.h"
#include "cli/turn.h"
#include "files/failure.h"
#include "files/image_write.h"
#include "files/sidecar.h"
#include "files/square.h"
#include "skewcorrection/level.h"

namespace tool {

namespace fs = std::filesystem;

namespace {

constexpr double kMeasuredDpi = 150.0;  // of PDF pages that are drawn to be measured
constexpr double kDrawnDpi = 300.0;     // of those that become images

bool exists(const std::string& path) {
  std::error_code ignored;
  return fs::exists(path, ignored);
}

void note_size(const files::Page& page, PageResult& result) {
  result.width = page.raster.width;
  result.height = page.raster.height;
  result.dpi = page.about.resolution.dpi();
}

// Why a page is left alone, empty where it is not.
std::string why_left(const SkewLevel& level, const Measurement& measurement) {
  switch (level.action) {
    case SKEW_LEFT_LEVEL:
      return "straight already";
    case SKEW_LEFT_SMALL:
      return std::fabs(level.tilt) < Options().min_angle ? "straight already" : "below --min-angle";
    case SKEW_LEFT_LARGE:
      return "beyond --max-angle";
    case SKEW_LEFT_BLANK:
      return "blank";
    case SKEW_LEFT_NO_PAPER:
      return "the paper's edge is not seen";
    case SKEW_LEFT_UNTRUSTED:
      return *reason_word(measurement) ? std::string("not sure: ") + reason_word(measurement) : "not sure";
    default:
      return "";
  }
}

}  // namespace

FileJob::FileJob(const files::Input& input, const Options& options, files::Claims& claims,
                 files::Decoders& decoders)
    : options_(options), decoders_(decoders), input_(input) {
  read_options_.dpi = options.dpi > 0 ? options.dpi : kDrawnDpi;
  read_options_.password = options.password;
  read_options_.max_pixels = options.max_pixels;
  read_options_.tolerant = options.tolerant;
  source_.name = input.name;
  trouble_ = input.error;
  if (!trouble_.empty()) return;
  try {
    source_ = decoders_.open(input.path, input.name, read_options_);
    if (options.command == Command::kDeskew || options.command == Command::kRotate) plan_output(claims);
    if (source_.format == files::Format::kPdf) open_pdf();
  } catch (const std::exception& error) {
    trouble_ = error.what();
    source_.pages = 1;  // one line for the whole file
  }
}

// Opens the structure of a PDF. A damaged one may still be drawn, by a program that is not so strict.
void FileJob::open_pdf() {
  try {
    pdf_ = std::make_unique<files::PdfDocument>(input_.path,
                                                files::PdfOptions{options_.password, options_.tolerant});
  } catch (const files::Failure&) {
    if (format_ == files::Format::kPdf) throw;
  }
  if (format_ != files::Format::kPdf) return;
  if (options_.canvas == SKEW_CANVAS_EXPAND)
    throw files::Failure("keeps the size of its pages: leave out --canvas expand, or write another format");
  if (pdf_->pages() != source_.pages) throw files::Failure("is damaged (its pages cannot be counted)");
}

void FileJob::plan_output(files::Claims& claims) {
  extension_ = options_.format;
  if (extension_.empty() && !options_.target.file.empty() && !files::is_stream(options_.target.file)) {
    extension_ = fs::path(options_.target.file).extension();
    if (!extension_.empty()) extension_.erase(0, 1);
  }
  if (extension_.empty()) {
    extension_ = source_.extension;
    if (source_.format == files::Format::kHeif) extension_ = "jpg";
  }
  format_ = files::writable_format(extension_);
  if (format_ == files::Format::kPdf && source_.format != files::Format::kPdf)
    throw files::Failure("is no PDF and cannot be written as one");
  if (format_ == files::Format::kOther)
    throw files::Failure("cannot be written as \"" + extension_ +
                         "\" (known: jpg, png, tif, webp, ppm; pdf from PDF)");
  same_format_ = format_ == source_.format;
  if (options_.target.in_place && !same_format_)
    throw files::Failure("cannot be replaced by a file of another format (use -o or --output-dir)");
  one_file_ = format_ == files::Format::kTiff || format_ == files::Format::kPdf;
  if (!options_.target.given()) return;
  output_ = files::output_path(input_, options_.target, extension_);
  if (!one_file_ && source_.pages > 1 && files::is_stream(output_))
    throw files::Failure("has " + std::to_string(source_.pages) +
                         " pages: only TIFF and PDF can carry them in one stream");
  for (int page = 0; page < (one_file_ ? 1 : source_.pages); ++page) {
    claims.claim(output_of_page(page), options_.target.in_place);
    if (options_.sidecar) claims.claim(files::sidecar_of(output_of_page(page)), options_.target.in_place);
  }
  skips_ = one_file_ && stands(output_);
  if (one_file_ && !skips_ && !options_.dry_run) check_target(output_);
}

// Whether a result of an earlier run is to be kept.
bool FileJob::stands(const std::string& path) const {
  return options_.resume && !files::is_stream(path) && exists(path);
}

files::Delivery FileJob::delivery() const {
  return {options_.overwrite, options_.target.in_place, options_.keep_time ? input_.path : ""};
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
  if (options_.target.in_place || options_.overwrite || files::is_stream(path)) return;
  const std::string sidecar = files::sidecar_of(path);
  if (exists(path)) throw files::Failure("not written: " + path + " exists (use --overwrite)");
  if (options_.sidecar && exists(sidecar))
    throw files::Failure("not written: " + sidecar + " exists (use --overwrite)");
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
  } catch (const files::Taken& taken) {
    // Another run works on the same folder and was faster: what stands is complete.
    result.action = options_.resume ? Action::kSkipped : Action::kFailed;
    result.why = options_.resume ? "another run wrote it" : taken.what();
  } catch (const std::exception& error) {
    result.action = Action::kFailed;
    result.why = error.what();
  }
  if (result.action == Action::kFailed) result.output.clear();
  pass_turn(page, result.action == Action::kFailed);
  return result;
}

bool FileJob::settled() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return !one_file_ || options_.dry_run || !trouble_.empty() || next_page_ == source_.pages;
}

void FileJob::settle(PageResult& result) {
  const bool written = result.action == Action::kStraightened || result.action == Action::kLeftAlone;
  if (!one_file_ || options_.dry_run || failed_page_ == 0 || !written) return;
  result.action = Action::kFailed;
  result.why = "not written, because page " + std::to_string(failed_page_) + " failed";
  result.output.clear();
}

// Pages of a PDF are drawn at the resolution of the scan they consist of, if they do.
files::Page FileJob::read(int number) {
  files::ReadOptions how = read_options_;
  if (pdf_ && options_.dpi == 0) {
    const bool measured_only =
        options_.command == Command::kMeasure || options_.dry_run || format_ == files::Format::kPdf;
    const std::lock_guard<std::mutex> lock(pdf_mutex_);
    how.dpi = pdf_->drawing_dpi(number, measured_only ? kMeasuredDpi : kDrawnDpi);
  }
  return decoders_.read(source_, number, how);
}

void FileJob::process(int number, PageResult& result) {
  if (options_.command == Command::kDeskew || options_.command == Command::kRotate)
    return write_page(number, result);
  const files::Page page = read(number);
  note_size(page, result);
  if (options_.command == Command::kReport) return describe_page(page, result);
  result.measurement = measure(files::SquarePixels(page).raster(), options_.fast);
  result.measured = true;
  result.action = Action::kMeasured;
}

void FileJob::describe_page(const files::Page& page, PageResult& result) const {
  const files::SquarePixels square(page);
  const files::Raster& before = square.raster();
  Details details;
  result.measurement = measure(before, details);
  result.measured = true;
  decide(result);
  files::Raster turned;
  if (result.action == Action::kStraightened)
    turned = turn(before, result.turned, options_.canvas, background_for(before, options_.background), false);
  result.html = report_section(result, before, turned, *details);
}

void FileJob::write_page(int number, PageResult& result) {
  const std::string path = output_of_page(number);
  if (!options_.dry_run) {
    if (one_file_ ? skips_ : stands(path)) {
      result.action = Action::kSkipped;
      result.why = path + " stands already";
      return;
    }
    if (!one_file_) check_target(path);
  }
  files::Page page = read(number);
  note_size(page, result);
  const bool quarter = options_.command == Command::kRotate && std::fabs(options_.angle) == 90;
  if (quarter) files::swap_sides(page.about);
  const files::SquarePixels square(page, !quarter);
  if (options_.command == Command::kRotate) {
    result.turned = options_.angle;
    result.action = options_.angle == 0.0 ? Action::kLeftAlone : Action::kStraightened;
  } else {
    result.measurement = measure(square.raster(), options_.fast);
    result.measured = true;
    decide(result);
  }
  note_transform(square, result);
  if (options_.dry_run) return;

  if (format_ == files::Format::kPdf)
    add_to_pdf(number, result);
  else
    write_pixels(number, page, square, path, result);
  if (result.action == Action::kStraightened || !options_.target.in_place) result.output = path;
  if (options_.sidecar) keep_sidecar(number, result);
}

void FileJob::note_unmoved(PageResult& result) const {
  result.canvas = SKEW_CANVAS_KEEP;
  if (skew_transform(result.width, result.height, 0, result.canvas, &result.transform) != SKEW_OK)
    throw files::Failure("is too large to be turned");
}

void FileJob::note_transform(const files::SquarePixels& square, PageResult& result) const {
  if (result.action != Action::kStraightened) return note_unmoved(result);
  const int width = square.raster().width, height = square.raster().height;
  result.canvas = options_.canvas;
  SkewTransform turned;
  const int code = options_.fast ? skew_transform_in_steps(width, height, result.turned, &turned)
                                 : skew_transform(width, height, result.turned, result.canvas, &turned);
  if (code != SKEW_OK) throw files::Failure("cannot be turned by this angle");
  result.transform = square.restored(turned);
}

// The lines of one file's pages stand in one sidecar, which is written with the last of them.
void FileJob::keep_sidecar(int number, const PageResult& result) {
  std::string lines = json_line(result, options_) + "\n";
  if (one_file_) lines = sidecar_ += lines;
  if (one_file_ && number + 1 < source_.pages) return;
  const std::string path = files::sidecar_of(output_of_page(number));
  files::TempFile temp(path, ".json");
  std::ofstream(temp.path()) << lines;
  if (fs::file_size(temp.path()) != lines.size())
    throw files::Failure("has a sidecar that cannot be written");
  temp.commit({options_.overwrite || options_.target.in_place, false, ""});
}

void FileJob::write_pixels(int number, const files::Page& page, const files::SquarePixels& square,
                           const std::string& path, const PageResult& result) {
  const bool changed = result.action == Action::kStraightened;
  files::Raster turned;
  if (changed)
    turned = square.restored(turn(square.raster(), result.turned, options_.canvas,
                                  background_for(square.raster(), options_.background), options_.fast));
  const files::Raster& pixels = changed ? turned : page.raster;
  if (one_file_)
    add_to_tiff(number, page, pixels, changed);
  else
    write_alone(page, pixels, changed, path);
}

// Whether a page is straightened or left alone, and by which angle.
void FileJob::decide(PageResult& result) const {
  SkewLevelOptions wanted;
  skew_level_defaults(&wanted);
  wanted.smallestAngle = options_.min_angle;
  wanted.largestAngle = options_.max_angle;
  wanted.align = options_.align;
  wanted.force = options_.force;
  wanted.canvas = options_.canvas;
  SkewLevel level;
  if (skew_decide_level(&result.measurement.found, result.width, result.height, &wanted, &level) != SKEW_OK)
    throw files::Failure("cannot be turned by this angle");
  result.turned = level.angle;
  result.by_paper = level.aligned == SKEW_ALIGN_PAPER;
  result.action = level.action == SKEW_LEVELLED ? Action::kStraightened : Action::kLeftAlone;
  result.why = why_left(level, result.measurement);
}

void FileJob::copy_source(const std::string& path) {
  if (options_.target.in_place) return;
  files::TempFile copy(path, "." + extension_);
  files::copy_bytes(input_.path, copy.path());
  copy.commit(delivery());
}

void FileJob::write_alone(const files::Page& page, const files::Raster& pixels, bool changed,
                          const std::string& path) {
  if (!changed && same_format_) return copy_source(path);
  files::TempFile temp(path, "." + extension_);
  files::write_image(pixels, page, format_, options_.quality, temp.path());
  temp.commit(delivery());
}

// Only the page whose turn it is touches what is written.
void FileJob::wait_for_turn(int number) {
  {
    std::unique_lock<std::mutex> lock(mutex_);
    turn_.wait(lock, [&] { return next_page_ == number; });
  }
  if (failed_page_ > 0)
    throw files::Failure("not written, because page " + std::to_string(failed_page_) + " failed");
}

void FileJob::add_to_tiff(int number, const files::Page& page, const files::Raster& pixels, bool changed) {
  wait_for_turn(number);
  if (!tiff_) {
    temp_ = std::make_unique<files::TempFile>(output_, "." + extension_);
    if (same_format_) stored_ = std::make_unique<files::MappedFile>(input_.path);
    tiff_ = std::make_unique<files::TiffWriter>(temp_->path(), stored_.get());
  }
  if (changed || !stored_ || !tiff_->add_stored(*stored_, source_.places[number])) {
    const files::TiffCoding coding = stored_ ? files::coding_of(page.about.tags, options_.quality)
                                             : files::TiffCoding{0, true, options_.quality};
    files::Directory tags = files::as_tags(page.about, pixels.channels);
    if (!stored_ && source_.pages > 1) files::number_page(tags, number, source_.pages);
    tiff_->add(pixels, page.bilevel, coding, tags);
  }
  changed_ = changed_ || changed || !same_format_;
  if (number + 1 == source_.pages) finish_file();
}

void FileJob::add_to_pdf(int number, PageResult& result) {
  wait_for_turn(number);
  if (result.action == Action::kStraightened) {
    const std::lock_guard<std::mutex> lock(pdf_mutex_);
    if (pdf_->is_signed() && !options_.force)
      throw files::Failure("is signed, and turning it would break the signature (--force does it)");
    result.why = pdf_->level(number, result.turned);
    if (!result.why.empty()) {
      result.action = Action::kLeftAlone;
      note_unmoved(result);
    }
  }
  changed_ = changed_ || result.action == Action::kStraightened;
  if (number + 1 == source_.pages) finish_file();
}

void FileJob::finish_file() {
  if (!changed_) {
    tiff_.reset();
    temp_.reset();
    return copy_source(output_);
  }
  if (format_ == files::Format::kPdf) {
    temp_ = std::make_unique<files::TempFile>(output_, "." + extension_);
    pdf_->write(temp_->path());
  } else {
    tiff_->finish();
    tiff_.reset();
  }
  temp_->commit(delivery());
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
