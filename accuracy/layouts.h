// Draws pages of many kinds with Pango and Cairo: fonts, scripts, tables, forms, pictures and empty sheets.
#pragma once

#include <cairo.h>

#include "accuracy/image.h"

namespace accuracy {

enum class Kind {
  kSerif,
  kSans,
  kListing,
  kChinese,
  kJapaneseColumns,
  kArabic,
  kTable,
  kForm,
  kReceipt,
  kThreeLines,
  kMixed,
  kFewWords,
  kPictures,
  kBlank
};
constexpr Kind kAllKinds[] = {Kind::kSerif,           Kind::kSans,       Kind::kListing, Kind::kChinese,
                              Kind::kJapaneseColumns, Kind::kArabic,     Kind::kTable,   Kind::kForm,
                              Kind::kReceipt,         Kind::kThreeLines, Kind::kMixed,   Kind::kFewWords,
                              Kind::kPictures,        Kind::kBlank};

const char* name_of(Kind kind);

// True for the kinds that hold three or more lines of text.
constexpr bool has_lines(Kind kind) { return kind < Kind::kFewWords; }

// A page is 595 x 842 units (A4 in points), upright; the same seed draws the same page.
constexpr double kPageWidth = 595, kPageHeight = 842;
void draw_page(cairo_t* cairo, Kind kind, uint64_t seed);

}  // namespace accuracy
