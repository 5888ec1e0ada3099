#include "groups/ModuleInstance.h"

namespace vk {
namespace {

// Every call arrives on the client's interface thread, so no lock guards the record.
struct Entry {
  IWEZStore* module = nullptr;
  std::weak_ptr<const void> alive;
};

Entry& TheRecord() {
  static Entry record;
  return record;
}

}  // namespace

void ModuleInstance::Record(IWEZStore* module, std::weak_ptr<const void> alive) {
  TheRecord() = {module, std::move(alive)};
}

IWEZStore* ModuleInstance::Alive() {
  const auto& record = TheRecord();
  return record.alive.expired() ? nullptr : record.module;
}

}  // namespace vk
