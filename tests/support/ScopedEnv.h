// Sets (or, given nullptr, clears) an environment variable for as long as the object lives,
// and puts the previous value back afterwards.
#pragma once

#include <stdlib.h>

#include <optional>
#include <string>

namespace vk::test {

class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = ::getenv(name)) old_ = old;
    value ? ::setenv(name, value, 1) : ::unsetenv(name);
  }
  ~ScopedEnv() { old_ ? ::setenv(name_, old_->c_str(), 1) : ::unsetenv(name_); }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  const char* name_;
  std::optional<std::string> old_;
};

}  // namespace vk::test
