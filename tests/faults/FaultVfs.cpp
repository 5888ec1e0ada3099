#include "tests/faults/FaultVfs.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <string>

#include "tests/faults/FaultPlan.h"

namespace vk::test {
namespace {

// The files deleted without a flush of their folder, with their bytes.
std::mutex g_deleted_mutex;
std::map<std::string, std::string> g_deleted;

// Our file object, followed in the same allocation by the wrapped file system's own.
struct FaultFile {
  sqlite3_file base;
  sqlite3_file* real;
  bool counted;  // a database or its journal, not a temporary file of the engine
};

sqlite3_file* RealOf(sqlite3_file* file) {
  return reinterpret_cast<FaultFile*>(file)->real;
}
sqlite3_vfs* RealOf(sqlite3_vfs* vfs) {
  return static_cast<sqlite3_vfs*>(vfs->pAppData);
}

// Passes a call of the file's methods to the wrapped file; one with an `error` asks the plan
// first and answers the error instead when the plan says no.
template <auto Method, int error = SQLITE_OK>
struct File;
template <typename... Args, int (*sqlite3_io_methods::*Method)(sqlite3_file*, Args...), int error>
struct File<Method, error> {
  static int Call(sqlite3_file* file, Args... args) {
    if (error != SQLITE_OK && reinterpret_cast<FaultFile*>(file)->counted &&
        FaultPlan::Next() != FileSystem::Fault::kNone) {
      return error;
    }
    return (RealOf(file)->pMethods->*Method)(RealOf(file), args...);
  }
};

// Passes a call of the file system's methods to the wrapped one.
template <auto Method>
struct System;
template <typename... Args, int (*sqlite3_vfs::*Method)(sqlite3_vfs*, Args...)>
struct System<Method> {
  static int Call(sqlite3_vfs* vfs, Args... args) {
    return (RealOf(vfs)->*Method)(RealOf(vfs), args...);
  }
};

// Version 1: no shared memory (no WAL) and no memory mapping, so every change is a write.
sqlite3_io_methods Methods() {
  using M = sqlite3_io_methods;
  sqlite3_io_methods methods{};
  methods.iVersion = 1;
  methods.xClose = &File<&M::xClose>::Call;
  methods.xRead = &File<&M::xRead>::Call;
  methods.xWrite = &File<&M::xWrite, SQLITE_IOERR_WRITE>::Call;
  methods.xTruncate = &File<&M::xTruncate, SQLITE_IOERR_TRUNCATE>::Call;
  methods.xSync = &File<&M::xSync, SQLITE_IOERR_FSYNC>::Call;
  methods.xFileSize = &File<&M::xFileSize>::Call;
  methods.xLock = &File<&M::xLock>::Call;
  methods.xUnlock = &File<&M::xUnlock>::Call;
  methods.xCheckReservedLock = &File<&M::xCheckReservedLock>::Call;
  methods.xFileControl = &File<&M::xFileControl>::Call;
  methods.xSectorSize = &File<&M::xSectorSize>::Call;
  methods.xDeviceCharacteristics = &File<&M::xDeviceCharacteristics>::Call;
  return methods;
}
const sqlite3_io_methods kMethods = Methods();

int Open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* out_flags) {
  FaultFile* ours = reinterpret_cast<FaultFile*>(file);
  ours->real = reinterpret_cast<sqlite3_file*>(ours + 1);
  ours->counted = (flags & (SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_MAIN_JOURNAL)) != 0;
  const int rc = RealOf(vfs)->xOpen(RealOf(vfs), name, ours->real, flags, out_flags);
  ours->base.pMethods = ours->real->pMethods != nullptr ? &kMethods : nullptr;
  return rc;
}

int Delete(sqlite3_vfs* vfs, const char* name, int sync_folder) {
  if (FaultPlan::Next() != FileSystem::Fault::kNone) return SQLITE_IOERR_DELETE;
  std::ifstream file(name, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const int rc = RealOf(vfs)->xDelete(RealOf(vfs), name, sync_folder);
  if (rc != SQLITE_OK || !file.is_open()) return rc;
  std::lock_guard<std::mutex> hold(g_deleted_mutex);
  if (!sync_folder) {
    g_deleted[name] = std::move(bytes);
    return rc;
  }
  // The folder's flush makes every earlier change of its entries lasting.
  const std::filesystem::path folder = std::filesystem::path(name).parent_path();
  std::erase_if(g_deleted, [&](const auto& entry) {
    return std::filesystem::path(entry.first).parent_path() == folder;
  });
  return rc;
}

}  // namespace

FaultVfs::FaultVfs() {
  sqlite3_vfs* real = sqlite3_vfs_find(nullptr);
  vfs_.iVersion = 1;
  vfs_.szOsFile = static_cast<int>(sizeof(FaultFile)) + real->szOsFile;
  vfs_.mxPathname = real->mxPathname;
  vfs_.zName = "vk-faults";
  vfs_.pAppData = real;
  vfs_.xOpen = &Open;
  vfs_.xDelete = &Delete;
  vfs_.xAccess = &System<&sqlite3_vfs::xAccess>::Call;
  vfs_.xFullPathname = &System<&sqlite3_vfs::xFullPathname>::Call;
  vfs_.xRandomness = &System<&sqlite3_vfs::xRandomness>::Call;
  vfs_.xSleep = &System<&sqlite3_vfs::xSleep>::Call;
  vfs_.xCurrentTime = &System<&sqlite3_vfs::xCurrentTime>::Call;
  vfs_.xGetLastError = &System<&sqlite3_vfs::xGetLastError>::Call;
  sqlite3_vfs_register(&vfs_, 1);
}

void FaultVfs::ForgetDeletions() {
  std::lock_guard<std::mutex> hold(g_deleted_mutex);
  g_deleted.clear();
}

void FaultVfs::CutPower() {
  std::lock_guard<std::mutex> hold(g_deleted_mutex);
  for (const auto& [name, bytes] : g_deleted) {
    if (std::filesystem::exists(name)) continue;
    std::ofstream(name, std::ios::binary) << bytes;
  }
  g_deleted.clear();
}

FaultVfs::~FaultVfs() {
  sqlite3_vfs* real = RealOf(&vfs_);
  sqlite3_vfs_unregister(&vfs_);
  sqlite3_vfs_register(real, 1);
}

}  // namespace vk::test
