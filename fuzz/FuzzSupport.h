// What every fuzz target shares: a data root private to the process (created at first use,
// set as $VAULTKIT_DATA_ROOT, removed at exit) that is emptied before each input, a client
// log that goes nowhere, and the splitting of one input into the several files a store reads.
#pragma once

#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Files.h"
#include "platform/Log.h"
#include "runtime/ComPtr.h"
#include "storage/FixedField.h"
#include "vaultkit/vkcom.h"

namespace vk::fuzz {

class Scratch {
 public:
  // The process's folder, emptied of everything the previous input left.
  static const Scratch& Fresh() {
    static Scratch scratch;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(scratch.native_, ignored)) {
      std::filesystem::remove_all(entry.path(), ignored);
    }
    return scratch;
  }

  // Path below the folder, as the stores take it.
  std::u16string File(std::string_view name) const {
    return PathFromNative(native_ + std::string(name));
  }
  // Writes the bytes below the folder, creating the folders on the way.
  void Write(std::string_view name, std::string_view bytes) const {
    const std::filesystem::path path(native_ + std::string(name));
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }

  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

 private:
  Scratch() {
    std::string base = std::filesystem::temp_directory_path().string() + "/vaultkit-fuzz-XXXXXX";
    if (::mkdtemp(base.data()) == nullptr) ::abort();
    native_ = base + "/";
    ::setenv("VAULTKIT_DATA_ROOT", native_.c_str(), 1);
    // Millions of inputs would otherwise fill the log file with assertion reports.
    SetLogSink([](const LogRecord&) {});
    SetDebugSink([](const std::string&) {});
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(native_, ignored);
  }

  std::string native_;
};

// The input's bytes as text.
inline std::string_view Bytes(const uint8_t* data, size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Inputs that hold several files separate them with this line; a part that is missing makes
// a missing file, which is a state the stores meet too.
inline constexpr std::string_view kPartSeparator = "\n--8<--\n";

inline std::vector<std::string_view> SplitParts(std::string_view input, size_t most) {
  std::vector<std::string_view> parts;
  while (parts.size() + 1 < most) {
    const size_t at = input.find(kPartSeparator);
    if (at == std::string_view::npos) break;
    parts.push_back(input.substr(0, at));
    input.remove_prefix(at + kPartSeparator.size());
  }
  parts.push_back(input);
  return parts;
}

// A string the store allocated, or one handed to it, freed when the input is done.
class OwnedBstr {
 public:
  OwnedBstr() = default;
  explicit OwnedBstr(const std::u16string& text) : value_(SysAllocString(text.c_str())) {}
  ~OwnedBstr() { SysFreeString(value_); }
  OwnedBstr(const OwnedBstr&) = delete;
  OwnedBstr& operator=(const OwnedBstr&) = delete;
  BSTR* operator&() { return &value_; }
  BSTR get() const { return value_; }

 private:
  BSTR value_ = nullptr;
};

// A store must read back what it wrote: a broken promise stops the run as a crash would, so
// that libFuzzer keeps the input.
inline void Expect(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz: %s\n", what);
  std::abort();
}

// The number of records to allocate for an array operation, from the count the store
// answered (the array operations trust their caller, as the client does): room for one at
// least, and 0 (skip the call) for a count no input of a few kilobytes could hold.
inline size_t Capacity(LONG count) {
  constexpr LONG kMost = 1 << 16;
  if (count > kMost) return 0;
  return count <= 0 ? 1 : static_cast<size_t>(count);
}

// For the versioned XML stores: the input is the store's file `name`; `change` runs on the
// opened store, which is then closed; a second store opened on the written file must answer
// as the first did. Answers the second store (null when the input could not be opened).
template <typename Store, typename Change, typename Answers>
ComPtr<Store> RoundTrip(const uint8_t* data, size_t size, std::string_view name, Change change,
                        Answers answers, const char* broken) {
  const Scratch& scratch = Scratch::Fresh();
  scratch.Write(name, Bytes(data, size));
  const std::u16string path = scratch.File(name);
  ComPtr<Store> store(new Store());
  if (store->Initialize(path.c_str(), nullptr) != S_OK) return nullptr;
  change(*store);
  const auto before = answers(*store);
  store->Close();
  ComPtr<Store> again(new Store());
  again->Initialize(path.c_str(), nullptr);
  Expect(answers(*again) == before, broken);
  return again;
}

}  // namespace vk::fuzz
