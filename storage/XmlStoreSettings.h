// What sets one versioned XML store apart from the others: its template, how its version is
// found and written, and when it writes its file. The differences are deliberate and part of
// each file's contract.
#pragma once

namespace vk {

struct XmlStoreSettings {
  // The complete text of an empty file of the store's kind.
  const char16_t* file_template = nullptr;
  // Selects the version attribute, e.g. "/KeyDepts//@ProVer".
  const char16_t* version_xpath = nullptr;
  // Set on the document element when the expression finds nothing.
  const char16_t* version_attribute = nullptr;
  // SetVersion writes the file at once instead of only marking the store dirty.
  bool flush_after_set_version = false;
  // Close and destruction write the file even when nothing changed.
  bool close_saves_always = false;
  // Saving first creates the file's folder and its missing parents.
  bool create_folders = false;
  // Saving holds the store's lock (a store whose lists are used from more than one thread).
  bool save_under_lock = false;
  // The file's creation time is recorded when a save creates it, for the 30-day expiry.
  bool keep_creation_time = false;
};

}  // namespace vk
