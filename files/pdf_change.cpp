// The record stands in the dictionary itself, so that it goes wherever the dictionary goes: /Was holds the old
// values, /New the names of the keys that did not exist (a null cannot be stored in a dictionary).
#include "files/pdf_change.h"

namespace files {

using Object = QPDFObjectHandle;

void change_keys(Object dictionary, const PdfKeys& values) {
  Object was = Object::newDictionary(), added = Object::newArray();
  for (auto [key, value] : values) {
    if (dictionary.hasKey(key))
      was.replaceKey(key, dictionary.getKey(key));
    else
      added.appendItem(Object::newName(key));
    if (value.isNull())
      dictionary.removeKey(key);
    else
      dictionary.replaceKey(key, value);
  }
  Object record = Object::newDictionary();
  record.replaceKey("/Was", was);
  if (added.getArrayNItems() > 0) record.replaceKey("/New", added);
  dictionary.replaceKey(kPdfMark, record);
}

PdfKeys kept_keys(Object dictionary) {
  PdfKeys keys;
  Object record = dictionary.getKey(kPdfMark);
  if (!record.isDictionary()) return keys;
  Object added = record.getKey("/New"), was = record.getKey("/Was");
  if (added.isArray())
    for (auto& name : added.getArrayAsVector())
      if (name.isName()) keys[name.getName()] = Object::newNull();
  if (was.isDictionary())
    for (auto& [key, value] : was.getDictAsMap()) keys[key] = value;
  return keys;
}

void restore_keys(Object dictionary) {
  for (auto& [key, value] : kept_keys(dictionary)) {
    if (value.isNull())
      dictionary.removeKey(key);
    else
      dictionary.replaceKey(key, value);
  }
  dictionary.removeKey(kPdfMark);
}

}  // namespace files
