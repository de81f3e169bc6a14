// An application bundle: a folder `Name.app` with Contents/Info.plist and the program inside.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace vantorel {

// What keeps a bundle from being started. what() names it for a person.
class BundleError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// True if the name says that `path` is a bundle, whether it exists or not. A slash at its end plays no part.
bool IsBundle(const std::filesystem::path& path);

// The program of a bundle: the one that Info.plist names (CFBundleExecutable; by default the bundle's own
// name) in Contents/Linux, else in Contents/MacOS. `bundle_name` is that name where the bundle is going to be
// called otherwise than it is now. Raises BundleError.
std::filesystem::path ProgramOf(const std::filesystem::path& bundle, const std::string& bundle_name = {});

}  // namespace vantorel
