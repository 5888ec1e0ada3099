#include <chrono>
#include <cstdio>
#include <thread>

#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// Pumps the message loop for a while, as the client's interface thread does, so the
// module's 60-second flush runs.
class RunCommand : public Command {
 public:
  const char* Name() const override { return "run"; }
  const char* Summary() const override {
    return "pump the message loop (the flush runs every 60 s)";
  }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
  // The flush it waits for writes the account's files.
  bool Writes(const std::vector<std::string>&) const override { return true; }
};

const char* RunCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] [--account NAME] run --seconds N\n"
         "Loads the component and pumps the message loop for N seconds (1 to 86400),\n"
         "printing each timer tick; the module flushes its stores every 60 seconds.\n";
}

int RunCommand::Run(Host& host, const Args& args) {
  if (args.size() != 2 || args[0] != "--seconds") throw UsageError{"run needs --seconds N"};
  long seconds = ParseInt32(args[1], "N");
  if (seconds < 1 || seconds > 86400) throw UsageError{"N must be from 1 to 86400"};
  host.Ready();
  uint64_t start = VkGetTickCount();
  uint64_t end = start + static_cast<uint64_t>(seconds) * 1000;
  std::printf("pumping the message loop for %ld s\n", seconds);
  std::fflush(stdout);
  for (uint64_t now = start; now < end; now = VkGetTickCount()) {
    int fired = VkPumpMessages();
    if (fired > 0) {
      std::printf("%6.1f s: %d timer(s) fired; the flush ran\n",
                  (VkGetTickCount() - start) / 1000.0, fired);
      std::fflush(stdout);
    }
    int64_t wait = VkNextTimerDelay();
    uint64_t left = end - VkGetTickCount();
    if (wait < 0 || static_cast<uint64_t>(wait) > left) wait = static_cast<int64_t>(left);
    std::this_thread::sleep_for(std::chrono::milliseconds(wait > 0 ? wait : 1));
  }
  std::printf("done\n");
  return 0;
}

std::unique_ptr<Command> MakeRunCommand() {
  return std::make_unique<RunCommand>();
}

}  // namespace vk::cli
