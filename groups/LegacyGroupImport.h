// Takes in, once, the XML file in which earlier client versions kept the frequent-contact,
// user-defined or external-buddy tree, through the store's own AddGroup and AddMember, and
// then renames the file with the suffix ".bak" so that the import does not run again.
#pragma once

#include <string>

#include "storage/DomNode.h"
#include "vaultkit/IWEZGroupStore.h"

namespace vk {

class LegacyGroupImport {
 public:
  // Looks for the kind's file in the database's folder. A file that cannot be read or has
  // another shape imports nothing and is renamed all the same; an existing ".bak" is never
  // replaced (the file then stays, and is imported again at the next opening).
  static void Run(IWEZGroupStore& store, const std::u16string& database, LONG kind);

 private:
  LegacyGroupImport(IWEZGroupStore& store, LONG kind) : store_(store), kind_(kind) {}
  void Import(const std::u16string& file);
  // The first Group's member elements (kind 2).
  void ImportFrequent(const DomNode& first);
  // The first Group's child groups under it (kind 4).
  void ImportUserDefined(const DomNode& first);
  // The groups below the first Group's first child, put under the contact panel (kind 6).
  void ImportExternal(const DomNode& first);
  // Adds a child group unless `skip_id` names it; its members go to its (possibly new) id.
  void ImportChildGroups(const DomNode& parent, LONG parent_id, const LONG* skip_id);
  // Files the NICK of each element child under the group.
  void AddMembers(const DomNode& group, LONG id);

  IWEZGroupStore& store_;
  LONG kind_;
};

}  // namespace vk
