// Where the command finds the component and the sample files: in the build and source trees
// for the command built there, beside itself (relative to its own location) once installed.
#pragma once

#include <string>

namespace vk::cli {

class InstallLayout {
 public:
  // $VAULTKIT_COMPONENT when set, else libvaultkit.so of this build or installation.
  static std::string ComponentPath();
  // The samples the demo uses.
  static std::string SamplesDir();

 private:
  // True when this process is the command of the build tree, not an installed copy.
  static bool InBuildTree();
  static std::string SelfFolder();
};

}  // namespace vk::cli
