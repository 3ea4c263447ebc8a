// hOCR keeps its numbers in the title attribute, ALTO in attributes of their own; PAGE stays as it is but for
// the page's angle and the name of the level image.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <sstream>

#include "files/failure.h"
#include "files/map_formats.h"

namespace files {

namespace {

std::string* find(XmlAttributes& attributes, const char* name) {
  for (auto& [key, value] : attributes)
    if (key == name) return &value;
  return nullptr;
}

// A whole text as one number.
std::optional<double> number(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  const bool good = end != text.c_str() && *end == 0 && std::fabs(value) < kFarthest;
  return good ? std::optional<double>(value) : std::nullopt;
}

// All numbers of a text, separated by blanks or commas. Throws Failure for anything else.
std::vector<double> numbers(const std::string& text) {
  std::string blanks = text;
  for (char& c : blanks)
    if (c == ',') c = ' ';
  std::vector<double> all;
  std::istringstream words(blanks);
  for (std::string word; words >> word;) {
    const auto value = number(word);
    if (!value) throw Failure("has a number that is none: \"" + word.substr(0, 40) + "\"");
    all.push_back(*value);
  }
  return all;
}

class Editor : public XmlEditor {
 public:
  explicit Editor(PageOrder& order) : order_(order) {}

 protected:
  const BoxMap& map() const {
    if (!map_) throw Failure("has boxes outside of a page");
    return *map_;
  }
  std::string shown(double value) const { return coordinate(value, order_.whole()); }
  void begin_page(double width, double height) { map_ = order_.next(width, height); }

  // Points in the form of the text: "x,y x,y" or "x y x y".
  std::string moved_points(const std::string& text) const {
    const bool commas = text.find(',') != std::string::npos;
    const auto xy = numbers(text);
    if (xy.size() % 2 != 0) throw Failure("has points with an odd number of coordinates");
    std::string moved;
    for (size_t i = 0; i < xy.size(); i += 2) {
      const Point p = map().point({xy[i], xy[i + 1]});
      moved += (i > 0 ? " " : "") + shown(p.x) + (commas ? "," : " ") + shown(p.y);
    }
    return moved;
  }

  PageOrder& order_;

 private:
  std::optional<BoxMap> map_;
};

class HocrEditor : public Editor {
 public:
  using Editor::Editor;

  bool start(const std::string& /*element*/, XmlAttributes& attributes) override {
    std::string* title = find(attributes, "title");
    const std::string* kind = find(attributes, "class");
    if (title && kind && kind->compare(0, 3, "ocr") == 0) *title = edited(*title, *kind);
    return true;
  }

 private:
  using Properties = std::vector<std::pair<std::string, std::string>>;  // name and what follows it

  // "bbox 0 0 9 9; image "a;b.png"": a semicolon inside quotes is none.
  static Properties split(const std::string& title) {
    Properties all;
    std::string part;
    bool quoted = false;
    const auto add = [&] {
      const size_t begin = part.find_first_not_of(" \t\n"), end = part.find_last_not_of(" \t\n");
      if (begin == std::string::npos) return;
      const std::string whole = part.substr(begin, end - begin + 1);
      const size_t blank = whole.find(' ');
      all.emplace_back(whole.substr(0, blank), blank == std::string::npos ? "" : whole.substr(blank + 1));
    };
    for (const char c : title) {
      quoted = quoted != (c == '"');
      if (c == ';' && !quoted) {
        add();
        part.clear();
      } else {
        part += c;
      }
    }
    add();
    return all;
  }

  std::string edited(const std::string& title, const std::string& kind) {
    Properties properties = split(title);
    std::string* bbox = find(properties, "bbox");
    if (kind == "ocr_page") start_page(bbox, properties);
    if (bbox && kind != "ocr_page") move_box(kind, *bbox, find(properties, "baseline"));
    if (std::string* poly = find(properties, "poly")) *poly = moved_points(*poly);
    if (std::string* boxes = find(properties, "x_bboxes")) *boxes = moved_boxes(*boxes);
    std::string joined;
    for (const auto& [name, rest] : properties)
      joined += (joined.empty() ? "" : "; ") + name + (rest.empty() ? "" : " " + rest);
    return joined;
  }

  void start_page(std::string* bbox, Properties& properties) {
    const auto xy = bbox ? numbers(*bbox) : std::vector<double>();
    if (bbox && (xy.size() != 4 || xy[0] != 0 || xy[1] != 0))
      throw Failure("has a page that does not start at 0 0");
    begin_page(bbox ? xy[2] : 0, bbox ? xy[3] : 0);
    if (bbox)
      *bbox = "0 0 " + std::to_string(map().width_after()) + " " + std::to_string(map().height_after());
    std::string* image = find(properties, "image");
    if (image && !order_.image().empty()) *image = "\"" + order_.image() + "\"";
  }

  std::string shown(const Box& b) const {
    return Editor::shown(b.left) + " " + Editor::shown(b.top) + " " + Editor::shown(b.right) + " " +
           Editor::shown(b.bottom);
  }

  static Box box_of(const std::vector<double>& xy, size_t at) {
    if (xy.size() < at + 4) throw Failure("has a box without four numbers");
    return {xy[at], xy[at + 1], xy[at + 2], xy[at + 3]};
  }

  // A baseline is a slope and the height of its left end above the lower edge (as a negative number).
  void move_box(const std::string& kind, std::string& bbox, std::string* baseline) {
    const Box box = box_of(numbers(bbox), 0);
    const auto line = baseline ? numbers(*baseline) : std::vector<double>();
    if (line.size() != 2) {
      bbox = shown(kind == "ocr_line" ? map().line(box) : map().box(box));
      return;
    }
    Point first = {box.left, box.bottom + line[1]};
    Point last = {box.right, first.y + line[0] * (box.right - box.left)};
    if (box.right <= box.left) last = {first.x + 1, first.y + line[0]};
    const Box moved = map().line(box, first, last);
    const double slope = (last.y - first.y) / (last.x - first.x);
    std::ostringstream text;
    text.precision(order_.whole() ? 3 : 10);
    text << slope << " ";
    bbox = shown(moved);
    *baseline = text.str() + Editor::shown(first.y + slope * (moved.left - first.x) - moved.bottom);
  }

  std::string moved_boxes(const std::string& boxes) const {
    const auto xy = numbers(boxes);
    std::string all;
    for (size_t i = 0; i < xy.size(); i += 4) all += (i > 0 ? " " : "") + shown(map().box(box_of(xy, i)));
    return all;
  }
};

class AltoEditor : public Editor {
 public:
  using Editor::Editor;

  bool start(const std::string& element, XmlAttributes& attributes) override {
    if (element == "Page") {
      start_page(attributes);
    } else if (element == "Polygon") {
      if (std::string* points = find(attributes, "POINTS")) *points = moved_points(*points);
    } else if (find(attributes, "HPOS") || find(attributes, "VPOS")) {
      move(element, attributes);
    }
    return true;
  }

  void text(const std::string& element, std::string& text) override {
    if (element == "MeasurementUnit" && text.find_first_not_of(" \t\r\n") != std::string::npos &&
        text.find("pixel") == std::string::npos)
      throw Failure("measures in " + text.substr(0, 20) + ", not in pixels");
    // The name of the image stands before the page; there is one image for each document.
    if (element == "fileName" && !named_.empty()) text = named_;
  }

  void name_image(const std::string& name) { named_ = name; }

 private:
  void start_page(XmlAttributes& attributes) {
    std::string *width = find(attributes, "WIDTH"), *height = find(attributes, "HEIGHT");
    begin_page(size_of(width), size_of(height));
    if (width) *width = std::to_string(map().width_after());
    if (height) *height = std::to_string(map().height_after());
  }

  static double size_of(const std::string* text) {
    const auto size = text ? number(*text) : std::optional<double>(0.0);
    if (!size) throw Failure("has a page with a size that is no number");
    return *size;
  }

  void move(const std::string& element, XmlAttributes& attributes) {
    std::string* texts[4];
    double values[4];
    static const char* const kNames[] = {"HPOS", "VPOS", "WIDTH", "HEIGHT"};
    for (int i = 0; i < 4; ++i) {
      texts[i] = find(attributes, kNames[i]);
      const auto value = texts[i] ? number(*texts[i]) : std::optional<double>(0.0);
      if (!value) throw Failure(std::string("has a ") + kNames[i] + " that is no number");
      values[i] = *value;
    }
    const Box box = {values[0], values[1], values[0] + values[2], values[1] + values[3]};
    const Box moved = element == "TextLine" ? move_line(box, find(attributes, "BASELINE")) : map().box(box);
    const double after[] = {moved.left, moved.top, moved.right - moved.left, moved.bottom - moved.top};
    for (int i = 0; i < 4; ++i)
      if (texts[i]) *texts[i] = shown(after[i]);
  }

  // A baseline is a line of points, or in older documents the height of a level one.
  Box move_line(const Box& box, std::string* baseline) const {
    if (!baseline) return map().line(box);
    const auto xy = numbers(*baseline);
    if (xy.size() == 1) {
      *baseline = shown(map().point({(box.left + box.right) / 2, xy[0]}).y);
      return map().line(box);
    }
    if (xy.size() < 4) return map().line(box);
    Point first = {xy[0], xy[1]}, last = {xy[xy.size() - 2], xy[xy.size() - 1]};
    *baseline = moved_points(*baseline);
    return map().line(box, first, last);
  }

  std::string named_;
};

class PageEditor : public Editor {
 public:
  PageEditor(PageOrder& order, bool back) : Editor(order), back_(back) {}

  bool start(const std::string& element, XmlAttributes& attributes) override {
    page_begins_ = element == "Page";
    if (element == "AlternativeImage" && back_) {
      const std::string* comments = find(attributes, "comments");
      return !(comments && *comments == kComment);
    }
    if (page_begins_) start_page(attributes);
    return true;
  }

  std::string insert(XmlAttributes& inserted) override {
    if (!page_begins_ || back_) return "";
    inserted = {{"filename", order_.image()}, {"comments", kComment}};
    return "AlternativeImage";
  }

 private:
  static constexpr const char* kComment = "deskewed";

  // PAGE gives the angle by which the page is to be turned clockwise. Its coordinates are those of the source,
  // so it has the source's size either way.
  void start_page(XmlAttributes& attributes) {
    std::string *width = find(attributes, "imageWidth"), *height = find(attributes, "imageHeight");
    const BoxMap map = order_.next(0, 0);
    const int wide = back_ ? map.width_after() : map.width_before();
    const int high = back_ ? map.height_after() : map.height_before();
    if ((width && number(*width) != wide) || (height && number(*height) != high))
      throw Failure("is of a page of " + (width ? *width : "?") + " x " + (height ? *height : "?") +
                    " pixels, the sidecar of one of " + std::to_string(wide) + " x " + std::to_string(high));
    std::string* orientation = find(attributes, "orientation");
    const double before = orientation ? number(*orientation).value_or(0.0) : 0.0;
    const double after = before + (back_ ? map.angle() : -map.angle());
    if (!orientation) attributes.emplace_back("orientation", "");
    *find(attributes, "orientation") = coordinate(after, false);
    if (back_ && std::fabs(after) < 0.001)
      attributes.erase(std::find_if(attributes.begin(), attributes.end(),
                                    [](const auto& a) { return a.first == "orientation"; }));
  }

  const bool back_;
  bool page_begins_ = false;
};

}  // namespace

std::unique_ptr<XmlEditor> hocr_editor(PageOrder& order) { return std::make_unique<HocrEditor>(order); }

std::unique_ptr<XmlEditor> alto_editor(PageOrder& order) {
  auto editor = std::make_unique<AltoEditor>(order);
  editor->name_image(order.only_image());
  return editor;
}

std::unique_ptr<XmlEditor> page_editor(PageOrder& order) {
  return std::make_unique<PageEditor>(order, order.back());
}

}  // namespace files
