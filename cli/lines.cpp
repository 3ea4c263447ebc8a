#include "cli/lines.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>

namespace tool {

namespace {

const char* action_word(Action action, bool writes_nothing) {
  switch (action) {
    case Action::kMeasured:
      return "measured";
    case Action::kStraightened:
      return writes_nothing ? "would be straightened" : "straightened";
    case Action::kLeftAlone:
      return writes_nothing ? "would be left alone" : "left alone";
    case Action::kSkipped:
      return "skipped";
    case Action::kFailed:
      break;
  }
  return "failed";
}

bool writes_nothing(const Options& options) { return options.dry_run || options.command == Command::kReport; }

double rounded(double value, double steps) { return std::round(value * steps) / steps + 0.0; }

}  // namespace

std::string page_name(const PageResult& result) {
  return result.pages > 1 ? result.file + ", page " + std::to_string(result.page) : result.file;
}

std::string in_words(const Measurement& m) {
  char text[100];
  if (m.verdict == Verdict::kBlank)
    std::snprintf(text, sizeof text, "no content to measure");
  else if (m.verdict == Verdict::kUnchecked)
    std::snprintf(text, sizeof text, "%.2f degrees", rounded(m.angle, 100));
  else
    std::snprintf(text, sizeof text, "%.2f degrees, %s%s%s", rounded(m.angle, 100), verdict_word(m.verdict),
                  *reason_word(m) ? ": " : "", reason_word(m));
  return text;
}

std::string text_line(const PageResult& result, const Options& options) {
  std::string line = page_name(result) + ": ";
  if (result.measured) line += in_words(result.measurement);
  if (result.action != Action::kMeasured) {
    if (result.measured) line += "; ";
    line += action_word(result.action, writes_nothing(options));
    if (result.by_paper && result.action == Action::kStraightened) {
      char text[80];
      std::snprintf(text, sizeof text, " by the paper's edge, %.2f degrees", rounded(result.turned, 100));
      line += text;
    }
    if (!result.why.empty()) line += " (" + result.why + ")";
    if (!result.output.empty()) line += ", " + result.output;
  }
  return line;
}

std::string json_line(const PageResult& result, const Options& options) {
  nlohmann::ordered_json json;
  json["file"] = result.file;
  json["page"] = result.page;
  json["pages"] = result.pages;
  if (result.width > 0) {
    json["width"] = result.width;
    json["height"] = result.height;
    if (result.dpi > 0) json["dpi"] = rounded(result.dpi, 100);
  }
  if (result.measured) {
    const Measurement& m = result.measurement;
    json["angle"] = rounded(m.angle, 1000);
    json["verdict"] = verdict_word(m.verdict);
    if (m.verdict != Verdict::kUnchecked) {
      json["windows"] = m.found.windowsMeasured;
      json["agreeing"] = m.found.windowsAgreeing;
      json["spread"] = rounded(m.found.spread, 1000);
      json["confidence"] = rounded(m.found.confidence, 1000);
      if (*reason_word(m)) json["reason"] = reason_word(m);
      json["basis"] = basis_word(m);
      json["range"] = {rounded(m.found.lowestAngle, 1000), rounded(m.found.highestAngle, 1000)};
      if (m.found.paperFound) json["paper"] = rounded(m.found.paperAngle, 1000);
    }
  }
  json["action"] = action_word(result.action, writes_nothing(options));
  if (result.action == Action::kStraightened) json["turned"] = rounded(result.turned, 1000);
  if (result.transform.width > 0 && result.action != Action::kFailed) {
    const SkewTransform& t = result.transform;
    json["size_out"] = {t.outWidth, t.outHeight};
    json["canvas"] = result.canvas == SKEW_CANVAS_EXPAND ? "expand" : "keep";
    json["transform"] = {t.a, t.b, t.c, t.d, t.e, t.f};
  }
  if (result.action == Action::kFailed)
    json["error"] = result.why;
  else if (!result.why.empty())
    json["why"] = result.why;
  if (!result.output.empty()) json["output"] = result.output;
  // File names need not be UTF-8; JSON must be.
  return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string printable(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    // The controls above 127 are two bytes long in UTF-8.
    const bool high = c == 0xc2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xa0;
    if (c >= 0x20 && c != 0x7f && !high) {
      out += text[i];
      continue;
    }
    char code[8];
    std::snprintf(code, sizeof code, "\\x%02x", high ? static_cast<unsigned char>(text[++i]) : c);
    out += code;
  }
  return out;
}

Reporter::Reporter(const Options& options) : options_(options), watched_(!options.quiet && isatty(2)) {}

void Reporter::show_progress(size_t done, size_t total, const std::string& name) {
  if (!watched_) return;
  winsize window{};
  const size_t columns = ioctl(2, TIOCGWINSZ, &window) == 0 && window.ws_col > 0 ? window.ws_col : 80;
  std::string text = "[" + std::to_string(done) + "/" + std::to_string(total) + "] " + printable(name);
  if (text.size() >= columns) text.resize(columns - 1);
  std::fprintf(stderr, "\r\033[K%s", text.c_str());
  std::fflush(stderr);
  pending_ = true;
}

void Reporter::clear_progress() {
  if (!pending_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  pending_ = false;
}

void Reporter::show(const PageResult& result) {
  clear_progress();
  const bool failed = result.action == Action::kFailed;
  if (failed) {
    failed_ = true;
    const std::string line = page_name(result) + " " + result.why;
    std::fprintf(stderr, "skewcorrect: %s\n", isatty(2) ? printable(line).c_str() : line.c_str());
  }
  if (options_.quiet || (failed && !options_.json) || !lost_.empty()) return;
  FILE* out = options_.target.file == "-" ? stderr : stdout;  // standard output then carries the image
  std::string line = options_.json ? json_line(result, options_) : text_line(result, options_);
  if (!options_.json && isatty(fileno(out))) line = printable(line);
  if (std::fprintf(out, "%s\n", line.c_str()) < 0 || std::fflush(out) != 0)
    lost_ = std::string("lines cannot be written: ") + std::strerror(errno);
}

}  // namespace tool
