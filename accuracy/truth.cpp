#include "accuracy/truth.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include <jpeglib.h>

#include "accuracy/scenery.h"

namespace accuracy {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kSupersampling = 2;

struct Setting {
  double paper = 1, table = 1;  // shades of the sheet and of what it lies on
  double ink = 1;               // how much of the ink arrives
  double fill = 1;              // share of the picture's height that the sheet takes
  double sheet = 0;             // degrees from the lines of the text to the sheet's edges
  double shift = 0;             // of the sheet to the right, in widths of a sheet
};

void draw_sheet(cairo_t* cairo, double degrees, double paper) {
  cairo_save(cairo);
  cairo_rotate(cairo, degrees * kPi / 180);
  cairo_set_source_rgb(cairo, paper, paper, paper);
  cairo_rectangle(cairo, -kPageWidth / 2, -kPageHeight / 2, kPageWidth, kPageHeight);
  cairo_fill(cairo);
  cairo_restore(cairo);
}

// The text of a page, its middle in the origin.
void draw_text(cairo_t* cairo, Kind kind, uint64_t seed) {
  cairo_save(cairo);
  cairo_translate(cairo, -kPageWidth / 2, -kPageHeight / 2);
  draw_page(cairo, kind, seed);
  cairo_restore(cairo);
}

// An earlier straightening turned the picture's own rectangle; what came in at the corners was filled.
void draw_filled_corners(cairo_t* cairo, const Case& c, const Setting& setting) {
  const double width = c.width * kSupersampling, height = c.height * kSupersampling;
  cairo_save(cairo);
  cairo_translate(cairo, width / 2, height / 2);
  cairo_rotate(cairo, c.other * kPi / 180);
  cairo_set_source_rgb(cairo, setting.paper, setting.paper, setting.paper);
  cairo_rectangle(cairo, -width / 2, -height / 2, width, height);
  cairo_fill(cairo);
  cairo_restore(cairo);
}

void draw_scene(cairo_t* cairo, const Case& c, const Setting& setting) {
  Random random(c.seed ^ 0x5CE0E5u);
  const int side = c.other < 0 ? -1 : 1;
  if (c.spoil == Spoil::kGround) draw_ground(cairo, random, setting.table);
  if (setting.table != setting.paper && c.spoil != Spoil::kFilledCorners)
    draw_sheet(cairo, setting.sheet, setting.paper);
  if (c.spoil == Spoil::kGutter || c.spoil == Spoil::kSecondPage)
    draw_fold(cairo, random, side, c.spoil == Spoil::kGutter ? random.uniform(-1.5, 1.5) : 0, setting.paper);
  if (c.spoil == Spoil::kSecondPage) {
    cairo_save(cairo);
    cairo_translate(cairo, side * kPageWidth, 0);
    cairo_rotate(cairo, c.other * kPi / 180);
    draw_text(cairo, c.kind, c.seed + 1);
    cairo_restore(cairo);
  }
  if (c.spoil == Spoil::kClutter) draw_clutter(cairo, random);
  draw_text(cairo, c.kind, c.seed);
}

Gray render(const Case& c, const Setting& setting) {
  const int width = c.width * kSupersampling, height = c.height * kSupersampling;
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS)
    throw std::runtime_error("no memory to draw a page");
  cairo_t* cairo = cairo_create(surface);
  cairo_set_source_rgb(cairo, setting.table, setting.table, setting.table);
  cairo_paint(cairo);
  if (c.spoil == Spoil::kFilledCorners) draw_filled_corners(cairo, c, setting);
  cairo_translate(cairo, width / 2.0, height / 2.0);
  cairo_rotate(cairo, c.angle * kPi / 180);
  const double scale = setting.fill * height / kPageHeight;
  cairo_scale(cairo, scale, scale);
  cairo_translate(cairo, setting.shift * kPageWidth, 0);
  draw_scene(cairo, c, setting);
  cairo_destroy(cairo);
  cairo_surface_flush(surface);

  Gray page(c.width, c.height);
  const uint8_t* data = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  for (int y = 0; y < c.height; ++y) {
    for (int x = 0; x < c.width; ++x) {
      int sum = 0;
      for (int v = 0; v < kSupersampling; ++v)
        for (int u = 0; u < kSupersampling; ++u)
          sum += data[static_cast<ptrdiff_t>(y * kSupersampling + v) * stride + (x * kSupersampling + u) * 4];
      const double value = sum / double(kSupersampling * kSupersampling);
      page.row(y)[x] =
          static_cast<uint8_t>(255 * setting.paper - (255 * setting.paper - value) * setting.ink + 0.5);
    }
  }
  cairo_surface_destroy(surface);
  return page;
}

void blur(Gray& page, double sigma) {
  const int radius = static_cast<int>(sigma * 3) + 1;
  std::vector<float> kernel(2 * radius + 1);
  float sum = 0;
  for (int i = -radius; i <= radius; ++i)
    sum += kernel[i + radius] = float(std::exp(-i * i / (2 * sigma * sigma)));
  for (float& k : kernel) k /= sum;
  const int w = page.width, h = page.height;
  std::vector<float> rows(static_cast<size_t>(w) * h), line(static_cast<size_t>(w) + 2 * radius);
  for (int y = 0; y < h; ++y) {
    for (int x = -radius; x < w + radius; ++x) line[x + radius] = page.row(y)[x < 0 ? 0 : x >= w ? w - 1 : x];
    for (int x = 0; x < w; ++x) {
      float value = 0;
      for (int i = 0; i <= 2 * radius; ++i) value += kernel[i] * line[x + i];
      rows[static_cast<size_t>(y) * w + x] = value;
    }
  }
  std::vector<float> out(w);
  for (int y = 0; y < h; ++y) {
    std::fill(out.begin(), out.end(), 0.5f);
    for (int i = -radius; i <= radius; ++i) {
      const int v = y + i < 0 ? 0 : y + i >= h ? h - 1 : y + i;
      for (int x = 0; x < w; ++x) out[x] += kernel[i + radius] * rows[static_cast<size_t>(v) * w + x];
    }
    for (int x = 0; x < w; ++x) page.row(y)[x] = static_cast<uint8_t>(out[x]);
  }
}

uint8_t clamp(double value) { return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value + 0.5); }

void add_noise(Gray& page, Random& random, double sigma) {
  std::vector<int8_t> noise(65536);
  for (int8_t& n : noise) n = static_cast<int8_t>(std::lround(sigma * random.normal()));
  for (uint8_t& p : page.pixels) p = clamp(p + noise[random.next() & 65535]);
}

void shade(Gray& page, Random& random) {
  const double direction = random.uniform(0, 2 * kPi), depth = random.uniform(0.2, 0.55);
  const double cx = std::cos(direction) / page.width, cy = std::sin(direction) / page.height;
  for (int y = 0; y < page.height; ++y)
    for (int x = 0; x < page.width; ++x) {
      const double t = (x - page.width / 2.0) * cx + (y - page.height / 2.0) * cy;  // about -0.7 ... 0.7
      page.row(y)[x] = clamp(page.row(y)[x] * (1 - depth * (0.5 + t * 0.7)));
    }
}

void threshold(Gray& page, int level) {
  for (uint8_t& p : page.pixels) p = p < level ? 0 : 255;
}

void through_jpeg(Gray& page, int quality) {
  unsigned char* buffer = nullptr;
  unsigned long size = 0;
  jpeg_error_mgr errors;
  jpeg_compress_struct out;
  out.err = jpeg_std_error(&errors);
  jpeg_create_compress(&out);
  jpeg_mem_dest(&out, &buffer, &size);
  out.image_width = page.width;
  out.image_height = page.height;
  out.input_components = 1;
  out.in_color_space = JCS_GRAYSCALE;
  jpeg_set_defaults(&out);
  jpeg_set_quality(&out, quality, TRUE);
  jpeg_start_compress(&out, TRUE);
  while (out.next_scanline < out.image_height) {
    JSAMPROW row = page.row(static_cast<int>(out.next_scanline));
    jpeg_write_scanlines(&out, &row, 1);
  }
  jpeg_finish_compress(&out);
  jpeg_destroy_compress(&out);

  jpeg_decompress_struct in;
  in.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&in);
  jpeg_mem_src(&in, buffer, size);
  jpeg_read_header(&in, TRUE);
  jpeg_start_decompress(&in);
  while (in.output_scanline < in.output_height) {
    JSAMPROW row = page.row(static_cast<int>(in.output_scanline));
    jpeg_read_scanlines(&in, &row, 1);
  }
  jpeg_finish_decompress(&in);
  jpeg_destroy_decompress(&in);
  std::free(buffer);
}

bool is_photographed(Spoil spoil) {
  return spoil == Spoil::kPhone || (spoil >= Spoil::kCutAskew && spoil <= Spoil::kGround);
}

void size_of(Case& c, Random& random) {
  static const double scan_dpi[] = {150, 150, 200, 200, 300};
  if (is_photographed(c.spoil)) {
    const int sizes[][2] = {{1536, 2048}, {2048, 1536}, {1944, 2592}, {3000, 4000}};
    const int pick = random.below(12);
    const int* size = sizes[pick < 5 ? 0 : pick < 7 ? 1 : pick < 11 ? 2 : 3];
    c.width = size[0];
    c.height = size[1];
    return;
  }
  const double dpi = c.spoil == Spoil::kSmall ? random.uniform(60, 90) : scan_dpi[random.below(5)];
  c.width = static_cast<int>(kPageWidth * dpi / 72 + 0.5);
  c.height = static_cast<int>(kPageHeight * dpi / 72 + 0.5);
}

}  // namespace

const char* name_of(Spoil spoil) {
  static const char* const names[] = {
      "scan",        "bilevel",  "faint",       "small",         "phone",
      "cut askew",   "gutter",   "second page", "dark ground",   "rules and pictures",
      "strong JPEG", "halftone", "dust lines",  "filled corners"};
  return names[static_cast<int>(spoil)];
}

std::string Case::name() const {
  char text[160];
  std::snprintf(text, sizeof text, "%s-%s-%llu-%+.3f", name_of(kind), name_of(spoil),
                static_cast<unsigned long long>(seed), angle);
  for (char* p = text; *p != 0; ++p)
    if (*p == ' ') *p = '_';
  return text;
}

namespace {

// For one seed base: every kind of page with some ways of spoiling it, turned by random angles up to the limit.
// Different bases share no page.
void add_cases(uint64_t base, double limit, int rounds, Spoil first, Spoil last, std::vector<Case>* cases) {
  Random random(base);
  for (int round = 0; round < rounds; ++round)
    for (const Kind kind : kAllKinds)
      for (int spoil = static_cast<int>(first); spoil <= static_cast<int>(last); ++spoil) {
        Case c;
        c.kind = kind;
        c.spoil = static_cast<Spoil>(spoil);
        c.seed = random.next() % 1000000000;
        c.angle = std::round(random.uniform(-limit, limit) * 1000) / 1000;
        size_of(c, random);
        if (c.spoil > Spoil::kPhone && !has_lines(kind)) continue;
        Random more(c.seed ^ 0x0DDEu);
        const double side = more.chance(0.5) ? 1 : -1;
        if (c.spoil == Spoil::kCutAskew) c.other = side * more.uniform(0.3, 2);
        if (c.spoil == Spoil::kGutter) c.other = side;
        if (c.spoil == Spoil::kSecondPage) c.other = side * more.uniform(0.3, 3);
        if (c.spoil ==
            Spoil::kFilledCorners) {  // what an earlier straightening left, and by how much it turned
          c.other = side * more.uniform(0.5, 12);
          c.angle = std::round(c.angle / limit * 500) / 1000;
        }
        cases->push_back(c);
      }
}

Setting setting_of(const Case& c, Random& random) {
  Setting setting;
  if (c.spoil == Spoil::kFaint) setting = {random.uniform(0.75, 0.95), 0, random.uniform(0.35, 0.6), 1};
  if (c.spoil == Spoil::kFaint) setting.table = setting.paper;
  if (is_photographed(c.spoil))
    setting = {random.uniform(0.85, 0.97), random.uniform(0.15, 0.6), 1, random.uniform(0.8, 1.05)};
  if (c.kind == Kind::kBlank && c.spoil == Spoil::kPhone)
    setting.fill = 3;  // the sheet's edges would be content
  const int side = c.other < 0 ? -1 : 1;
  if (c.spoil == Spoil::kCutAskew) setting.sheet = c.other;
  if (c.spoil == Spoil::kGutter) setting.shift = -side * random.uniform(0.02, 0.08);
  if (c.spoil == Spoil::kSecondPage) {  // of the page opposite, 15 to 45 % of a width are in view
    const double view = c.width * kPageHeight / (2 * c.height * setting.fill * kPageWidth);
    setting.shift = side * (view - 0.5 - random.uniform(0.15, 0.45));
  }
  if (c.spoil == Spoil::kGround) setting.table = random.uniform(0.03, 0.45);
  if (c.spoil == Spoil::kClutter || c.spoil == Spoil::kJpeg)
    setting.table = setting.paper = random.uniform(0.85, 1);
  if (c.spoil == Spoil::kJpeg) setting.ink = random.uniform(0.4, 1);
  if (c.spoil == Spoil::kFilledCorners) {
    setting.paper = random.uniform(0.85, 0.97);
    const double fills[] = {0, 1, setting.paper + random.uniform(-0.04, 0.03)};
    setting.table = fills[random.below(3)];
  }
  return setting;
}

void photograph(Gray& page, Random& random) {
  blur(page, random.uniform(0.7, 2.2));
  shade(page, random);
  add_noise(page, random, random.uniform(3, 10));
  through_jpeg(page, 50 + random.below(40));
}

void scan(Gray& page, Random& random) {
  blur(page, random.uniform(0.4, 0.9));
  add_noise(page, random, random.uniform(1, 5));
}

// A drawn page from the cache, or drawn and put there.
Gray cached(const Case& c, const std::string& folder) {
  const std::string path = folder + "/" + c.name();
  Gray page(c.width, c.height);
  const auto size = static_cast<std::streamsize>(page.pixels.size());
  if (std::ifstream(path, std::ios::binary).read(reinterpret_cast<char*>(page.pixels.data()), size))
    return page;
  page = make_page(c);
  if (!std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(page.pixels.data()), size))
    throw std::runtime_error("cannot write " + path);
  return page;
}

}  // namespace

Gray make_page(const Case& c) {
  Random random(c.seed ^ 0xA5A5A5A5u);
  const Setting setting = setting_of(c, random);
  Gray page = render(c, setting);
  if (c.kind == Kind::kBlank && c.spoil != Spoil::kBilevel) add_noise(page, random, random.uniform(0, 40));
  switch (c.spoil) {
    case Spoil::kBilevel:
      blur(page, random.uniform(0.5, 0.8));
      add_noise(page, random, random.uniform(5, 25));
      threshold(page, 110 + random.below(60));
      break;
    case Spoil::kFaint:
      blur(page, random.uniform(0.5, 1.1));
      add_noise(page, random, random.uniform(2, 6));
      break;
    case Spoil::kSmall:
      add_noise(page, random, random.uniform(1, 6));
      break;
    case Spoil::kJpeg:
      scan(page, random);
      through_jpeg(page, 5 + random.below(16));
      break;
    case Spoil::kHalftone:
      add_halftone(page, random);
      scan(page, random);
      break;
    case Spoil::kDustLines:
      scan(page, random);
      add_dust_lines(page, random);
      break;
    case Spoil::kScan:
    case Spoil::kClutter:
    case Spoil::kFilledCorners:
      scan(page, random);
      break;
    default:
      photograph(page, random);
  }
  return page;
}

std::vector<Page> drawn_set(const std::string& cache, int rounds) {
  // Seeds that were not used while the measurement was made.
  std::vector<Case> cases;
  add_cases(201, 15, rounds, Spoil::kScan, Spoil::kPhone, &cases);
  add_cases(202, 44, rounds, Spoil::kScan, Spoil::kPhone, &cases);
  add_cases(203, 15, rounds, Spoil::kCutAskew, Spoil::kFilledCorners, &cases);
  std::vector<Page> pages;
  for (const Case& c : cases) {
    Page page;
    page.name = c.name();
    page.group = c.spoil <= Spoil::kPhone ? name_of(c.kind) : "";
    page.way = has_lines(c.kind) ? name_of(c.spoil) : "";
    page.lines = has_lines(c.kind);
    page.truth = page.lowest = page.highest = c.angle;
    if (c.spoil == Spoil::kSecondPage) {
      page.lowest = std::min(c.angle, c.angle + c.other);
      page.highest = std::max(c.angle, c.angle + c.other);
    }
    if (c.spoil == Spoil::kCutAskew || c.spoil == Spoil::kGround || (c.spoil == Spoil::kPhone && page.lines))
      page.paper = c.angle + (c.spoil == Spoil::kCutAskew ? c.other : 0);
    page.load = [c, cache] { return cached(c, cache); };
    pages.push_back(page);
  }
  return pages;
}

}  // namespace accuracy
