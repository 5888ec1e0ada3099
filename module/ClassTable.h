// The creatable classes of the component: class id, registered ProgID and creation.
#pragma once

#include <span>

#include "module/ClassFactory.h"

namespace vk {

struct ClassEntry {
  const CLSID* clsid;
  const char* prog_id;
  const char* class_name;
  CreateFunction create;
};

std::span<const ClassEntry> ClassTable();
const ClassEntry* FindClass(REFCLSID clsid);

// Creates an object through the library's own class-object entry, so the stores work even
// where only the module is registered.
HRESULT LocalCreate(REFCLSID clsid, REFIID riid, void** object);

}  // namespace vk
