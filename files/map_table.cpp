// Tables: a heading that names the columns, then a row for each box. Fields that are not moved keep their text.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <optional>

#include "files/failure.h"
#include "files/map_formats.h"

namespace files {

namespace {

constexpr size_t kLongestRow = size_t{1} << 24;

struct Columns {
  int at[4] = {-1, -1, -1, -1};
  bool sizes = false;  // the last two are width and height, not right and bottom
  int level = -1, page = -1;
};

class Table {
 public:
  Table(const std::string& from, const std::string& to, PageOrder& order)
      : in_(from, std::ios::binary), out_(to, std::ios::binary), order_(order) {}

  void run() {
    std::string row;
    if (!in_ || !next(row)) throw Failure("is empty");
    separator_ = row.find('\t') != std::string::npos ? '\t' : row.find(';') != std::string::npos ? ';' : ',';
    read_heading(split(row));
    out_ << row << '\n';
    while (next(row)) {
      auto fields = split(row);
      if (!row.empty()) move(fields);
      for (size_t i = 0; i < fields.size(); ++i)
        out_ << (i > 0 ? std::string(1, separator_) : "") << fields[i];
      out_ << '\n';
    }
    out_.close();
    if (!out_) throw Failure("cannot be written");
  }

 private:
  // A row, with the line ends inside its quotes. Tables separated by tabs have no quotes.
  bool next(std::string& row) {
    row.clear();
    for (std::string line; std::getline(in_, line);) {
      row += line;
      const bool open = separator_ != '\t' && std::count(row.begin(), row.end(), '"') % 2 != 0;
      if (!open) return true;
      if (row.size() > kLongestRow) break;
      row += '\n';
    }
    if (!row.empty()) throw Failure("has a quote without end");
    return false;
  }

  std::vector<std::string> split(const std::string& row) const {
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (const char c : row) {
      quoted = quoted != (c == '"' && separator_ != '\t');
      if (c == separator_ && !quoted)
        fields.emplace_back();
      else
        fields.back() += c;
    }
    return fields;
  }

  static std::string plain(std::string field) {
    field.erase(std::remove_if(field.begin(), field.end(),
                               [](unsigned char c) { return c == '"' || std::isspace(c); }),
                field.end());
    std::transform(field.begin(), field.end(), field.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    return field;
  }

  void read_heading(const std::vector<std::string>& fields) {
    static const struct {
      const char* names[4];
      bool sizes;
    } kKnown[] = {{{"left", "top", "width", "height"}, true},
                  {{"left", "top", "right", "bottom"}, false},
                  {{"x0", "y0", "x1", "y1"}, false},
                  {{"x1", "y1", "x2", "y2"}, false},
                  {{"xmin", "ymin", "xmax", "ymax"}, false},
                  {{"x", "y", "width", "height"}, true},
                  {{"x", "y", "w", "h"}, true}};
    const auto column = [&](const char* name) {
      for (size_t i = 0; i < fields.size(); ++i)
        if (plain(fields[i]) == name) return static_cast<int>(i);
      return -1;
    };
    for (const auto& known : kKnown) {
      Columns found;
      for (int i = 0; i < 4; ++i) found.at[i] = column(known.names[i]);
      found.sizes = known.sizes;
      if (std::count(found.at, found.at + 4, -1) > 0) continue;
      columns_ = found;
      columns_.level = column("level");
      columns_.page = column("page_num");
      return;
    }
    throw Failure(
        "is neither hOCR, ALTO, PAGE nor a table with a heading (left, top, width, height, or "
        "left, top, right, bottom, or x0, y0, x1, y1)");
  }

  static double value(const std::string& field) {
    const std::string text = plain(field);
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != 0 || !(std::fabs(number) < kFarthest))
      throw Failure("has a box with a number that is none: \"" + field.substr(0, 40) + "\"");
    return number;
  }

  void move(std::vector<std::string>& fields) {
    const int last =
        std::max({*std::max_element(columns_.at, columns_.at + 4), columns_.level, columns_.page});
    if (static_cast<int>(fields.size()) <= last) throw Failure("has a row without its box");
    double v[4];
    for (int i = 0; i < 4; ++i) v[i] = value(fields[columns_.at[i]]);
    Box box = {v[0], v[1], columns_.sizes ? v[0] + v[2] : v[2], columns_.sizes ? v[1] + v[3] : v[3]};
    // Tesseract's tables have rows for pages (1) and lines (4), too.
    const double level = columns_.level >= 0 ? value(fields[columns_.level]) : 5;
    const std::string page = columns_.page >= 0 ? fields[columns_.page] : "";
    if (!map_ || page != page_) map_ = order_.next(level == 1 ? box.right : 0, level == 1 ? box.bottom : 0);
    page_ = page;
    if (level == 1)
      box = {0, 0, double(map_->width_after()), double(map_->height_after())};
    else
      box = level == 4 ? map_->line(box) : map_->box(box);
    const double after[] = {box.left, box.top, columns_.sizes ? box.right - box.left : box.right,
                            columns_.sizes ? box.bottom - box.top : box.bottom};
    for (int i = 0; i < 4; ++i) fields[columns_.at[i]] = coordinate(after[i], order_.whole());
  }

  std::ifstream in_;
  std::ofstream out_;
  PageOrder& order_;
  char separator_ = ',';
  Columns columns_;
  std::optional<BoxMap> map_;
  std::string page_;
};

}  // namespace

void map_table(const std::string& from, const std::string& to, PageOrder& order) {
  Table(from, to, order).run();
}

}  // namespace files
