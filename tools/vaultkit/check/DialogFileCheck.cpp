#include "tools/vaultkit/check/DialogFileCheck.h"

#include "module/StoreCatalog.h"
#include "platform/Text.h"
#include "storage/DialogSwitches.h"
#include "storage/Markup.h"
#include "tools/vaultkit/check/CheckedFile.h"
#include "tools/vaultkit/check/ParseErrorText.h"

namespace vk::cli {
namespace {

const char* const kFile = Row(StoreId::kRevertDialogs).file;
constexpr char kReset[] =
    "the dialog store replaces it with a new file when it opens it, and the dialogs in it "
    "are lost (the old file is kept as RevertDialog.xml.damaged-<time>)";

}  // namespace

FileReport DialogFileCheck::Run(const std::filesystem::path& account_folder,
                                const std::string&) const {
  FileReport report{kFile, "XML"};
  CheckedFile file(account_folder / kFile);
  if (file.Missing()) {
    report.absent = true;
    report.Note(std::string(kFile) +
                " is not there: the dialog store writes a new one with its default switches "
                "at the account change");
    return report;
  }
  std::optional<std::string> bytes = file.Read(report, kReset);
  if (!bytes) return report;
  // The store reads the file through CMarkup, which loads it as this document does; the
  // document also gives the parser's reason.
  DomDocument document;
  if (!document.Load(file.Path16())) {
    report.Problem(std::string(kFile) + " does not parse (" + ParseErrorText(document) +
                   "): " + kReset);
    return report;
  }
  CMarkup xml;
  if (!xml.Load(file.Path16(), 0) || !xml.FindElem(u"Dialogroot")) {
    report.Problem(std::string(kFile) + " has the root <" +
                   ToUtf8(document.DocumentElement().NodeName()) +
                   ">, not <Dialogroot>: the dialog store keeps it, and every operation "
                   "answers S_FALSE");
    return report;
  }
  std::u16string invalid = InvalidDialogSwitch(xml);
  if (!invalid.empty()) {
    report.Problem(std::string(kFile) + ": the switch " + ToUtf8(invalid) + "=\"" +
                   ToUtf8(xml.GetAttrib(invalid)) + "\" is not a value it may take: " + kReset);
  }
  return report;
}

}  // namespace vk::cli
