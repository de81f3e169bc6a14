// An application bundle: a folder `Name.app` with Contents/Info.plist and the program inside.
#pragma once

#include <filesystem>
#include <stdexcept>

namespace vantorel {

// What kept a bundle or file from being opened. what() names it for a person.
class OpenError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// True if the name says that `path` is a bundle, whether it exists or not. A slash at its end plays no part.
bool IsBundle(const std::filesystem::path& path);

// The program of a bundle: the one that Info.plist names (CFBundleExecutable; by default the bundle's own
// name) in Contents/Linux, else in Contents/MacOS. Raises OpenError.
std::filesystem::path ProgramOf(const std::filesystem::path& bundle);

}  // namespace vantorel
