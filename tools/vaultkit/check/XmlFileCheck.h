// An XML file of a DOM store (user grid, key departments, leaders, portal, mobile profile,
// items): well-formed in the encoding its declaration names, read as the store reads it, with
// the document element the store's lookups start from.
#pragma once

#include <string>

#include "tools/vaultkit/check/FileCheck.h"

namespace vk::cli {

// The element a store's lookups start from, and what the store does when it is another.
struct ExpectedRoot {
  std::string name;                // "UserGrid"
  std::string template_name = "";  // the root of the store's empty template when it differs
  std::string template_note = "";  // what a file holding that template means
  // False for a store whose lookups are relative to whatever the document element is: another
  // root is then only noted.
  bool required = true;
};

class XmlFileCheck : public FileCheck {
 public:
  // `absent`: what the store does when the file is not there; `damaged`: what it does with a
  // file it cannot read; `wrong_root`: what it does with a document under another root.
  XmlFileCheck(std::string file, ExpectedRoot root, std::string absent, std::string damaged,
               std::string wrong_root);
  FileReport Run(const std::filesystem::path& account_folder,
                 const std::string& account) const override;

  // The encoding named by the XML declaration at the start of `bytes`; empty when none.
  static std::string DeclaredEncoding(const std::string& bytes);

 private:
  std::string file_;
  ExpectedRoot root_;
  std::string absent_;
  std::string damaged_;
  std::string wrong_root_;
};

}  // namespace vk::cli
