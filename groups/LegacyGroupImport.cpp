#include "groups/LegacyGroupImport.h"

#include <optional>

#include "groups/GroupIdText.h"
#include "groups/GroupKind.h"
#include "groups/GroupRecord.h"
#include "org/DecimalText.h"
#include "platform/Assert.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "storage/DomDocument.h"

namespace vk {
namespace {

// The element children of a node up to its first child node that is not an element.
template <typename Visit>
void ForEachChildElement(const DomNode& parent, Visit&& visit) {
  for (DomNode child = parent.FirstChild(); child && child.IsElement();
       child = child.NextSibling()) {
    visit(child);
  }
}

}  // namespace

void LegacyGroupImport::Run(IWEZGroupStore& store, const std::u16string& database, LONG kind) {
  const size_t separator = database.rfind(kSep);
  if (separator == std::u16string::npos) return;
  const GroupKind* info = FindGroupKind(kind);
  if (info == nullptr || info->legacy_file == nullptr) return;
  const std::u16string file = database.substr(0, separator + 1) + info->legacy_file;
  if (!IsFileExist(file)) return;
  try {
    LegacyGroupImport(store, kind).Import(file);
  } catch (...) {
    // Whatever stopped the import, the file is renamed below.
    OutputDebugStringA(GuardTraceLine(__FILE__, __LINE__).c_str());
  }
  // An existing ".bak" makes the rename fail, silently: the file is imported again next time.
  if (!RenameFile(file, file + u".bak", false)) SetErrorInfo(0, nullptr);
}

void LegacyGroupImport::Import(const std::u16string& file) {
  DomDocument document;
  if (!document.Load(file)) return;
  const DomNode root = document.DocumentElement();
  if (root.IsNull()) return;
  // The first Group below the document element, in document order.
  const DomNode first = root.SelectSingleNode(u".//Group");
  if (first.IsNull() || !first.IsElement()) return;
  switch (kind_) {
    case VK_GROUP_FREQUENT:
      return ImportFrequent(first);
    case VK_GROUP_USER_DEFINED:
      return ImportUserDefined(first);
    case VK_GROUP_EXTERNAL:
      return ImportExternal(first);
  }
}

void LegacyGroupImport::ImportFrequent(const DomNode& first) {
  const std::optional<std::u16string> id = first.GetAttribute(u"id");
  if (id) AddMembers(first, ParseGroupId(*id));
}

void LegacyGroupImport::ImportUserDefined(const DomNode& first) {
  const std::optional<std::u16string> id = first.GetAttribute(u"id");
  if (id) ImportChildGroups(first, ParseGroupId(*id), nullptr);
}

void LegacyGroupImport::ImportExternal(const DomNode& first) {
  // The first Group's own attributes and its other children are not looked at.
  const DomNode panel = first.FirstChild();
  if (panel.IsNull()) return;
  // The localised group is seeded by every opening; it only receives its members here.
  const LONG localised = static_cast<LONG>(ParseDecimal64(kLocalisedGroupId));
  ImportChildGroups(panel, static_cast<LONG>(ParseDecimal64(kContactPanelId)), &localised);
}

void LegacyGroupImport::ImportChildGroups(const DomNode& parent, LONG parent_id,
                                          const LONG* skip_id) {
  ForEachChildElement(parent, [&](const DomNode& child) {
    const std::optional<std::u16string> name = child.GetAttribute(u"name");
    const std::optional<std::u16string> id = child.GetAttribute(u"id");
    if (!name || !id) return;  // skipped with its members
    GroupInfo group = MakeGroupInfo(parent_id, ParseGroupId(*id), *name);
    // An id of 0 is given a new one, written back into the record.
    if (skip_id == nullptr || group.id != *skip_id) store_.AddGroup(&group);
    AddMembers(child, group.id);
  });
}

void LegacyGroupImport::AddMembers(const DomNode& group, LONG id) {
  ForEachChildElement(group, [&](const DomNode& member) {
    const std::optional<std::u16string> nick = member.GetAttribute(u"NICK");
    if (nick) store_.AddMember(id, nick->c_str());
  });
}

}  // namespace vk
