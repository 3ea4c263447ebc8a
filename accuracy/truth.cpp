#include "accuracy/truth.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <jpeglib.h>

namespace accuracy {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kSupersampling = 2;

struct Setting {
  double paper = 1, table = 1;  // shades of the sheet and of what it lies on
  double ink = 1;               // how much of the ink arrives
  double fill = 1;              // share of the picture's height that the sheet takes
};

Gray render(const Case& c, const Setting& setting) {
  const int width = c.width * kSupersampling, height = c.height * kSupersampling;
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS)
    throw std::runtime_error("no memory to draw a page");
  cairo_t* cairo = cairo_create(surface);
  cairo_set_source_rgb(cairo, setting.table, setting.table, setting.table);
  cairo_paint(cairo);
  cairo_translate(cairo, width / 2.0, height / 2.0);
  cairo_rotate(cairo, c.angle * kPi / 180);
  const double scale = setting.fill * height / kPageHeight;
  cairo_scale(cairo, scale, scale);
  cairo_translate(cairo, -kPageWidth / 2, -kPageHeight / 2);
  if (setting.table != setting.paper) {
    cairo_set_source_rgb(cairo, setting.paper, setting.paper, setting.paper);
    cairo_rectangle(cairo, 0, 0, kPageWidth, kPageHeight);
    cairo_fill(cairo);
  }
  draw_page(cairo, c.kind, c.seed);
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

void size_of(Case& c, Random& random) {
  static const double scan_dpi[] = {150, 150, 200, 200, 300};
  if (c.spoil == Spoil::kPhone) {
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
  static const char* const names[] = {"scan", "bilevel", "faint", "small", "phone"};
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

std::vector<Case> truth_set(uint64_t base, double limit, int rounds) {
  std::vector<Case> cases;
  Random random(base);
  for (int round = 0; round < rounds; ++round) {
    for (const Kind kind : kAllKinds) {
      for (int spoil = 0; spoil < 5; ++spoil) {
        Case c;
        c.kind = kind;
        c.spoil = static_cast<Spoil>(spoil);
        c.seed = random.next() % 1000000000;
        c.angle = std::round(random.uniform(-limit, limit) * 1000) / 1000;
        size_of(c, random);
        cases.push_back(c);
      }
    }
  }
  return cases;
}

Gray make_page(const Case& c) {
  Random random(c.seed ^ 0xA5A5A5A5u);
  Setting setting;
  if (c.spoil == Spoil::kFaint) setting = {random.uniform(0.75, 0.95), 0, random.uniform(0.35, 0.6), 1};
  if (c.spoil == Spoil::kFaint) setting.table = setting.paper;
  if (c.spoil == Spoil::kPhone)
    setting = {random.uniform(0.85, 0.97), random.uniform(0.15, 0.6), 1, random.uniform(0.8, 1.05)};
  if (c.kind == Kind::kBlank && c.spoil == Spoil::kPhone)
    setting.fill = 3;  // the sheet's edges would be content
  Gray page = render(c, setting);
  if (c.kind == Kind::kBlank && c.spoil != Spoil::kBilevel) add_noise(page, random, random.uniform(0, 40));
  switch (c.spoil) {
    case Spoil::kScan:
      blur(page, random.uniform(0.4, 0.9));
      add_noise(page, random, random.uniform(1, 5));
      break;
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
    case Spoil::kPhone:
      blur(page, random.uniform(0.7, 2.2));
      shade(page, random);
      add_noise(page, random, random.uniform(3, 10));
      through_jpeg(page, 50 + random.below(40));
      break;
  }
  return page;
}

}  // namespace accuracy
