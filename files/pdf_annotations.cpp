// An appearance is wrapped in a small form that draws it turned, rather than changed: appearances are often
// shared between annotations, and pages turn by angles of their own. The form's box is the annotation's
// rectangle, so that viewers have nothing to scale.
#include "files/pdf_annotations.h"

#include <algorithm>
#include <cmath>
#include <qpdf/QUtil.hh>
#include <set>

namespace files {

namespace {

using Object = QPDFObjectHandle;
using Rectangle = Object::Rectangle;

enum class Kind { kTurned, kMoved, kLeft };

Kind kind_of(Object annotation) {
  static const std::set<std::string> kMovedKinds = {"/Widget", "/Text", "/FileAttachment", "/Sound", "/Movie",
                                                    "/Screen", "/3D",   "/RichMedia"};
  static const std::set<std::string> kLeftKinds = {"/Popup", "/PrinterMark", "/TrapNet", "/Watermark"};
  Object subtype = annotation.getKey("/Subtype");
  if (!subtype.isName() || kLeftKinds.count(subtype.getName()) > 0) return Kind::kLeft;
  return kMovedKinds.count(subtype.getName()) > 0 ? Kind::kMoved : Kind::kTurned;
}

bool has_area(const Rectangle& r) { return r.urx > r.llx && r.ury > r.lly; }

Rectangle in_order(const Rectangle& r) {
  return {std::min(r.llx, r.urx), std::min(r.lly, r.ury), std::max(r.llx, r.urx), std::max(r.lly, r.ury)};
}

Object number(double value) { return Object::newReal(value, 5); }

// With its box, a turned shape must not lose an edge to rounding.
Rectangle box_around(const QPDFMatrix& turn, const Rectangle& r) {
  constexpr double kSteps = 1e4;
  const Rectangle box = turn.transformRectangle(r);
  return {std::floor(box.llx * kSteps) / kSteps, std::floor(box.lly * kSteps) / kSteps,
          std::ceil(box.urx * kSteps) / kSteps, std::ceil(box.ury * kSteps) / kSteps};
}

Object rectangle(const Rectangle& r) {
  Object array = Object::newArray();
  for (double value : {r.llx, r.lly, r.urx, r.ury}) array.appendItem(number(value));
  return array;
}

Rectangle moved(const QPDFMatrix& turn, const Rectangle& r) {
  const double x = (r.llx + r.urx) / 2, y = (r.lly + r.ury) / 2;
  double to_x, to_y;
  turn.transform(x, y, to_x, to_y);
  return {r.llx + to_x - x, r.lly + to_y - y, r.urx + to_x - x, r.ury + to_y - y};
}

// A list of x y x y ..., or of such lists; null if it holds anything else.
Object turned_points(Object points, const QPDFMatrix& turn, bool nested) {
  if (!points.isArray()) return Object::newNull();
  Object result = Object::newArray();
  auto items = points.getArrayAsVector();
  if (nested && !items.empty() && items[0].isArray()) {
    for (auto& item : items) {
      Object inner = turned_points(item, turn, false);
      if (inner.isNull()) return inner;
      result.appendItem(inner);
    }
    return result;
  }
  const bool numbers = std::all_of(items.begin(), items.end(), [](Object& item) { return item.isNumber(); });
  if (!numbers || items.size() % 2 != 0) return Object::newNull();
  for (size_t i = 0; i < items.size(); i += 2) {
    double x, y;
    turn.transform(items[i].getNumericValue(), items[i + 1].getNumericValue(), x, y);
    result.appendItem(number(x));
    result.appendItem(number(y));
  }
  return result;
}

// A link without corners of its own gets those of its rectangle, or it would lose its slant.
Object corners(const Rectangle& r) {
  Object points = Object::newArray();
  for (double value : {r.llx, r.ury, r.urx, r.ury, r.llx, r.lly, r.urx, r.lly})
    points.appendItem(number(value));
  return points;
}

std::string six(const QPDFMatrix& m) {
  std::string text;
  for (double value : {m.a, m.b, m.c, m.d}) text += QUtil::double_to_string(value, 9) + " ";
  return text + QUtil::double_to_string(m.e, 6) + " " + QUtil::double_to_string(m.f, 6);
}

// A form that shows an appearance as a viewer would in the rectangle from, turned; null if viewers would not
// show it at all.
Object turned_appearance(QPDF& pdf, Object stream, const Rectangle& from, const Rectangle& to,
                         const QPDFMatrix& turn) {
  Object dict = stream.getDict(), box = dict.getKey("/BBox"), own = dict.getKey("/Matrix");
  if (!box.isRectangle()) return Object::newNull();
  const QPDFMatrix matrix = own.isMatrix() ? QPDFMatrix(own.getArrayAsMatrix()) : QPDFMatrix();
  const Rectangle shown = matrix.transformRectangle(box.getArrayAsRectangle());
  if (!has_area(shown)) return Object::newNull();
  const double wide = (from.urx - from.llx) / (shown.urx - shown.llx);
  const double high = (from.ury - from.lly) / (shown.ury - shown.lly);
  QPDFMatrix place = turn;
  place.concat(QPDFMatrix(wide, 0, 0, high, from.llx - wide * shown.llx, from.lly - high * shown.lly));

  Object form = pdf.newStream("q " + six(place) + " cm /A Do Q\n");
  Object resources = Object::newDictionary(), objects = Object::newDictionary();
  objects.replaceKey("/A", stream);
  resources.replaceKey("/XObject", objects);
  form.getDict().replaceKey("/Type", Object::newName("/XObject"));
  form.getDict().replaceKey("/Subtype", Object::newName("/Form"));
  form.getDict().replaceKey("/BBox", rectangle(to));
  form.getDict().replaceKey("/Resources", resources);
  return form;
}

// The appearance dictionary with each of its streams turned; null if there is none.
Object turned_appearances(QPDF& pdf, Object appearances, const Rectangle& from, const Rectangle& to,
                          const QPDFMatrix& turn) {
  if (!appearances.isDictionary() || !has_area(from)) return Object::newNull();
  const auto turned = [&](const Object& stream) {
    Object form = turned_appearance(pdf, stream, from, to, turn);
    return form.isNull() ? stream : form;
  };
  Object result = Object::newDictionary();
  for (auto& [key, value] : appearances.getDictAsMap()) {
    Object entry = value;
    if (value.isStream()) {
      entry = turned(value);
    } else if (value.isDictionary()) {
      entry = Object::newDictionary();
      for (auto& [state, stream] : value.getDictAsMap())
        entry.replaceKey(state, stream.isStream() ? turned(stream) : stream);
    }
    result.replaceKey(key, entry);
  }
  return result;
}

// Where an annotation lies after the turn.
PdfKeys turned_places(Object annotation, const QPDFMatrix& turn) {
  PdfKeys keys;
  const Rectangle from = in_order(annotation.getKey("/Rect").getArrayAsRectangle());
  if (kind_of(annotation) == Kind::kMoved) {
    if (has_area(from)) keys["/Rect"] = rectangle(moved(turn, from));
    return keys;
  }
  keys["/Rect"] = rectangle(box_around(turn, from));
  for (const char* key : {"/QuadPoints", "/Vertices", "/L", "/CL", "/InkList", "/Path"}) {
    Object points = turned_points(annotation.getKey(key), turn, true);
    if (!points.isNull()) keys[key] = points;
  }
  if (annotation.getKey("/Subtype").isNameAndEquals("/Link") && !annotation.hasKey("/QuadPoints"))
    keys["/QuadPoints"] = turned_points(corners(from), turn, false);
  return keys;
}

bool same_place(Object a, Object b) {
  if (!a.isRectangle() || !b.isRectangle()) return false;
  const Rectangle p = a.getArrayAsRectangle(), q = b.getArrayAsRectangle();
  return std::fabs(p.llx - q.llx) + std::fabs(p.lly - q.lly) + std::fabs(p.urx - q.urx) +
             std::fabs(p.ury - q.ury) <
         0.01;
}

QPDFMatrix inverse(const QPDFMatrix& m) {  // of a rotation
  return {m.a, m.c, m.b, m.d, -(m.a * m.e + m.b * m.f), -(m.c * m.e + m.d * m.f)};
}

}  // namespace

std::vector<Object> annotations_of(QPDF& pdf, Object page) {
  std::vector<Object> found;
  Object all = page.getKey("/Annots");
  if (!all.isArray()) return found;
  for (int i = 0; i < all.getArrayNItems(); ++i) {
    Object annotation = all.getArrayItem(i);
    if (!annotation.isDictionary() || !annotation.getKey("/Rect").isRectangle()) continue;
    if (kind_of(annotation) == Kind::kLeft) continue;
    if (!annotation.isIndirect()) {
      annotation = pdf.makeIndirectObject(annotation);
      all.setArrayItem(i, annotation);
    }
    found.push_back(annotation);
  }
  return found;
}

void turn_annotation(QPDF& pdf, Object annotation, const QPDFMatrix& turn) {
  PdfKeys keys = turned_places(annotation, turn);
  if (kind_of(annotation) == Kind::kTurned) {
    const Rectangle from = in_order(annotation.getKey("/Rect").getArrayAsRectangle());
    Object appearances =
        turned_appearances(pdf, annotation.getKey("/AP"), from, box_around(turn, from), turn);
    if (!appearances.isNull()) keys["/AP"] = appearances;
  }
  change_keys(annotation, keys);
}

void return_annotation(Object annotation, const QPDFMatrix& turn) {
  const PdfKeys was = kept_keys(annotation);
  PdfKeys now;
  for (auto& [key, value] : was)
    if (key != "/AP") now[key] = annotation.getKey(key);
  restore_keys(annotation);
  if (now.count("/Rect") == 0 || !annotation.getKey("/Rect").isRectangle()) return;
  if (same_place(now["/Rect"], turned_places(annotation, turn)["/Rect"])) return;
  for (auto& [key, value] : now) annotation.replaceKey(key, value);
  if (!now["/Rect"].isRectangle()) return;
  for (auto& [key, value] : turned_places(annotation, inverse(turn))) annotation.replaceKey(key, value);
}

}  // namespace files
