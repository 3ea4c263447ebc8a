// Changes to dictionaries of a PDF that can be taken back.
#pragma once

#include <map>
#include <qpdf/QPDFObjectHandle.hh>
#include <string>

namespace files {

// The key under which a changed dictionary keeps what it was, and which marks streams of our own. Names that
// begin with XX are free for such private use.
constexpr const char* kPdfMark = "/XXSkewCorrection";

using PdfKeys = std::map<std::string, QPDFObjectHandle>;

// Gives keys of a dictionary new values (null removes a key) and keeps the old ones in it. The dictionary must
// not carry kept values already.
void change_keys(QPDFObjectHandle dictionary, const PdfKeys& values);

// What the keys were before; empty for a dictionary that was not changed.
PdfKeys kept_keys(QPDFObjectHandle dictionary);

// Puts everything back as it was.
void restore_keys(QPDFObjectHandle dictionary);

}  // namespace files
