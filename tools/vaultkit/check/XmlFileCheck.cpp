#include "tools/vaultkit/check/XmlFileCheck.h"

#include "platform/Text.h"
#include "storage/DomDocument.h"
#include "tools/vaultkit/check/CheckedFile.h"
#include "tools/vaultkit/check/ParseErrorText.h"

namespace vk::cli {

XmlFileCheck::XmlFileCheck(std::string file, ExpectedRoot root, std::string absent,
                           std::string damaged, std::string wrong_root)
    : file_(std::move(file)),
      root_(std::move(root)),
      absent_(std::move(absent)),
      damaged_(std::move(damaged)),
      wrong_root_(std::move(wrong_root)) {}

std::string XmlFileCheck::DeclaredEncoding(const std::string& bytes) {
  std::string head = bytes.substr(0, 200);
  if (!head.starts_with("<?xml")) return "";
  size_t end = head.find("?>");
  size_t at = head.find("encoding", 0);
  if (at == std::string::npos || at > end) return "";
  at = head.find_first_of("\"'", at);
  if (at == std::string::npos || at > end) return "";
  size_t close = head.find(head[at], at + 1);
  return close == std::string::npos || close > end ? "" : head.substr(at + 1, close - at - 1);
}

FileReport XmlFileCheck::Run(const std::filesystem::path& account_folder,
                             const std::string&) const {
  FileReport report{file_, "XML"};
  CheckedFile file(account_folder / file_);
  if (file.Missing()) {
    report.absent = true;
    report.Note(file_ + " is not there: " + absent_);
    return report;
  }
  std::optional<std::string> bytes = file.Read(report, damaged_);
  if (!bytes) return report;
  if (bytes->empty()) {
    report.Problem(file_ + " is empty: " + damaged_);
    return report;
  }
  DomDocument document;
  if (!document.Load(file.Path16())) {
    std::string encoding = DeclaredEncoding(*bytes);
    report.Problem(file_ + " does not parse" +
                   (encoding.empty() ? "" : " in its declared encoding " + encoding) + " (" +
                   ParseErrorText(document) + "): " + damaged_);
    return report;
  }
  std::string root = ToUtf8(document.DocumentElement().NodeName());
  if (root == root_.name) return report;
  if (!root_.template_name.empty() && root == root_.template_name) {
    report.Note(file_ + " " + root_.template_note);
  } else if (root_.required) {
    report.Problem(file_ + " has the root <" + root + ">, not <" + root_.name +
                   ">: " + wrong_root_);
  } else {
    report.Note(file_ + " has the root <" + root + ">, not <" + root_.name + ">: " + wrong_root_);
  }
  return report;
}

}  // namespace vk::cli
