#include "tests/faults/FaultVfs.h"

#include "tests/faults/FaultPlan.h"

namespace vk::test {
namespace {

// Our file object, followed in the same allocation by the wrapped file system's own.
struct FaultFile {
  sqlite3_file base;
  sqlite3_file* real;
  bool counted;  // a database or journal that outlives the connection
};

sqlite3_vfs* Real(sqlite3_vfs* vfs) {
  return static_cast<sqlite3_vfs*>(vfs->pAppData);
}
FaultFile* Of(sqlite3_file* file) {
  return reinterpret_cast<FaultFile*>(file);
}
sqlite3_file* RealOf(sqlite3_file* file) {
  return Of(file)->real;
}

// SQLITE_OK when the change may go ahead, else the error SQLite is to see.
int Check(sqlite3_file* file, int error) {
  if (!Of(file)->counted) return SQLITE_OK;
  return FaultPlan::Next() == FileSystem::Fault::kNone ? SQLITE_OK : error;
}

int Close(sqlite3_file* f) {
  return RealOf(f)->pMethods->xClose(RealOf(f));
}
int Read(sqlite3_file* f, void* out, int n, sqlite3_int64 at) {
  return RealOf(f)->pMethods->xRead(RealOf(f), out, n, at);
}
int Write(sqlite3_file* f, const void* in, int n, sqlite3_int64 at) {
  const int rc = Check(f, SQLITE_IOERR_WRITE);
  return rc != SQLITE_OK ? rc : RealOf(f)->pMethods->xWrite(RealOf(f), in, n, at);
}
int Truncate(sqlite3_file* f, sqlite3_int64 size) {
  const int rc = Check(f, SQLITE_IOERR_TRUNCATE);
  return rc != SQLITE_OK ? rc : RealOf(f)->pMethods->xTruncate(RealOf(f), size);
}
int Sync(sqlite3_file* f, int flags) {
  const int rc = Check(f, SQLITE_IOERR_FSYNC);
  return rc != SQLITE_OK ? rc : RealOf(f)->pMethods->xSync(RealOf(f), flags);
}
int FileSize(sqlite3_file* f, sqlite3_int64* size) {
  return RealOf(f)->pMethods->xFileSize(RealOf(f), size);
}
int Lock(sqlite3_file* f, int level) {
  return RealOf(f)->pMethods->xLock(RealOf(f), level);
}
int Unlock(sqlite3_file* f, int level) {
  return RealOf(f)->pMethods->xUnlock(RealOf(f), level);
}
int CheckReservedLock(sqlite3_file* f, int* out) {
  return RealOf(f)->pMethods->xCheckReservedLock(RealOf(f), out);
}
int FileControl(sqlite3_file* f, int op, void* arg) {
  return RealOf(f)->pMethods->xFileControl(RealOf(f), op, arg);
}
int SectorSize(sqlite3_file* f) {
  return RealOf(f)->pMethods->xSectorSize(RealOf(f));
}
int DeviceCharacteristics(sqlite3_file* f) {
  return RealOf(f)->pMethods->xDeviceCharacteristics(RealOf(f));
}

// Version 1: no shared memory (no WAL) and no memory mapping, so every change is a write.
sqlite3_io_methods Methods() {
  sqlite3_io_methods methods{};
  methods.iVersion = 1;
  methods.xClose = &Close;
  methods.xRead = &Read;
  methods.xWrite = &Write;
  methods.xTruncate = &Truncate;
  methods.xSync = &Sync;
  methods.xFileSize = &FileSize;
  methods.xLock = &Lock;
  methods.xUnlock = &Unlock;
  methods.xCheckReservedLock = &CheckReservedLock;
  methods.xFileControl = &FileControl;
  methods.xSectorSize = &SectorSize;
  methods.xDeviceCharacteristics = &DeviceCharacteristics;
  return methods;
}
const sqlite3_io_methods kMethods = Methods();

int Open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* out_flags) {
  FaultFile* ours = Of(file);
  ours->real = reinterpret_cast<sqlite3_file*>(ours + 1);
  ours->counted = (flags & (SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_MAIN_JOURNAL)) != 0;
  const int rc = Real(vfs)->xOpen(Real(vfs), name, ours->real, flags, out_flags);
  ours->base.pMethods = ours->real->pMethods != nullptr ? &kMethods : nullptr;
  return rc;
}

int Delete(sqlite3_vfs* vfs, const char* name, int sync_dir) {
  if (FaultPlan::Next() != FileSystem::Fault::kNone) return SQLITE_IOERR_DELETE;
  return Real(vfs)->xDelete(Real(vfs), name, sync_dir);
}
int Access(sqlite3_vfs* vfs, const char* name, int flags, int* out) {
  return Real(vfs)->xAccess(Real(vfs), name, flags, out);
}
int FullPathname(sqlite3_vfs* vfs, const char* name, int size, char* out) {
  return Real(vfs)->xFullPathname(Real(vfs), name, size, out);
}
int Randomness(sqlite3_vfs* vfs, int size, char* out) {
  return Real(vfs)->xRandomness(Real(vfs), size, out);
}
int Sleep(sqlite3_vfs* vfs, int microseconds) {
  return Real(vfs)->xSleep(Real(vfs), microseconds);
}
int CurrentTime(sqlite3_vfs* vfs, double* now) {
  return Real(vfs)->xCurrentTime(Real(vfs), now);
}
int GetLastError(sqlite3_vfs* vfs, int size, char* out) {
  return Real(vfs)->xGetLastError(Real(vfs), size, out);
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
  vfs_.xAccess = &Access;
  vfs_.xFullPathname = &FullPathname;
  vfs_.xDlOpen = nullptr;
  vfs_.xRandomness = &Randomness;
  vfs_.xSleep = &Sleep;
  vfs_.xCurrentTime = &CurrentTime;
  vfs_.xGetLastError = &GetLastError;
  sqlite3_vfs_register(&vfs_, 1);
}

FaultVfs::~FaultVfs() {
  sqlite3_vfs* real = Real(&vfs_);
  sqlite3_vfs_unregister(&vfs_);
  sqlite3_vfs_register(real, 1);
}

}  // namespace vk::test
