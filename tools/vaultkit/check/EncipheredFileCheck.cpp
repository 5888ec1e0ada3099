#include "tools/vaultkit/check/EncipheredFileCheck.h"

#include "platform/Files.h"
#include "platform/Text.h"
#include "storage/DomDocument.h"
#include "storage/EncipheredFile.h"
#include "tools/vaultkit/check/CheckedFile.h"
#include "tools/vaultkit/check/ParseErrorText.h"

namespace vk::cli {
namespace {

constexpr char kRoot[] = "Root";

}  // namespace

EncipheredFileCheck::EncipheredFileCheck(std::string file, std::string store,
                                         bool repairs_companion, std::string absent)
    : file_(std::move(file)),
      store_(std::move(store)),
      repairs_companion_(repairs_companion),
      absent_(std::move(absent)) {}

void EncipheredFileCheck::CheckCompanion(const std::filesystem::path& path,
                                         FileReport& report) const {
  const std::string name = path.filename().string();
  const std::string lost = store_ + " starts from an empty template and replaces " + file_ +
                           " at its next save (the old files are kept as <file>.damaged-<time>)";
  CheckedFile companion(path);
  if (!companion.Read(report, lost)) return;
  DomDocument document;
  if (!document.Load(companion.Path16())) {
    report.Problem(name + " does not parse (" + ParseErrorText(document) + "): " +
                   (repairs_companion_
                        ? store_ +
                              " replaces its stray control bytes by '*' and reads it "
                              "again; if it still does not parse, " +
                              lost
                        : lost));
    return;
  }
  report.Note(name + ", the plain file of an earlier client, is read instead of " + file_ + "; " +
              store_ + " deletes it once it has saved " + file_);
  std::string root = ToUtf8(document.DocumentElement().NodeName());
  if (root != kRoot) {
    report.Problem(name + " has the root <" + root + ">, not <Root>: " + store_ +
                   " finds none of its records in it");
  }
}

FileReport EncipheredFileCheck::Run(const std::filesystem::path& account_folder,
                                    const std::string& account) const {
  FileReport report{file_, "enciphered XML"};
  const std::filesystem::path path = account_folder / file_;
  const std::u16string path16 = PathFromNative(path.string());
  const std::u16string companion = CompanionPath(path16);
  if (companion != path16 && ProbePath(companion) != PathPresence::kMissing) {
    CheckCompanion(PathToNative(companion), report);
    return report;
  }
  CheckedFile file(path);
  if (file.Missing()) {
    report.absent = true;
    report.Note(file_ + " is not there: " + absent_);
    return report;
  }
  // The key is made from the account's name, which is the folder's name where the client
  // keeps it.
  const std::string key = account == account_folder.filename().string()
                              ? "the folder '" + account + "'"
                              : "the account '" + account + "'";
  const std::string lost = store_ + " starts from an empty template and replaces " + file_ +
                           " at its next save (the old file is kept as " + file_ +
                           ".damaged-<time>)";
  std::optional<std::string> bytes = file.Read(report, lost);
  if (!bytes) return report;
  std::optional<std::string> plain = DecipherFile(*bytes, PathFromNative(account + "/" + file_));
  if (!plain) {
    report.Problem(file_ + " cannot be deciphered with the key of " + key +
                   " (damaged, truncated, or another account's file): " + lost);
    return report;
  }
  DomDocument document;
  if (!document.LoadXml(PlainAsUtf16(*plain)) && !document.LoadXml(PlainAsAnsi(*plain))) {
    report.Problem(file_ + " deciphers, but not to XML (" + ParseErrorText(document) +
                   "): " + lost);
    return report;
  }
  std::string root = ToUtf8(document.DocumentElement().NodeName());
  if (root != kRoot) {
    report.Problem(file_ + " holds a document with the root <" + root + ">, not <Root>: " + store_ +
                   " finds none of its records in it");
  }
  return report;
}

}  // namespace vk::cli
