#include "accuracy/layouts.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <string>

namespace accuracy {
namespace {

const char* const kEnglish[] = {
    "paper",     "the",     "harbour", "of",      "quiet",     "lines",   "and",     "a",       "measured",
    "angle",     "which",   "every",   "window",  "shows",     "again",   "before",  "morning", "letters",
    "stand",     "in",      "rows",    "between", "margins",   "without", "leaning", "toward",  "either",
    "side",      "it",      "was",     "printed", "carefully", "on",      "thin",    "sheets",  "that",
    "travelled", "through", "seven",   "offices", "until",     "someone", "turned",  "them",    "level",
    "at",        "last",    "bread",   "garden",  "river",     "copper",  "lantern", "wheel",   "yesterday",
    "by",        "hand",    "is",      "to",      "be",        "as",      "far",     "we",      "know",
    "no",        "one",     "asked",   "for",     "more",      "than",    "this"};
const char* const kGerman[] = {"Seiten",      "und",           "die",           "Zeile",      "liegt",
                               "schr\u00e4g", "auf",           "dem",           "Tisch",      "bevor",
                               "jemand",      "sie",           "geraderichtet", "mit",        "ruhiger",
                               "Hand",        "\u00fcber",     "Nacht",         "Papier",     "ein",
                               "Winkel",      "von",           "wenigen",       "Grad",       "gen\u00fcgt",
                               "Stra\u00dfe", "Fr\u00fchling", "m\u00f6glich",  "Buchstaben", "stehen"};
const char* const kChinese[] = {
    "\u7eb8\u9875", "\u6587\u5b57", "\u6bcf\u4e00\u884c", "\u90fd",       "\u5e94\u5f53", "\u6c34\u5e73",
    "\u6211\u4eec", "\u6d4b\u91cf", "\u89d2\u5ea6",       "\u7136\u540e", "\u628a",       "\u56fe\u50cf",
    "\u8f6c\u6b63", "\u65e9\u6668", "\u6cb3\u8fb9",       "\u7684",       "\u706f\u5149", "\u5f88",
    "\u5b89\u9759", "\u4e66\u4fe1", "\u7ecf\u8fc7",       "\u8bb8\u591a", "\u57ce\u5e02", "\u6700\u540e",
    "\u56de\u5230", "\u684c\u4e0a"};
const char* const kJapanese[] = {"\u7d19\u306e",
                                 "\u4e0a\u306b",
                                 "\u6587\u5b57\u304c",
                                 "\u4e26\u3076",
                                 "\u7e26\u66f8\u304d\u306e",
                                 "\u884c\u306f",
                                 "\u4e0a\u304b\u3089",
                                 "\u4e0b\u3078",
                                 "\u6d41\u308c\u308b",
                                 "\u671d\u306e",
                                 "\u5149\u3067",
                                 "\u89d2\u5ea6\u3092",
                                 "\u6e2c\u308a",
                                 "\u9759\u304b\u306b",
                                 "\u307e\u3063\u3059\u3050",
                                 "\u76f4\u3059",
                                 "\u6751\u306e",
                                 "\u9053\u3092",
                                 "\u6b69\u3044\u3066",
                                 "\u624b\u7d19\u3092",
                                 "\u5c4a\u3051\u305f",
                                 "\u96e8\u304c",
                                 "\u3084\u3093\u3060"};
const char* const kArabic[] = {"\u0627\u0644\u0648\u0631\u0642",
                               "\u0639\u0644\u0649",
                               "\u0627\u0644\u0637\u0627\u0648\u0644\u0629",
                               "\u0646\u0642\u064a\u0633",
                               "\u0632\u0627\u0648\u064a\u0629",
                               "\u0627\u0644\u0633\u0637\u0631",
                               "\u062b\u0645",
                               "\u0646\u0639\u062f\u0644",
                               "\u0627\u0644\u0635\u0648\u0631\u0629",
                               "\u0643\u0644",
                               "\u0635\u0628\u0627\u062d",
                               "\u0641\u064a",
                               "\u0627\u0644\u0645\u062f\u064a\u0646\u0629",
                               "\u0647\u0627\u062f\u0626\u0629",
                               "\u0645\u0646",
                               "\u0627\u0644\u0631\u0633\u0627\u0626\u0644",
                               "\u0648\u0635\u0644\u062a",
                               "\u0628\u0639\u062f",
                               "\u0633\u0641\u0631",
                               "\u0637\u0648\u064a\u0644"};

template <size_t N>
std::string words(Random& random, const char* const (&list)[N], int count, const char* gap,
                  const char* stop) {
  std::string text;
  int until_stop = 6 + random.below(10);
  for (int i = 0; i < count; ++i) {
    text += list[random.below(static_cast<int>(N))];
    if (--until_stop <= 0 || i + 1 == count) {
      text += stop;
      until_stop = 6 + random.below(10);
    }
    text += gap;
  }
  return text;
}

std::string english(Random& random, int count) { return words(random, kEnglish, count, " ", "."); }
std::string latin(Random& random, int count) {
  return random.chance(0.3) ? words(random, kGerman, count, " ", ".") : english(random, count);
}

enum class Align { kLeft, kJustify, kCentre, kRight };

// One page being drawn: a Cairo context and a Pango context that place glyphs to fractions of a pixel.
class Sheet {
 public:
  Sheet(cairo_t* cairo, uint64_t seed) : cairo_(cairo), random_(seed) {
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    context_ = pango_cairo_create_context(cairo);
    pango_cairo_context_set_font_options(context_, options);
    pango_cairo_context_set_resolution(context_, 72);
    pango_context_set_round_glyph_positions(context_, FALSE);
    cairo_font_options_destroy(options);
    cairo_set_source_rgb(cairo, 0.08, 0.08, 0.08);
  }
  ~Sheet() { g_object_unref(context_); }
  Sheet(const Sheet&) = delete;
  Sheet& operator=(const Sheet&) = delete;

  cairo_t* cairo() const { return cairo_; }
  Random& random() { return random_; }

  // Sets text in a box of the given width from (x, y) down and returns the y below it. No line begins below
  // the bottom.
  double text(const std::string& words, const char* font, double size, double x, double y, double width,
              Align align = Align::kLeft, double bottom = kPageHeight - 50, double spacing = 1.2) {
    PangoLayout* layout = make(words, font, size, width, align, spacing);
    PangoLayoutIter* iter = pango_layout_get_iter(layout);
    double end = y;
    do {
      PangoRectangle box;
      pango_layout_iter_get_line_extents(iter, nullptr, &box);
      const double top = y + static_cast<double>(box.y) / PANGO_SCALE;
      if (top + static_cast<double>(box.height) / PANGO_SCALE > bottom) break;
      cairo_move_to(cairo_, x + static_cast<double>(box.x) / PANGO_SCALE,
                    y + static_cast<double>(pango_layout_iter_get_baseline(iter)) / PANGO_SCALE);
      pango_cairo_show_layout_line(cairo_, pango_layout_iter_get_line_readonly(iter));
      end = top + static_cast<double>(box.height) / PANGO_SCALE;
    } while (pango_layout_iter_next_line(iter));
    pango_layout_iter_free(iter);
    g_object_unref(layout);
    return end;
  }

  // Text in columns that run downward and follow each other to the left, inside the given box.
  void columns(const std::string& words, const char* font, double size, double left, double top, double width,
               double height) {
    cairo_save(cairo_);
    cairo_translate(cairo_, left + width, top);
    cairo_rotate(cairo_, std::acos(-1.0) / 2);
    pango_context_set_base_gravity(context_, PANGO_GRAVITY_EAST);
    pango_cairo_update_context(cairo_, context_);
    text(words, font, size, 0, 0, height, Align::kLeft, width, 1.5);
    pango_context_set_base_gravity(context_, PANGO_GRAVITY_SOUTH);
    cairo_restore(cairo_);
    pango_cairo_update_context(cairo_, context_);
  }

  void rule(double x0, double y0, double x1, double y1, double thickness = 0.7) {
    cairo_set_line_width(cairo_, thickness);
    cairo_move_to(cairo_, x0, y0);
    cairo_line_to(cairo_, x1, y1);
    cairo_stroke(cairo_);
  }

 private:
  PangoLayout* make(const std::string& words, const char* font, double size, double width, Align align,
                    double spacing) {
    PangoLayout* layout = pango_layout_new(context_);
    PangoFontDescription* description = pango_font_description_from_string(font);
    pango_font_description_set_size(description, static_cast<int>(size * PANGO_SCALE));
    pango_layout_set_font_description(layout, description);
    pango_font_description_free(description);
    pango_layout_set_width(layout, static_cast<int>(width * PANGO_SCALE));
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    pango_layout_set_line_spacing(layout, static_cast<float>(spacing));
    pango_layout_set_justify(layout, align == Align::kJustify);
    if (align == Align::kCentre) pango_layout_set_alignment(layout, PANGO_ALIGN_CENTER);
    if (align == Align::kRight) pango_layout_set_alignment(layout, PANGO_ALIGN_RIGHT);
    pango_layout_set_text(layout, words.c_str(), -1);
    return layout;
  }

  cairo_t* cairo_;
  Random random_;
  PangoContext* context_;
};

void serif(Sheet& s) {
  Random& r = s.random();
  const char* const fonts[] = {"Linux Libertine O", "Liberation Serif", "DejaVu Serif"};
  const char* font = fonts[r.below(3)];
  const double margin = r.uniform(50, 90), size = r.uniform(9, 13), width = kPageWidth - 2 * margin;
  double y = s.text(english(r, 4), font, size * 1.7, margin, 60, width, Align::kCentre) + size;
  const double end = r.chance(0.3) ? r.uniform(300, 600) : kPageHeight - 50;
  while (y < end - 2 * size)
    y = s.text("    " + latin(r, 40 + r.below(80)), font, size, margin, y, width, Align::kJustify, end) +
        (r.chance(0.5) ? size * 0.6 : 0);
  s.text(std::to_string(1 + r.below(300)), font, size, margin, kPageHeight - 40, width, Align::kCentre,
         kPageHeight);
}

void sans(Sheet& s) {
  Random& r = s.random();
  const char* const fonts[] = {"Liberation Sans", "DejaVu Sans", "Linux Biolinum O"};
  const char* font = fonts[r.below(3)];
  const double size = r.uniform(8, 11), margin = r.uniform(36, 56);
  const int count = 2 + r.below(2);
  const double gap = 16, width = (kPageWidth - 2 * margin - (count - 1) * gap) / count;
  const double top = s.text(english(r, 5), font, size * 2.2, margin, 40, kPageWidth - 2 * margin) + 14;
  for (int i = 0; i < count; ++i) {
    double y = top;
    while (y < kPageHeight - 60 - size) {
      if (r.chance(0.25))
        y = s.text(english(r, 3), font, size * 1.3, margin + i * (width + gap), y, width) + 3;
      y = s.text(latin(r, 30 + r.below(60)), font, size, margin + i * (width + gap), y, width,
                 r.chance(0.5) ? Align::kJustify : Align::kLeft) +
          size * 0.7;
    }
  }
}

void listing(Sheet& s) {
  Random& r = s.random();
  const double size = r.uniform(7.5, 10);
  double y = 50;
  int depth = 0;
  while (y < kPageHeight - 60) {
    std::string line(static_cast<size_t>(depth) * 4, ' ');
    const int what = r.below(6);
    if (what == 0 && depth < 4) {
      line += std::string("if (") + kEnglish[r.below(40)] + " < " + std::to_string(r.below(99)) + ") {";
      ++depth;
    } else if (what == 1 && depth > 0) {
      line = std::string(static_cast<size_t>(--depth) * 4, ' ') + "}";
    } else {
      line += std::string(kEnglish[r.below(40)]) + "_" + kEnglish[r.below(40)] + " = " +
              kEnglish[r.below(40)] + "(" + std::to_string(r.below(1000)) + ", " + kEnglish[r.below(40)] +
              ");";
    }
    y = r.chance(0.12) ? y + size * 1.2 : s.text(line, "DejaVu Sans Mono", size, 50, y, kPageWidth - 80);
  }
}

void chinese(Sheet& s) {
  Random& r = s.random();
  const char* font = r.chance(0.5) ? "Noto Serif CJK SC" : "Noto Sans CJK SC";
  const double size = r.uniform(9.5, 13), margin = r.uniform(50, 80), width = kPageWidth - 2 * margin;
  double y =
      s.text(words(r, kChinese, 4, "", ""), font, size * 1.6, margin, 60, width, Align::kCentre) + size;
  while (y < kPageHeight - 60 - size)
    y = s.text("\u3000\u3000" + words(r, kChinese, 30 + r.below(80), "", "\u3002"), font, size, margin, y,
               width) +
        size * 0.5;
}

void japanese_columns(Sheet& s) {
  Random& r = s.random();
  const char* font = r.chance(0.6) ? "Noto Serif CJK JP" : "Noto Sans CJK JP";
  const double size = r.uniform(10, 13), margin = r.uniform(50, 80), gap = 24;
  const int bands = 1 + r.below(2);
  const double height = (kPageHeight - 2 * margin - (bands - 1) * gap) / bands;
  for (int i = 0; i < bands; ++i) {
    std::string text;
    for (int p = 0; p < 12; ++p)
      text += "\u3000" + words(r, kJapanese, 40 + r.below(60), "", "\u3002") + "\n";
    s.columns(text, font, size, margin, margin + i * (height + gap), kPageWidth - 2 * margin, height);
  }
}

void arabic(Sheet& s) {
  Random& r = s.random();
  const char* font = r.chance(0.6) ? "Amiri" : "DejaVu Sans";
  const double size = r.uniform(11, 15), margin = r.uniform(50, 80), width = kPageWidth - 2 * margin;
  double y =
      s.text(words(r, kArabic, 4, " ", ""), font, size * 1.5, margin, 60, width, Align::kCentre) + size;
  while (y < kPageHeight - 60 - size)
    y = s.text(words(r, kArabic, 30 + r.below(60), " ", "."), font, size, margin, y, width) + size * 0.5;
}

void table(Sheet& s) {
  Random& r = s.random();
  const double margin = 45, size = r.uniform(8, 10.5), row = size * r.uniform(1.6, 2.4);
  const int columns = 4 + r.below(4);
  const double width = (kPageWidth - 2 * margin) / columns;
  const bool grid = r.chance(0.7);
  double y = s.text(english(r, 5), "Liberation Sans", size * 1.6, margin, 50, kPageWidth - 2 * margin) + 12;
  const double top = y, end = r.uniform(450, kPageHeight - 60);
  for (; y + row < end; y += row) {
    for (int c = 0; c < columns; ++c) {
      const std::string cell = c == 0 ? english(r, 2) : std::to_string(r.below(100000) / 100.0).substr(0, 6);
      s.text(cell, "Liberation Sans", size, margin + c * width + 3, y + (row - size * 1.2) / 2, width - 6,
             c == 0 ? Align::kLeft : Align::kRight, y + row, 0.9);
    }
    s.rule(margin, y, kPageWidth - margin, y, grid ? 0.6 : 0.3);
  }
  s.rule(margin, y, kPageWidth - margin, y, 1);
  for (int c = 0; grid && c <= columns; ++c) s.rule(margin + c * width, top, margin + c * width, y, 0.6);
}

void form(Sheet& s) {
  Random& r = s.random();
  const double margin = 50;
  double y = s.text(english(r, 4), "DejaVu Sans Bold", 16, margin, 45, kPageWidth - 2 * margin) + 16;
  while (y < kPageHeight - 110) {
    s.text(english(r, 2), "Liberation Sans", 8.5, margin, y, 110);
    if (r.chance(0.6)) {
      cairo_rectangle(s.cairo(), margin + 120, y - 3, r.uniform(150, 370), 17);
      cairo_set_line_width(s.cairo(), 0.6);
      cairo_stroke(s.cairo());
      if (r.chance(0.6)) s.text(english(r, 3), "DejaVu Sans Mono", 9, margin + 125, y, 200);
    } else {
      for (int i = 0; i < 3; ++i) {
        cairo_rectangle(s.cairo(), margin + 120 + i * 110, y, 9, 9);
        cairo_set_line_width(s.cairo(), 0.6);
        cairo_stroke(s.cairo());
        s.text(kEnglish[r.below(60)], "Liberation Sans", 8.5, margin + 134 + i * 110, y - 1, 90);
      }
    }
    y += r.uniform(24, 44);
  }
  s.rule(margin, kPageHeight - 80, margin + 180, kPageHeight - 80);
  s.text("signature", "Liberation Sans", 7, margin, kPageHeight - 76, 100);
}

void receipt(Sheet& s) {
  Random& r = s.random();
  const double width = r.uniform(190, 250), left = (kPageWidth - width) / 2, size = width / 26;
  double y = s.text(english(r, 2), "DejaVu Sans Mono", size * 1.4, left, 40, width, Align::kCentre) + size;
  const double end = r.uniform(450, kPageHeight - 150);
  while (y < end) {
    const std::string price = std::to_string(1 + r.below(40)) + "." + std::to_string(10 + r.below(90));
    s.text(kEnglish[r.below(60)], "DejaVu Sans Mono", size, left, y, width * 0.6);
    y = s.text(price, "DejaVu Sans Mono", size, left, y, width, Align::kRight);
  }
  s.rule(left, y + 4, left + width, y + 4, 1);
  y = s.text("total " + std::to_string(100 + r.below(900)) + ".00", "DejaVu Sans Mono Bold", size * 1.2, left,
             y + 8, width, Align::kRight);
  s.text(english(r, 6), "DejaVu Sans Mono", size, left, y + size, width, Align::kCentre);
}

void three_lines(Sheet& s) {
  Random& r = s.random();
  const char* const fonts[] = {"Linux Libertine O", "Liberation Sans", "DejaVu Serif"};
  const double x = r.uniform(50, 120), size = r.uniform(11, 16);
  std::string text = english(r, 7) + "\n" + english(r, 8) + "\n" + english(r, 7);
  s.text(text, fonts[r.below(3)], size, x, r.uniform(80, 600), kPageWidth - x);
}

void few_words(Sheet& s) {
  Random& r = s.random();
  s.text(english(r, 2 + r.below(3)), "Liberation Sans", r.uniform(10, 18), r.uniform(60, 200),
         r.uniform(80, 700), 350);
}

// Something without lines of writing: clouds of soft and hard blobs on a wavy ground, in a frame.
void picture(Sheet& s, double x, double y, double width, double height) {
  Random& r = s.random();
  cairo_t* c = s.cairo();
  cairo_save(c);
  cairo_rectangle(c, x, y, width, height);
  cairo_clip(c);
  const double sky = r.uniform(0.5, 0.9);
  cairo_set_source_rgb(c, sky, sky, sky);
  cairo_paint(c);
  for (int i = 0; i < 5; ++i) {  // hills, one before the other
    const double shade = sky * (0.85 - 0.14 * i), base = y + height * (0.35 + 0.13 * i);
    cairo_set_source_rgb(c, shade, shade, shade);
    cairo_move_to(c, x, y + height);
    const double a = r.uniform(0, 6), b = r.uniform(0, 6), f = r.uniform(2, 6) / width;
    for (int k = 0; k <= 80; ++k) {
      const double px = x + width * k / 80.0;
      cairo_line_to(
          c, px, base + height * 0.09 * (std::sin(f * (px - x) + a) + 0.5 * std::sin(3 * f * (px - x) + b)));
    }
    cairo_line_to(c, x + width, y + height);
    cairo_fill(c);
  }
  const int blobs = 30 + r.below(120);
  for (int i = 0; i < blobs; ++i) {
    const double shade = r.uniform(0.05, 0.95), radius = width * r.uniform(0.004, 0.06);
    cairo_save(c);
    cairo_translate(c, x + width * r.uniform(), y + height * r.uniform(0.2, 1));
    cairo_rotate(c, r.uniform(0, 3.14159));
    cairo_scale(c, radius, radius * r.uniform(0.3, 1));
    cairo_arc(c, 0, 0, 1, 0, 6.2831853);
    cairo_restore(c);
    cairo_set_source_rgba(c, shade, shade, shade, r.uniform(0.3, 1));
    cairo_fill(c);
  }
  cairo_restore(c);
  cairo_set_source_rgb(c, 0.08, 0.08, 0.08);
}

void mixed(Sheet& s) {
  Random& r = s.random();
  const double margin = 50, size = r.uniform(9, 11), width = kPageWidth - 2 * margin;
  double y = s.text(english(r, 5), "Linux Libertine O", size * 2, margin, 45, width) + 10;
  const double height = r.uniform(180, 380);
  picture(s, margin, y, width, height);
  y = s.text(english(r, 12), "Linux Libertine O Italic", size * 0.9, margin, y + height + 6, width) + size;
  while (y < kPageHeight - 60 - size)
    y = s.text(latin(r, 50), "Linux Libertine O", size, margin, y, width, Align::kJustify) + size * 0.5;
}

// A photograph that fills the sheet and more, so that neither frame nor border gives the angle away.
void pictures(Sheet& s) {
  picture(s, -kPageHeight, -kPageHeight, 3 * kPageHeight, 3 * kPageHeight);
  Random& r = s.random();
  cairo_t* c = s.cairo();
  for (int i = 0; i < 400; ++i) {
    const double shade = r.uniform(0.05, 0.95), radius = r.uniform(2, 40);
    cairo_set_source_rgba(c, shade, shade, shade, r.uniform(0.2, 0.9));
    cairo_move_to(c, r.uniform(-200, 800), r.uniform(-200, 1000));
    for (int k = 0; k < 3; ++k)
      cairo_rel_curve_to(c, radius * r.normal(), radius * r.normal(), radius * r.normal(),
                         radius * r.normal(), radius * r.normal(), radius * r.normal());
    if (r.chance(0.5)) cairo_fill(c);
    cairo_set_line_width(c, r.uniform(0.5, 4));
    cairo_stroke(c);
  }
}

}  // namespace

const char* name_of(Kind kind) {
  static const char* const names[] = {
      "serif", "sans",    "listing",     "chinese rows",     "japanese columns", "arabic",        "table",
      "form",  "receipt", "three lines", "text and picture", "few words",        "picture alone", "blank"};
  return names[static_cast<int>(kind)];
}

void draw_page(cairo_t* cairo, Kind kind, uint64_t seed) {
  Sheet sheet(cairo, seed);
  switch (kind) {
    case Kind::kSerif:
      return serif(sheet);
    case Kind::kSans:
      return sans(sheet);
    case Kind::kListing:
      return listing(sheet);
    case Kind::kChinese:
      return chinese(sheet);
    case Kind::kJapaneseColumns:
      return japanese_columns(sheet);
    case Kind::kArabic:
      return arabic(sheet);
    case Kind::kTable:
      return table(sheet);
    case Kind::kForm:
      return form(sheet);
    case Kind::kReceipt:
      return receipt(sheet);
    case Kind::kThreeLines:
      return three_lines(sheet);
    case Kind::kMixed:
      return mixed(sheet);
    case Kind::kFewWords:
      return few_words(sheet);
    case Kind::kPictures:
      return pictures(sheet);
    case Kind::kBlank:
      return;
  }
}

}  // namespace accuracy
