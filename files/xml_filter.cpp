// libxml2 reads and writes piece by piece. Nothing is fetched, entities are passed on unexpanded, and a document
// that declares some of its own is refused: no result of a text recognition does, but attacks do.
#include "files/xml_filter.h"

#include <libxml/xmlreader.h>
#include <libxml/xmlwriter.h>

#include <fstream>
#include <memory>

#include "files/failure.h"

namespace files {

namespace {

struct FreeReader {
  void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
};
struct FreeWriter {
  void operator()(xmlTextWriter* writer) const { xmlFreeTextWriter(writer); }
};
using Reader = std::unique_ptr<xmlTextReader, FreeReader>;
using Writer = std::unique_ptr<xmlTextWriter, FreeWriter>;

void keep_first(void* kept, xmlErrorPtr error) {
  auto& text = *static_cast<std::string*>(kept);
  if (!text.empty() || !error || !error->message || error->level < XML_ERR_FATAL) return;
  text = error->message;
  text = "line " + std::to_string(error->line) + ": " + text.substr(0, text.find('\n'));
}

Reader open_reader(const std::string& path, std::string& error) {
  Reader reader(xmlReaderForFile(path.c_str(), nullptr, XML_PARSE_NONET));
  if (reader) xmlTextReaderSetStructuredErrorHandler(reader.get(), keep_first, &error);
  return reader;
}

Failure not_well_formed(const std::string& error) {
  return Failure("is not well-formed" + (error.empty() ? "" : " (" + error + ")"));
}

std::string text_of(const xmlChar* text) { return text ? reinterpret_cast<const char*>(text) : ""; }

const xmlChar* chars(const std::string& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

class Copy {
 public:
  Copy(xmlTextReader* reader, xmlTextWriter* writer, XmlEditor& editor)
      : in_(reader), out_(writer), editor_(editor) {}

  void node() {
    const std::string value = text_of(xmlTextReaderConstValue(in_));
    switch (xmlTextReaderNodeType(in_)) {
      case XML_READER_TYPE_ELEMENT:
        return element();
      case XML_READER_TYPE_END_ELEMENT:
        open_.pop_back();
        return put(xmlTextWriterFullEndElement(out_));
      case XML_READER_TYPE_TEXT:
      case XML_READER_TYPE_WHITESPACE:
      case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
        return text(value);
      case XML_READER_TYPE_CDATA:
        return put(xmlTextWriterWriteCDATA(out_, chars(value)));
      case XML_READER_TYPE_COMMENT:
        return outside(xmlTextWriterWriteComment(out_, chars(value)));
      case XML_READER_TYPE_PROCESSING_INSTRUCTION:
        return outside(xmlTextWriterWritePI(out_, xmlTextReaderConstName(in_), chars(value)));
      case XML_READER_TYPE_ENTITY_REFERENCE:
        return put(xmlTextWriterWriteFormatRaw(out_, "&%s;", text_of(xmlTextReaderConstName(in_)).c_str()));
      case XML_READER_TYPE_DOCUMENT_TYPE:
        return document_type();
      default:
        return;
    }
  }

 private:
  void put(int code) {
    if (code < 0) throw Failure("cannot be written");
  }

  // Before and after the outermost element line ends are not part of the document; each thing gets one.
  void outside(int code) {
    put(code);
    if (open_.empty()) put(xmlTextWriterWriteRaw(out_, chars("\n")));
  }

  void attributes(const XmlAttributes& all) {
    for (const auto& [name, value] : all) put(xmlTextWriterWriteAttribute(out_, chars(name), chars(value)));
  }

  void element() {
    const bool empty = xmlTextReaderIsEmptyElement(in_) == 1;
    const std::string name = text_of(xmlTextReaderConstName(in_));
    const std::string local = text_of(xmlTextReaderConstLocalName(in_));
    const std::string prefix = name.substr(0, name.size() - local.size());
    XmlAttributes found;
    while (xmlTextReaderMoveToNextAttribute(in_) == 1)
      found.emplace_back(text_of(xmlTextReaderConstName(in_)), text_of(xmlTextReaderConstValue(in_)));
    if (!editor_.start(local, found) && empty) return;
    put(xmlTextWriterStartElement(out_, chars(name)));
    attributes(found);
    XmlAttributes inserted;
    const std::string child = editor_.insert(inserted);
    if (!child.empty()) {
      put(xmlTextWriterStartElement(out_, chars(prefix + child)));
      attributes(inserted);
      put(xmlTextWriterEndElement(out_));
    }
    if (empty)
      put(xmlTextWriterEndElement(out_));
    else
      open_.push_back(local);
  }

  void text(std::string value) {
    if (!open_.empty()) editor_.text(open_.back(), value);
    put(xmlTextWriterWriteString(out_, chars(value)));
  }

  void document_type() {
    const auto* type = reinterpret_cast<const xmlDtd*>(xmlTextReaderCurrentNode(in_));
    if (!type || type->children) throw Failure("declares entities or elements of its own");
    std::string text = "<!DOCTYPE " + text_of(type->name);
    if (type->ExternalID)
      text += " PUBLIC \"" + text_of(type->ExternalID) + "\" \"" + text_of(type->SystemID) + "\"";
    else if (type->SystemID)
      text += " SYSTEM \"" + text_of(type->SystemID) + "\"";
    put(xmlTextWriterWriteRaw(out_, chars(text + ">\n")));
  }

  xmlTextReader* in_;
  xmlTextWriter* out_;
  XmlEditor& editor_;
  std::vector<std::string> open_;  // elements around the current place
};

}  // namespace

std::string xml_root(const std::string& path) {
  std::string start(100, ' ');
  std::ifstream(path, std::ios::binary).read(start.data(), static_cast<std::streamsize>(start.size()));
  if (start.compare(0, 3, "\xEF\xBB\xBF") == 0) start.erase(0, 3);  // the mark of UTF-8
  const size_t first = start.find_first_not_of(" \t\r\n");
  if (first == std::string::npos || start[first] != '<') return "";
  std::string error;
  const Reader reader = open_reader(path, error);
  while (reader && xmlTextReaderRead(reader.get()) == 1)
    if (xmlTextReaderNodeType(reader.get()) == XML_READER_TYPE_ELEMENT)
      return text_of(xmlTextReaderConstLocalName(reader.get()));
  throw not_well_formed(error);
}

void filter_xml(const std::string& from, const std::string& to, XmlEditor& editor) {
  std::string error;
  const Reader reader = open_reader(from, error);
  if (!reader) throw Failure("cannot be opened");
  const Writer writer(xmlNewTextWriterFilename(to.c_str(), 0));
  if (!writer || xmlTextWriterStartDocument(writer.get(), nullptr, "UTF-8", nullptr) < 0)
    throw Failure("cannot be written");
  Copy copy(reader.get(), writer.get(), editor);
  int code;
  while ((code = xmlTextReaderRead(reader.get())) == 1) copy.node();
  if (code != 0 || !error.empty()) throw not_well_formed(error);
  if (xmlTextWriterEndDocument(writer.get()) < 0 || xmlTextWriterFlush(writer.get()) < 0)
    throw Failure("cannot be written");
}

}  // namespace files
