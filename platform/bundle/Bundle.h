// An application bundle: a folder `Name.app` with Contents/Info.plist and the program inside.
#pragma once

#include <filesystem>
#include <stdexcept>

namespace vantorel {

// What keeps a bundle from being started. what() names it for a person.
class BundleError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// True if the name says that `path` is a bundle, whether it exists or not. A slash at its end plays no part.
bool IsBundle(const std::filesystem::path& path);

// The program of an application. Of a bundle: the one that Info.plist names (CFBundleExecutable; by default
// the bundle's own name) in Contents/Linux, else in Contents/MacOS. Of another folder: NAME.exe in it, after
// its own name. `name` is what the folder is going to be called, where it is called otherwise now. Raises
// BundleError.
std::filesystem::path ProgramOf(const std::filesystem::path& application,
                                const std::filesystem::path& name = {});

}  // namespace vantorel
