// A page's content is put between two small streams of our own: the first saves the graphics state, turns about
// the centre of the visible box and clips to that box, so that what it hid stays hidden; the second restores.
// The content itself is not touched, whoever shares it; a form around it would be simpler, but would cut the
// ties between a tagged page and its structure. What does not follow the matrix is turned by itself:
// annotations, patterns (they hang on the page, not on the matrix) and the boxes of the structure tree.
// Every changed dictionary keeps what it was (pdf_change.h), so undo is exact.
#include "files/pdf_level.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFMatrix.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>
#include <qpdf/QUtil.hh>
#include <set>
#include <vector>

#include "files/failure.h"
#include "files/pdf_annotations.h"
#include "files/pdf_change.h"
#include "files/pdf_content.h"
#include "files/pdf_structure.h"

namespace files {

namespace {

using Object = QPDFObjectHandle;
using Rectangle = Object::Rectangle;

constexpr double kPi = 3.14159265358979323846;
constexpr double kLongestSide = 12000;  // pixels
constexpr double kLeastTurn = 0.0005;   // degrees: less than a pixel on any page

// The library's words, without the file's name and the place in it.
Failure unreadable(const std::exception& error) {
  const auto* pdf_error = dynamic_cast<const QPDFExc*>(&error);
  if (pdf_error && pdf_error->getErrorCode() == qpdf_e_password)
    return Failure("is protected: its password is needed (--password)");
  std::string text = pdf_error ? pdf_error->getMessageDetail() : error.what();
  std::replace(text.begin(), text.end(), '\n', ' ');
  return Failure("is damaged (" + text.substr(0, 160) + ")");
}

bool boxed(Object box, Rectangle& into) {
  if (!box.isRectangle()) return false;
  const Rectangle r = box.getArrayAsRectangle();
  into = {std::min(r.llx, r.urx), std::min(r.lly, r.ury), std::max(r.llx, r.urx), std::max(r.lly, r.ury)};
  return true;
}

// The part of the page that viewers show.
bool visible_box(QPDFPageObjectHelper page, Rectangle& box) {
  Rectangle media, crop;
  if (!boxed(page.getMediaBox(), media)) return false;
  box = media;
  if (boxed(page.getCropBox(), crop))
    box = {std::max(crop.llx, media.llx), std::max(crop.lly, media.lly), std::min(crop.urx, media.urx),
           std::min(crop.ury, media.ury)};
  return box.urx - box.llx > 1e-3 && box.ury - box.lly > 1e-3;
}

// Counter-clockwise about the centre of a box, y upwards: the turn that levels lines at this angle.
QPDFMatrix turn_about(const Rectangle& box, double degrees) {
  const double x = (box.llx + box.urx) / 2, y = (box.lly + box.ury) / 2;
  const double c = std::cos(degrees * kPi / 180), s = std::sin(degrees * kPi / 180);
  return {c, s, -s, c, x - c * x + s * y, y - s * x - c * y};
}

std::string written(std::initializer_list<double> numbers, int digits) {
  std::string text;
  for (double number : numbers) text += QUtil::double_to_string(number, digits) + " ";
  return text;
}

std::string repeated(const char* text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

bool is_mark(Object stream) { return stream.isStream() && stream.getDict().hasKey(kPdfMark); }

Object marked_stream(QPDF& pdf, const std::string& content) {
  Object stream = pdf.newStream(content);
  stream.getDict().replaceKey(kPdfMark, Object::newBool(true));
  return stream;
}

std::vector<Object> parts_of(Object contents) {
  if (contents.isArray()) return contents.getArrayAsVector();
  return contents.isStream() ? std::vector<Object>{contents} : std::vector<Object>{};
}

bool same_parts(const std::vector<Object>& a, const std::vector<Object>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const Object& x, const Object& y) { return x.getObjGen() == y.getObjGen(); });
}

// Whether a signature field among these, or below them, has been signed.
bool any_signed(const Object& fields) {
  std::set<QPDFObjGen> seen;
  std::vector<std::pair<Object, bool>> waiting;  // fields, and whether they inherit the type of a signature
  const auto add = [&](Object list, bool signs) {
    if (!list.isArray()) return;
    for (auto& field : list.getArrayAsVector()) waiting.emplace_back(field, signs);
  };
  add(fields, false);
  while (!waiting.empty()) {
    auto [field, inherited] = waiting.back();
    waiting.pop_back();
    if (!field.isDictionary() || (field.isIndirect() && !seen.insert(field.getObjGen()).second)) continue;
    Object type = field.getKey("/FT");
    const bool signs = type.isNull() ? inherited : type.isNameAndEquals("/Sig");
    if (signs && field.getKey("/V").isDictionary()) return true;
    add(field.getKey("/Kids"), signs);
  }
  return false;
}

Object as_array(const QPDFMatrix& m) {
  Object array = Object::newArray();
  for (double value : {m.a, m.b, m.c, m.d}) array.appendItem(Object::newReal(value, 9));
  for (double value : {m.e, m.f}) array.appendItem(Object::newReal(value, 6));
  return array;
}

// The turn that a page carries from an earlier run; false if it has none that can be found again.
bool turn_on(Object page, QPDFMatrix& turn) {
  Object record = page.getKey(kPdfMark);
  if (!record.isDictionary() || !record.getKey("/Matrix").isMatrix()) return false;
  turn = QPDFMatrix(record.getKey("/Matrix").getArrayAsMatrix());
  const auto parts = parts_of(page.getKey("/Contents"));
  return std::count_if(parts.begin(), parts.end(), is_mark) == 2;
}

double degrees_of(const QPDFMatrix& turn) { return std::atan2(turn.b, turn.a) * 180 / kPi; }

// The parts of a page's content that are not ours.
std::vector<Object> own_parts(Object page) {
  auto parts = parts_of(page.getKey("/Contents"));
  parts.erase(std::remove_if(parts.begin(), parts.end(), is_mark), parts.end());
  return parts;
}

// Resources with the patterns of these names turned; null if none of them is found.
Object turned_patterns(Object resources, const std::set<std::string>& names, const QPDFMatrix& turn) {
  Object patterns = resources.isDictionary() ? resources.getKey("/Pattern") : Object::newNull();
  if (!patterns.isDictionary() || names.empty()) return Object::newNull();
  Object turned = patterns.shallowCopy();
  for (const auto& name : names) {
    Object pattern = patterns.getKey(name);
    if (!pattern.isStream() && !pattern.isDictionary()) continue;
    Object copy = pattern.isStream() ? pattern.copyStream() : pattern.shallowCopy();
    Object dict = copy.isStream() ? copy.getDict() : copy;
    QPDFMatrix matrix = turn;
    if (dict.getKey("/Matrix").isMatrix())
      matrix.concat(QPDFMatrix(dict.getKey("/Matrix").getArrayAsMatrix()));
    dict.replaceKey("/Matrix", as_array(matrix));
    turned.replaceKey(name, copy);
  }
  Object result = resources.shallowCopy();
  result.replaceKey("/Pattern", turned);
  return result;
}

// Gives resources that another program added to since their patterns back.
void return_patterns(Object resources, Object was) {
  Object now = resources.getKey("/Pattern"), before = was.isDictionary() ? was.getKey("/Pattern") : was;
  if (!now.isDictionary() || !before.isDictionary()) return;
  for (auto& [name, pattern] : before.getDictAsMap()) now.replaceKey(name, pattern);
}

}  // namespace

struct PdfDocument::Inner {
  QPDF pdf;
  bool tolerant = false;
  std::vector<QPDFPageObjectHelper> pages;
  std::map<QPDFObjGen, QPDFObjGen> page_of_annotation;
  std::unique_ptr<PdfStructure> structure;

  void refuse_damage();
  std::string reason_against(QPDFPageObjectHelper page, PdfContent& content);
  bool shares_annotations(const Object& page);
  void wrap(QPDFPageObjectHelper page, const PdfContent& content, double degrees);
  void unwrap(Object page, const QPDFMatrix& turn);
  void forget(Object page);
  const std::vector<Object>& boxes_on(const Object& page);
};

// What had to be repaired while reading.
void PdfDocument::Inner::refuse_damage() {
  const auto warnings = pdf.getWarnings();
  if (!tolerant && !warnings.empty()) throw unreadable(warnings.front());
}

const std::vector<Object>& PdfDocument::Inner::boxes_on(const Object& page) {
  if (!structure) structure = std::make_unique<PdfStructure>(pdf);
  return structure->boxes_on(page);
}

// An annotation that two pages list would have to turn twice.
bool PdfDocument::Inner::shares_annotations(const Object& page) {
  for (auto& annotation : annotations_of(pdf, page)) {
    const auto known = page_of_annotation.emplace(annotation.getObjGen(), page.getObjGen());
    if (!known.second && known.first->second != page.getObjGen()) return true;
  }
  return false;
}

// Why a page cannot be turned, or an empty text and what its own content does.
std::string PdfDocument::Inner::reason_against(QPDFPageObjectHelper page, PdfContent& content) {
  Object object = page.getObjectHandle();
  Rectangle box;
  if (!visible_box(page, box)) return "it has no page box";
  if (object.hasKey("/VP")) return "it has measuring viewports";
  const auto parts = own_parts(object);
  if (parts.empty()) return "it has no content";
  if (!std::all_of(parts.begin(), parts.end(), [](const Object& part) { return Object(part).isStream(); }))
    return "its content is damaged";
  if (shares_annotations(object)) return "another page lists the same annotation";
  Object bare = object.shallowCopy();
  bare.replaceKey("/Contents", Object::newArray(parts));
  QPDFPageObjectHelper own(bare);
  try {
    content = read_content(own, box.urx - box.llx, box.ury - box.lly);
  } catch (const Failure& failure) {
    return std::string("it ") + failure.what();
  } catch (const std::exception&) {
    return "its content is damaged";
  }
  if (!pdf.getWarnings().empty() && !tolerant) return "its content is damaged";
  return content.disorder ? "its content restores more graphics states than it saves" : "";
}

void PdfDocument::Inner::wrap(QPDFPageObjectHelper page, const PdfContent& content, double degrees) {
  Object object = page.getObjectHandle();
  Rectangle box;
  visible_box(page, box);
  const QPDFMatrix turn = turn_about(box, degrees);
  const std::string before = "q " + written({turn.a, turn.b, turn.c, turn.d}, 9) +
                             written({turn.e, turn.f}, 6) + "cm\n" +
                             written({box.llx, box.lly, box.urx - box.llx, box.ury - box.lly}, 6) +
                             "re W n\n" + repeated("q ", content.unopened);
  const std::string after = "\n" + repeated("Q ", 1 + content.unclosed);
  auto parts = parts_of(object.getKey("/Contents"));
  parts.insert(parts.begin(), marked_stream(pdf, before));
  parts.push_back(marked_stream(pdf, after));
  PdfKeys keys = {{"/Contents", Object::newArray(parts)}};
  Object resources = turned_patterns(page.getAttribute("/Resources", false), content.patterns, turn);
  if (!resources.isNull()) keys["/Resources"] = resources;
  change_keys(object, keys);
  object.getKey(kPdfMark).replaceKey("/Matrix", as_array(turn));

  for (auto& annotation : annotations_of(pdf, object)) turn_annotation(pdf, annotation, turn);
  for (auto attributes : boxes_on(object))
    change_keys(attributes, {{"/BBox", Object::newArray(turn.transformRectangle(
                                           attributes.getKey("/BBox").getArrayAsRectangle()))}});
}

void PdfDocument::Inner::unwrap(Object page, const QPDFMatrix& turn) {
  const auto parts = own_parts(page);
  PdfKeys was = kept_keys(page);
  Object resources = page.getKey("/Resources");
  restore_keys(page);
  // Where another program added to the content or took from it, that stays.
  if (!same_parts(parts, parts_of(page.getKey("/Contents")))) {
    page.replaceKey("/Contents", Object::newArray(parts));
    if (was.count("/Resources") > 0 && resources.isDictionary()) {
      page.replaceKey("/Resources", resources);
      return_patterns(resources, was["/Resources"]);
    }
  }
  for (auto& annotation : annotations_of(pdf, page)) return_annotation(annotation, turn);
  for (const auto& attributes : boxes_on(page)) restore_keys(attributes);
}

// Takes the records of a turn that cannot be found any more for what they are: out of date.
void PdfDocument::Inner::forget(Object page) {
  page.removeKey(kPdfMark);
  for (auto& annotation : annotations_of(pdf, page)) annotation.removeKey(kPdfMark);
  for (auto attributes : boxes_on(page)) attributes.removeKey(kPdfMark);
}

PdfDocument::PdfDocument(const std::string& path, const PdfOptions& options) : inner_(new Inner) {
  inner_->tolerant = options.tolerant;
  inner_->pdf.setSuppressWarnings(true);
  try {
    inner_->pdf.processFile(path.c_str(), options.password.c_str());
    inner_->pages = QPDFPageDocumentHelper(inner_->pdf).getAllPages();
    inner_->refuse_damage();
  } catch (const Failure&) {
    throw;
  } catch (const std::exception& error) {
    throw unreadable(error);
  }
  if (inner_->pages.empty()) throw Failure("has no pages");
}

PdfDocument::~PdfDocument() = default;

int PdfDocument::pages() const { return static_cast<int>(inner_->pages.size()); }

bool PdfDocument::is_signed() const {
  Object root = inner_->pdf.getRoot();
  Object permissions = root.getKey("/Perms"), form = root.getKey("/AcroForm");
  if (permissions.isDictionary() && !permissions.getKeys().empty()) return true;
  return form.isDictionary() && any_signed(form.getKey("/Fields"));
}

double PdfDocument::drawing_dpi(int page, double otherwise) const {
  auto& helper = inner_->pages.at(page);
  Rectangle box;
  if (!visible_box(helper, box)) return otherwise;
  const double width = box.urx - box.llx, height = box.ury - box.lly;
  double dpi = 0.0;
  try {
    dpi = read_content(helper, width, height).dpi;
  } catch (const std::exception&) {
    // level says what is wrong with the content
  }
  inner_->pdf.getWarnings();
  if (!(dpi > 0)) dpi = otherwise;
  return std::min(dpi, 72 * kLongestSide / std::max(width, height));
}

std::string PdfDocument::level(int number, double degrees) {
  auto& page = inner_->pages.at(number);
  Object object = page.getObjectHandle();
  QPDFMatrix earlier;
  const bool levelled = turn_on(object, earlier);
  const double total = degrees + (levelled ? degrees_of(earlier) : 0.0);
  const bool turns = std::fabs(total) >= kLeastTurn;
  PdfContent content;
  if (turns) {
    std::string reason = inner_->reason_against(page, content);
    if (!reason.empty()) return reason;
  }
  if (levelled)
    inner_->unwrap(object, earlier);
  else
    inner_->forget(object);
  if (turns) inner_->wrap(page, content, total);
  return "";
}

bool PdfDocument::undo(int number) {
  Object page = inner_->pages.at(number).getObjectHandle();
  if (!page.hasKey(kPdfMark)) return false;
  QPDFMatrix turn;
  if (!turn_on(page, turn)) throw Failure("was changed by another program since it was levelled");
  inner_->unwrap(page, turn);
  return true;
}

void PdfDocument::write(const std::string& path) {
  try {
    QPDFWriter writer(inner_->pdf, path.c_str());
    writer.setStreamDataMode(qpdf_s_preserve);
    writer.setObjectStreamMode(qpdf_o_preserve);
    writer.setLinearization(inner_->pdf.isLinearized());
    if (!inner_->pdf.isEncrypted()) writer.setDeterministicID(true);
    writer.write();
    inner_->refuse_damage();
  } catch (const Failure&) {
    throw;
  } catch (const std::exception& error) {
    throw unreadable(error);
  }
}

}  // namespace files
