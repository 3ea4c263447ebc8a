// Annotations of a PDF page that follow its content when that is turned.
#pragma once

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFMatrix.hh>
#include <vector>

#include "files/pdf_change.h"

namespace files {

// The annotations of a page that turn_annotation would change. Those that stand in the page's array themselves
// become objects of their own.
std::vector<QPDFObjectHandle> annotations_of(QPDF& pdf, QPDFObjectHandle page);

// Turns an annotation. Marks on the content (links, highlights, stamps, drawings) turn with it; what a viewer
// draws upright (form fields, notes, attachments, media) keeps its size and moves with its centre.
void turn_annotation(QPDF& pdf, QPDFObjectHandle annotation, const QPDFMatrix& turn);

// Puts a turned annotation back; one that was moved since, by another program, is turned back from where it is.
void return_annotation(QPDFObjectHandle annotation, const QPDFMatrix& turn);

}  // namespace files
