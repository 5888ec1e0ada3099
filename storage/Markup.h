// A cursor-style navigator over one XML document, for stores that load, edit and save their
// file inside each operation. The position is one element at one level of the tree: FindElem
// moves along the current level, IntoElem makes the current element's children the level.
// A child position (AddChildElem, AddChildAttrib) names one child of the current element.
// Files are read in the encoding their declaration names and saved the same way (GB2312 for
// the stores' files), always through an atomic replacement.
#pragma once

#include <string>
#include <string_view>

#include "storage/DomDocument.h"

class CMarkup {
 public:
  CMarkup() = default;

  // Replaces the document by the file's; false (and an empty document) when the file is
  // missing or not well-formed. `flags` is 0.
  bool Load(std::u16string_view path, int flags);
  // Writes the document; false when it has no element or the file cannot be written.
  bool Save(std::u16string_view path, int flags) const;
  // Starts a new document from text: a whole document, or only its prolog (a declaration),
  // in which case the first AddElem makes the document element.
  bool SetDoc(std::u16string_view text);

  // Moves to the next sibling element of that name (any element when empty) at the current
  // level; false, with the position kept, when there is none.
  bool FindElem(std::u16string_view name = {});
  // The current element's children become the level, positioned before the first.
  bool IntoElem();
  // The parent level again, positioned at the element that was entered.
  bool OutOfElem();

  // The attribute of the current element; empty when absent or when there is none.
  std::u16string GetAttrib(std::u16string_view name) const;
  bool SetAttrib(std::u16string_view name, std::u16string_view value);
  bool SetAttrib(std::u16string_view name, long value);
  bool AddAttrib(std::u16string_view name, std::u16string_view value) {
    return SetAttrib(name, value);
  }

  // A new element after the current one (at the end of the level when there is none),
  // which becomes current.
  bool AddElem(std::u16string_view name);
  // A new last child of the current element, which becomes the child position.
  bool AddChildElem(std::u16string_view name);
  bool AddChildAttrib(std::u16string_view name, std::u16string_view value);
  // Removes the current element; the position moves to the element before it, so the next
  // FindElem finds the one after it.
  bool RemoveElem();

 private:
  void ResetPosition();
  vk::DomNode FirstAtLevel() const;

  vk::DomDocument doc_;
  std::u16string prolog_;  // the text a document without element starts with
  vk::DomNode level_;      // parent of the current level; null at the document level
  vk::DomNode current_;    // null: before the first element of the level
  vk::DomNode child_;
};
