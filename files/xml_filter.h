// Copies an XML document and lets a caller change elements on the way, without holding the document in memory.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace files {

using XmlAttributes = std::vector<std::pair<std::string, std::string>>;

class XmlEditor {
 public:
  virtual ~XmlEditor() = default;

  // An element begins; its attributes may be changed. Names come without their prefix. Returns false to leave
  // out an element that is empty.
  virtual bool start(const std::string& element, XmlAttributes& attributes) = 0;

  // Called after the beginning of each element: the element to put in there, empty for none. inserted receives
  // its attributes.
  virtual std::string insert(XmlAttributes& /*inserted*/) { return ""; }

  // Text inside an element.
  virtual void text(const std::string& /*element*/, std::string& /*text*/) {}
};

// The name of a document's outermost element, without prefix; empty if it is no XML.
std::string xml_root(const std::string& path);

// Throws Failure if the document is not well-formed, declares entities, or cannot be written.
void filter_xml(const std::string& from, const std::string& to, XmlEditor& editor);

}  // namespace files
