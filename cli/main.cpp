// skewcorrect: measures and straightens page images. This file only reads the command line; run.h does the
// work.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <thread>

#include "cli/map.h"
#include "cli/run.h"
#include "cli/undo.h"
#include "files/image_write.h"

namespace {

using tool::Command;
using tool::Options;

constexpr const char* kAbout =
    "Measures the tilt of the text lines on page images and straightens them.\n"
    "A positive angle means: lines fall to the right as displayed; the page is turned counter-clockwise by "
    "it.\n";

constexpr const char* kQuestions =
    "\nCommon questions:\n"
    "  Is a source ever changed?   Only with --in-place.\n"
    "  The page was left alone.    Its angle was not trusted (--force), or below --min-angle or above "
    "--max-angle.\n"
    "  The page lies on its side.  Quarter turns are not detected: skewcorrect rotate --angle 90 --canvas "
    "expand\n"
    "  Corners are cut off.        --canvas expand\n"
    "  The corners' colour?        --background white, black or #RRGGBB; default: as the page's border\n"
    "  Thousands of pages?         skewcorrect deskew FOLDER -d OUT --resume goes on where it ended.\n";

constexpr const char* kExitCodes =
    "\nExit codes: 0 every page was dealt with (also when it was left alone), 1 a page failed, 2 wrong "
    "usage,\n"
    "128 + n ended by signal n.";

// Parsed as text, since they need checks of their own.
struct Words {
  std::string background = "auto", canvas = "keep", align = "auto";
};

bool parse_colour(const std::string& text, tool::Background& background) {
  background.sampled = text == "auto";
  const unsigned int grey = text == "black" ? 0 : 255;
  unsigned int red = grey, green = grey, blue = grey;
  if (text[0] == '#') {
    if (text.size() != 7 || text.find_first_not_of("0123456789abcdefABCDEF", 1) != std::string::npos)
      return false;
    std::sscanf(text.c_str(), "#%2x%2x%2x", &red, &green, &blue);
  } else if (!background.sampled && text != "white" && text != "black") {
    return false;
  }
  const unsigned int rgb[] = {red, green, blue};
  std::copy(rgb, rgb + 3, background.rgb);
  return true;
}

void add_inputs(CLI::App* command, Options& o) {
  command->add_option("INPUT", o.inputs, "Files, folders of them, or - for standard input")
      ->required()
      ->option_text("...");
  command->add_flag("-r,--recursive", o.recursive, "Look in the folders below as well");
  command->add_flag("--json", o.json, "JSON objects instead of lines of text");
  command->add_flag("-q,--quiet", o.quiet, "Print errors only");
  command->add_option("--password", o.password, "Of PDF files that need one")->option_text("WORD");
  command->add_flag("--tolerant", o.tolerant, "Take damaged files as far as they can be decoded");
}

void add_reading(CLI::App* command, Options& o) {
  command->add_option("-j,--jobs", o.jobs, "Pages worked on at once (default: one for each processor)")
      ->check(CLI::Range(1, 256))
      ->option_text("N");
  command
      ->add_option("--dpi", o.dpi,
                   "Resolution at which PDF pages are drawn (default: that of the scan on the page)")
      ->check(CLI::Range(18.0, 2400.0))
      ->option_text("N");
  command
      ->add_option("--page-timeout", o.page_timeout,
                   "Give up a page that takes longer to decode, seconds; 0 for no limit (default 300)")
      ->check(CLI::NonNegativeNumber)
      ->option_text("N");
  command
      ->add_option("--max-pixels", o.max_pixels, "Refuse larger images; 0 for no limit (default 200000000)")
      ->check(CLI::NonNegativeNumber)
      ->option_text("N");
}

void add_target(CLI::App* command, Options& o) {
  command
      ->add_option("-o,--output", o.target.file, "The file to write for a single input; - is standard output")
      ->option_text("FILE");
  command
      ->add_option("-d,--output-dir", o.target.folder, "The folder to write to; it is made if it is missing")
      ->option_text("FOLDER");
  command->add_flag("--in-place", o.target.in_place, "Replace the sources themselves");
  command->add_flag("--overwrite", o.overwrite, "Replace results that exist");
  command->add_flag("--keep-time", o.keep_time, "Give results the time of their sources");
}

void add_output(CLI::App* command, Options& o) {
  command->add_flag("--resume", o.resume, "Skip pages whose result exists");
  command->add_flag("-n,--dry-run", o.dry_run, "Say what would be done and write nothing");
  command
      ->add_option("--format", o.format,
                   "Write jpg, png, tif, webp or ppm, or pdf from PDF (default: as the source)")
      ->check(CLI::IsMember({"jpg", "jpeg", "png", "tif", "tiff", "webp", "ppm", "pdf"}))
      ->option_text("FORMAT");
  command->add_option("--quality", o.quality, "Of JPEG and WebP, 1 to 100 (default 92)")
      ->check(CLI::Range(1, 100))
      ->option_text("N");
}

void add_map(CLI::App* command, Options& o) {
  command->add_option("INPUT", o.inputs, "hOCR, ALTO, PAGE or a table of boxes; - for standard input")
      ->required()
      ->expected(1, 2)
      ->option_text("FILE");
  command->add_option("--sidecar", o.map.sidecar, "What deskew --sidecar wrote for the page")
      ->required()
      ->option_text("FILE");
  command->add_option("--page", o.map.page, "The page of the sidecar (default: all, in order)")
      ->check(CLI::Range(1, 1000000))
      ->option_text("N");
  command->add_flag("--back", o.map.back, "From the straightened page to its source");
  command->add_flag("--whole", o.map.whole, "Round to whole pixels");
  command->add_option("-o,--output", o.target.file, "The file to write; - is standard output")
      ->option_text("FILE");
  command->add_flag("--overwrite", o.overwrite, "Replace it if it exists");
}

void add_turning(CLI::App* command, Words& words) {
  command
      ->add_option("--background", words.background,
                   "Colour of what comes into view: auto (sampled from the page's border, default), white, "
                   "black or #RRGGBB")
      ->option_text("COLOUR");
  command
      ->add_option("--canvas", words.canvas, "keep the size (default) or expand it so that no corner is cut")
      ->check(CLI::IsMember({"keep", "expand"}))
      ->option_text("MODE");
}

void add_limits(CLI::App* command, Options& o, Words& words) {
  command
      ->add_option(
          "--align", words.align,
          "Straighten by the text, by the paper's edge, or (auto, default) by the text where it is trusted "
          "and else by the edge")
      ->check(CLI::IsMember({"text", "paper", "auto"}))
      ->option_text("WHAT");
  command->add_flag("--force", o.force,
                    "Straighten also where the angle is not trusted, and signed PDF files");
  command->add_option("--min-angle", o.min_angle, "Leave smaller tilts alone, degrees (default 0.05)")
      ->check(CLI::Range(0.0, 45.0))
      ->option_text("DEGREES");
  command->add_option("--max-angle", o.max_angle, "Leave larger tilts alone, degrees (default 45)")
      ->check(CLI::Range(0.0, 90.0))
      ->option_text("DEGREES");
}

bool is_folder(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_directory(path, ignored);
}

// IN OUT, where that is what two names without a target can only mean. Returns what is wrong, or an empty text.
std::string settle_pair(Options& o) {
  const std::string in = o.inputs[0], out = o.inputs[1];
  std::error_code ignored;
  if (is_folder(in)) return in + " is a folder: name the folder for its results with --output-dir";
  if (is_folder(out)) return out + " is a folder: if it is for the result, say --output-dir " + out;
  if (std::filesystem::is_regular_file(in, ignored) && std::filesystem::is_regular_file(out, ignored))
    return out + " exists: if it is to be replaced by the result, say -o " + out +
           " --overwrite; if it is a second page, name a folder with --output-dir";
  o.target.file = out;
  o.inputs.pop_back();
  return "";
}

// Where results go. Returns what is wrong, or an empty text.
std::string settle_target(Options& o) {
  files::Target& target = o.target;
  if (!target.file.empty() + !target.folder.empty() + target.in_place > 1)
    return "give one of --output, --output-dir and --in-place";
  if (!target.given() && o.inputs.size() == 2) {
    std::string wrong = settle_pair(o);
    if (!wrong.empty()) return wrong;
  }
  if (!target.given() && !o.dry_run) return "where to? Give IN OUT, or --output, --output-dir or --in-place";
  if (!target.file.empty() && (o.inputs.size() > 1 || is_folder(o.inputs[0])))
    return "--output takes a single file; use --output-dir";
  if (is_folder(target.file)) return target.file + " is a folder; use --output-dir";
  if (o.sidecar && files::is_stream(target.file)) return "--sidecar needs a result with a name of its own";
  if (target.in_place && o.resume)
    return "--resume needs results of their own: it does not go with --in-place";
  std::error_code ignored;
  for (const std::string& input : o.inputs) {
    if (input == "-" && target.in_place) return "standard input cannot be replaced: name the result with -o";
    if (!target.folder.empty() && is_folder(input) &&
        std::filesystem::equivalent(input, target.folder, ignored))
      return "results in " + target.folder + " would lie among the sources: name another folder";
  }
  return "";
}

// The rules that concern several options at once. Returns what is wrong, or an empty text.
std::string settle(Options& o, const Words& words) {
  o.canvas = words.canvas == "expand" ? SKEW_CANVAS_EXPAND : SKEW_CANVAS_KEEP;
  o.align = words.align == "text"    ? SKEW_ALIGN_TEXT
            : words.align == "paper" ? SKEW_ALIGN_PAPER
                                     : SKEW_ALIGN_AUTO;
  if (!parse_colour(words.background, o.background))
    return "--background: \"" + words.background + "\" is neither auto, white, black nor #RRGGBB";
  if (o.jobs == 0) o.jobs = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
  if (o.command != Command::kDeskew && o.command != Command::kRotate && o.command != Command::kUndo &&
      o.command != Command::kMap)
    return "";

  std::string wrong = settle_target(o);
  if (!wrong.empty()) return wrong;
  const files::Format named = files::format_of_name(o.target.file);
  if (!o.format.empty() && named != files::Format::kOther && named != files::writable_format(o.format))
    return o.target.file + " and --format " + o.format + " name two formats: leave out one";
  if (o.fast && o.align == SKEW_ALIGN_PAPER) return "--fast does not look for the paper's edge";
  if (o.fast && o.canvas == SKEW_CANVAS_EXPAND) return "--fast keeps the canvas: leave out one of the two";
  const uint8_t* rgb = o.background.rgb;
  if (o.fast && (rgb[0] != rgb[1] || rgb[1] != rgb[2])) return "--fast takes a gray background only";
  return "";
}

struct Commands {
  CLI::App *measure, *deskew, *report, *rotate, *undo, *map;

  Command chosen() const {
    return measure->parsed()  ? Command::kMeasure
           : deskew->parsed() ? Command::kDeskew
           : report->parsed() ? Command::kReport
           : undo->parsed()   ? Command::kUndo
           : map->parsed()    ? Command::kMap
                              : Command::kRotate;
  }
};

Commands define(CLI::App& app, Options& options, Words& words) {
  app.footer(std::string(kQuestions) + kExitCodes);
  app.set_version_flag("--version", "skewcorrect " SKEW_VERSION);
  app.require_subcommand(1);
  const Commands c = {
      app.add_subcommand("measure", "Print the angle of every page; no image is written"),
      app.add_subcommand("deskew", "Measure every page and write it straightened"),
      app.add_subcommand("report", "Show on one HTML page how every page was measured"),
      app.add_subcommand("rotate", "Straighten by an angle measured elsewhere"),
      app.add_subcommand("undo", "Give PDF files that were levelled back as they were"),
      app.add_subcommand("map", "Move boxes found on a page to where straightening took them, or back"),
  };
  for (CLI::App* command : {c.measure, c.deskew, c.rotate, c.report, c.undo}) add_inputs(command, options);
  for (CLI::App* command : {c.measure, c.deskew, c.rotate, c.report}) add_reading(command, options);
  for (CLI::App* command : {c.deskew, c.rotate, c.undo}) add_target(command, options);
  for (CLI::App* command : {c.deskew, c.rotate}) add_output(command, options);
  add_map(c.map, options);
  for (CLI::App* command : {c.deskew, c.rotate})
    command->add_flag("--sidecar", options.sidecar, "Write where each point went into RESULT.json");
  for (CLI::App* command : {c.rotate, c.undo})
    command->add_flag("--force", options.force, "Change signed PDF files, which breaks the signature");
  for (CLI::App* command : {c.deskew, c.rotate, c.report}) add_turning(command, words);
  for (CLI::App* command : {c.deskew, c.report}) add_limits(command, options, words);
  for (CLI::App* command : {c.measure, c.deskew, c.rotate})
    command->add_flag("--fast", options.fast, "Quick look in steps of 0.2 degree, without a verdict");
  c.report->add_option("-o,--output", options.target.file, "The HTML file to write")
      ->required()
      ->option_text("FILE");
  c.report->add_flag("--overwrite", options.overwrite, "Replace it if it exists");
  c.rotate
      ->add_option("--angle", options.angle,
                   "The tilt to undo, -180 to 180 degrees; positive: lines fall to the right")
      ->required()
      ->check(CLI::Range(-180.0, 180.0))
      ->option_text("DEGREES");
  return c;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  options.jobs = 0;
  Words words;
  CLI::App app(kAbout, "skewcorrect");
  const Commands commands = define(app, options, words);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  options.command = commands.chosen();
  const std::string wrong = settle(options, words);
  if (!wrong.empty()) {
    std::fprintf(stderr, "skewcorrect: %s\n", wrong.c_str());
    return 2;
  }
  try {
    if (options.command == Command::kUndo) return tool::undo(options);
    if (options.command == Command::kMap) return tool::map(options);
    return tool::run(options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "skewcorrect: %s\n", error.what());
    return 1;
  }
}
