// The content is parsed operator by operator with the transformation followed along, forms included. Nothing
// is drawn; sizes are bounded, since a few bytes of a compressed stream can unfold to gigabytes.
#include "files/pdf_content.h"

#include <algorithm>
#include <cmath>
#include <qpdf/Pipeline.hh>
#include <qpdf/QPDFMatrix.hh>
#include <vector>

#include "files/failure.h"

namespace files {

namespace {

using Object = QPDFObjectHandle;

constexpr size_t kLongestContent = size_t{1} << 26;
constexpr size_t kDeepestState = 10000;
constexpr int kDeepestForm = 8;
constexpr int kMostForms = 2000;  // forms that are drawn again and again add up
constexpr double kMostOfThePage = 0.5;
constexpr double kLeastDpi = 50.0;  // coarser pictures are backgrounds

// Counts what flows through and stops what is too long.
class Limit : public Pipeline {
 public:
  Limit() : Pipeline("limit", nullptr) {}
  void write(unsigned char const* /*data*/, size_t size) override {
    total_ += size;
    if (total_ > kLongestContent) throw Failure("has content of more than 64 megabytes");
  }
  void finish() override {}

 private:
  size_t total_ = 0;
};

// Operators that change what a later Q would take back.
bool changes_state(const std::string& op) {
  static const std::set<std::string> kOperators = {
      "cm", "w", "J",  "j",  "M", "d", "ri", "i",  "gs", "CS", "cs", "SC", "sc", "SCN", "scn",
      "G",  "g", "RG", "rg", "K", "k", "W",  "W*", "Tc", "Tw", "Tz", "TL", "Tf", "Tr",  "Ts"};
  return kOperators.count(op) > 0;
}

class Reader : public Object::ParserCallbacks {
 public:
  Reader(PdfContent& found, const Object& resources, double page_area) : found_(found), area_(page_area) {
    resources_.push_back(resources);
  }

  void handleObject(Object object, size_t /*offset*/, size_t /*length*/) override {
    if (object.isOperator()) {
      act(object.getOperatorValue());
      operands_.clear();
    } else if (operands_.size() < kMostOperands) {
      operands_.push_back(object);
    }
  }

  void handleEOF() override {
    if (forms_.empty()) found_.unclosed = depth_ + found_.unopened;
  }

 private:
  static constexpr size_t kMostOperands = 64;

  void act(const std::string& op) {
    if (op == "q") return save();
    if (op == "Q") return restore();
    if (op == "Do") return draw();
    if (op == "cm" && operands_.size() == 6) matrix_.concat(matrix_of(operands_));
    const bool on_page = forms_.empty();
    if (on_page && (op == "scn" || op == "SCN") && !operands_.empty() && operands_.back().isName())
      found_.patterns.insert(operands_.back().getName());
    if (on_page && saved_.empty() && changes_state(op)) changed_ = true;
  }

  void save() {
    if (saved_.size() >= kDeepestState) throw Failure("nests its graphics states too deep");
    saved_.push_back(matrix_);
    if (forms_.empty()) ++depth_;
  }

  void restore() {
    const size_t floor = forms_.empty() ? 0 : forms_.back().floor;
    if (saved_.size() > floor) {
      matrix_ = saved_.back();
      saved_.pop_back();
      if (forms_.empty()) --depth_;
    } else if (forms_.empty()) {
      if (++found_.unopened >= static_cast<int>(kDeepestState)) throw Failure("is out of order: too many Q");
      --depth_;
      found_.disorder = found_.disorder || changed_;
    }
  }

  void draw() {
    if (operands_.size() != 1 || !operands_[0].isName()) return;
    Object all = resources_.back().isDictionary() ? resources_.back().getKey("/XObject") : Object();
    if (!all.isInitialized() || !all.isDictionary()) return;
    Object drawn = all.getKey(operands_[0].getName());
    if (!drawn.isStream()) return;
    Object kind = drawn.getDict().getKey("/Subtype");
    if (kind.isNameAndEquals("/Image")) weigh_image(drawn.getDict());
    if (kind.isNameAndEquals("/Form")) enter(drawn);
  }

  void weigh_image(Object image) {
    const double width = image.getKey("/Width").isInteger() ? image.getKey("/Width").getNumericValue() : 0.0;
    const double height =
        image.getKey("/Height").isInteger() ? image.getKey("/Height").getNumericValue() : 0.0;
    const double across = std::hypot(matrix_.a, matrix_.b), down = std::hypot(matrix_.c, matrix_.d);
    const double share = std::fabs(matrix_.a * matrix_.d - matrix_.b * matrix_.c) / area_;
    if (width < 1 || height < 1 || !(across > 0) || !(down > 0) || !(share >= kMostOfThePage)) return;
    const double dpi = 72.0 * std::max(width / across, height / down);
    if (dpi >= kLeastDpi) found_.dpi = std::max(found_.dpi, dpi);
  }

  // Looks into a form for images; its own q and Q do not concern the page.
  void enter(Object form) {
    const auto id = form.getObjGen();
    const bool inside = std::any_of(forms_.begin(), forms_.end(), [&](const Form& f) { return f.id == id; });
    if (inside || forms_.size() >= kDeepestForm || ++forms_seen_ > kMostForms) return;
    Limit limit;
    if (!form.pipeStreamData(&limit, 0, qpdf_dl_generalized, true)) return;
    const QPDFMatrix outside = matrix_;
    const std::vector<Object> operands = std::move(operands_);
    Object matrix = form.getDict().getKey("/Matrix"), own = form.getDict().getKey("/Resources");
    if (matrix.isMatrix()) matrix_.concat(QPDFMatrix(matrix.getArrayAsMatrix()));
    forms_.push_back({id, saved_.size()});
    resources_.push_back(own.isDictionary() ? own : resources_.back());
    operands_.clear();
    Object::parseContentStream(form, this);
    saved_.resize(forms_.back().floor);
    forms_.pop_back();
    resources_.pop_back();
    operands_ = operands;
    matrix_ = outside;
  }

  static QPDFMatrix matrix_of(std::vector<Object>& numbers) {
    double v[6] = {1, 0, 0, 1, 0, 0};
    if (std::all_of(numbers.begin(), numbers.end(), [](Object& n) { return n.isNumber(); }))
      for (size_t i = 0; i < 6; ++i) v[i] = numbers[i].getNumericValue();
    return QPDFMatrix(v[0], v[1], v[2], v[3], v[4], v[5]);
  }

  struct Form {
    QPDFObjGen id;
    size_t floor;  // saved states that belong to what draws the form
  };

  PdfContent& found_;
  const double area_;
  std::vector<Object> operands_, resources_;
  std::vector<QPDFMatrix> saved_;
  std::vector<Form> forms_;
  QPDFMatrix matrix_;
  int depth_ = 0;  // q minus Q of the page
  int forms_seen_ = 0;
  bool changed_ = false;  // the state at the lowest level so far is not the initial one any more
};

}  // namespace

PdfContent read_content(QPDFPageObjectHelper& page, double width, double height) {
  PdfContent found;
  Limit limit;
  for (auto& part : page.getPageContents())
    if (!part.pipeStreamData(&limit, 0, qpdf_dl_specialized))
      throw Failure("has content that cannot be decoded");
  Reader reader(found, page.getAttribute("/Resources", false), width * height);
  page.parseContents(&reader);
  return found;
}

}  // namespace files
