#include "cli/report.h"

#include <cerrno>
#include <cmath>
#include <cstring>

#include "cli/report_pictures.h"
#include "files/failure.h"

namespace tool {

namespace {

constexpr const char* kHead = R"(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1">
<title>Angles of pages</title><style>
:root { color-scheme: light dark; --agree: #12884a; --differ: #d1481f; --content: #2463c4 }
body { font: 16px/1.5 system-ui, sans-serif; max-width: 1200px; margin: 2rem auto; padding: 0 1rem }
table { border-collapse: collapse; margin: 1rem 0 } td, th { padding: .25rem .8rem .25rem 0; text-align: left }
td.number { text-align: right; font-variant-numeric: tabular-nums }
section { border-top: 1px solid #8886; margin-top: 2.5rem; padding-top: .5rem }
h2 { overflow-wrap: anywhere; margin-bottom: 0 }
.pictures { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(420px, 100%), 1fr)); gap: 1.5rem }
figure { margin: 0 } figcaption { font-size: .9rem; opacity: .8 }
.single img { width: 100% } .compare { position: relative; line-height: 0; background: #8883 }
.compare img { width: 100% } .compare .after { position: absolute; inset: 0; overflow: hidden;
  clip-path: inset(0 0 0 var(--at, 50%)) } .compare .after img { width: 100%; height: 100%; object-fit: contain }
.compare::after { content: ""; position: absolute; top: 0; bottom: 0; left: var(--at, 50%); width: 2px;
  background: var(--content) }
.compare input { position: absolute; inset: 0; width: 100%; height: 100%; margin: 0; opacity: 0; cursor: ew-resize; z-index: 1 }
.compare:focus-within { outline: 2px solid var(--content) }
svg.edges { width: 100%; background: #fff; display: block } svg.curve { width: 100%; max-width: 900px }
rect, line, polyline { fill: none; vector-effect: non-scaling-stroke }
rect.agrees { fill: var(--agree); fill-opacity: .07; stroke: var(--agree); stroke-opacity: .25 }
rect.differs { fill: var(--differ); fill-opacity: .12; stroke: var(--differ); stroke-opacity: .5 }
line.agrees { stroke: var(--agree); stroke-width: 3 } line.differs { stroke: var(--differ); stroke-width: 3 }
rect.content { stroke: var(--content); stroke-width: 2; stroke-dasharray: 8 5 }
polyline { stroke: currentColor; stroke-width: 1.5 } line.tick { stroke: #8886 } line.found { stroke: var(--agree); stroke-width: 2 }
svg text { font: 18px system-ui, sans-serif; text-anchor: middle; fill: currentColor }
.key { color: var(--agree) } .key.differs { color: var(--differ) } .key.content { color: var(--content) }
</style></head><body>
<h1>Angles of pages</h1>
)";

constexpr const char* kTail = R"(<script>
for (const slider of document.querySelectorAll(".compare input"))
  slider.addEventListener("input", () => slider.parentElement.style.setProperty("--at", slider.value + "%"));
</script></body></html>
)";

std::string escaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string number(const char* format, double value) {
  char text[40];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string direction(double angle) {
  if (std::fabs(angle) < 0.005) return "The lines are level.";
  return "The lines " + std::string(angle > 0 ? "fall" : "rise") + " to the right by " +
         number("%.2f", std::fabs(angle)) + " degrees.";
}

std::string verdict_sentence(const Measurement& m) {
  const std::string agreeing = std::to_string(m.found.windowsAgreeing),
                    windows = std::to_string(m.found.windowsMeasured);
  std::string text;
  if (m.verdict == Verdict::kBlank) {
    text = "There is nothing on this page to measure.";
  } else if (m.verdict == Verdict::kTrusted) {
    text = direction(m.angle) + " This can be trusted: " + agreeing + " of " + windows +
           " windows agree, with a spread of " + number("%.2f", m.found.spread) + " degrees.";
  } else {
    text = "No sure angle (" + std::string(reason_word(m)) + "): " + agreeing + " of " + windows +
           " windows agree on the best guess, " + number("%.2f", m.angle) + " degrees.";
  }
  if (m.found.highestAngle - m.found.lowestAngle >= 0.1)
    text += " Over the page the lines run from " + number("%.2f", m.found.lowestAngle) + " to " +
            number("%.2f", m.found.highestAngle) + " degrees.";
  if (m.found.paperFound) text += " The paper lies at " + number("%.2f", m.found.paperAngle) + " degrees.";
  return text;
}

std::string consequence(const PageResult& result) {
  if (result.action == Action::kStraightened)
    return std::string(" The page is turned ") + (result.turned > 0 ? "counter-" : "") +
           "clockwise to level " + (result.by_paper ? "the paper." : "them.");
  return " The page stays as it is (" + result.why + ").";
}

files::Failure unwritable() {
  return files::Failure(std::string("the report cannot be written: ") + std::strerror(errno));
}

}  // namespace

std::string report_section(const PageResult& result, const files::Raster& before, const files::Raster& after,
                           const SkewPageDetails& details) {
  std::string html = "<h2>" + escaped(page_name(result)) + "</h2>\n<p class=\"verdict\">" +
                     verdict_sentence(result.measurement) + consequence(result) +
                     "</p>\n<div class=\"pictures\">";
  html += std::string("<figure><div class=\"") + (after.pixels.empty() ? "single" : "compare") +
          "\"><img alt=\"before\" src=\"" + picture_address(before) + "\">";
  if (!after.pixels.empty())
    html += "<div class=\"after\"><img alt=\"after\" src=\"" + picture_address(after) +
            "\"></div><input type=\"range\" min=\"0\" max=\"100\" value=\"50\" step=\"0.1\" "
            "aria-label=\"Divider between before and after\">";
  html += std::string("</div><figcaption>") +
          (after.pixels.empty() ? "The page as it is." : "Before and after: move the divider.") +
          "</figcaption></figure>\n";
  if (details.pEdges)
    html +=
        "<figure>" + edges_svg(details) +
        "<figcaption>Edges. Windows that <span class=\"key\">agree</span> and <span class=\"key differs\">"
        "differ</span>, each with the line of its own angle; <span class=\"key content\">content</span> "
        "dashed.</figcaption></figure>";
  html += "</div>\n";
  if (details.scoreCount > 1)
    html +=
        "<figure>" + curve_svg(details, result.measurement.angle) +
        "<figcaption>How sharply rows and columns stand out at each angle, and the angle found.</figcaption>"
        "</figure>\n";
  return html;
}

ReportFile::ReportFile(const std::string& path, bool overwrite)
    : path_(path),
      overwrite_(overwrite),
      sections_("", ".html"),
      out_(std::fopen(sections_.path().c_str(), "wb+")) {
  if (!out_) throw unwritable();
}

ReportFile::~ReportFile() { std::fclose(out_); }

void ReportFile::add(const PageResult& result) {
  const std::string anchor = "page" + std::to_string(++pages_);
  straightened_ += result.action == Action::kStraightened;
  left_alone_ += result.action == Action::kLeftAlone;
  failed_ += result.action == Action::kFailed;
  const bool told = result.measured && result.measurement.verdict != Verdict::kBlank;
  overview_ +=
      "<tr><td><a href=\"#" + anchor + "\">" + escaped(page_name(result)) + "</a></td><td class=\"number\">" +
      (told ? number("%.2f°", result.measurement.angle) : "") + "</td><td>" +
      (result.measured ? verdict_word(result.measurement.verdict) : "failed") + "</td><td>" +
      (result.action == Action::kStraightened ? "to straighten" : escaped(result.why)) + "</td></tr>\n";
  std::string section = "<section id=\"" + anchor + "\">";
  section += result.html.empty()
                 ? "<h2>" + escaped(page_name(result)) + "</h2><p>This page " + escaped(result.why) + ".</p>"
                 : result.html;
  section += "</section>\n";
  if (std::fwrite(section.data(), 1, section.size(), out_) != section.size()) throw unwritable();
}

void ReportFile::finish() {
  files::TempFile whole(path_, ".html");
  FILE* out = std::fopen(whole.path().c_str(), "wb");
  if (!out) throw unwritable();
  std::fprintf(out,
               "%s<p>%d %s: %d to straighten, %d to leave alone, %d failed.</p>\n<table><tr><th>Page</th>"
               "<th>Angle</th><th>Verdict</th><th></th></tr>\n%s</table>\n",
               kHead, pages_, pages_ == 1 ? "page" : "pages", straightened_, left_alone_, failed_,
               overview_.c_str());
  std::rewind(out_);
  char block[1 << 14];
  for (size_t got; (got = std::fread(block, 1, sizeof block, out_)) > 0;) std::fwrite(block, 1, got, out);
  std::fputs(kTail, out);
  const bool good = !std::ferror(out) && !std::ferror(out_);
  if (std::fclose(out) != 0 || !good) throw unwritable();
  whole.commit({overwrite_, false, ""});
}

}  // namespace tool
