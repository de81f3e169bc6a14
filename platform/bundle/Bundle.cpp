#include "platform/bundle/Bundle.h"

#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

#include "platform/bundle/InfoPlist.h"

namespace vantorel {

namespace fs = std::filesystem;

namespace {

constexpr char kExtension[] = ".app";
// Far beyond any real one.
constexpr std::uintmax_t kLargestInfoPlist = std::uintmax_t{16} << 20U;

fs::path WithoutTrailingSlash(const fs::path& path) {
  return path.has_filename() || !path.has_relative_path() ? path : path.parent_path();
}

[[noreturn]] void Fail(const fs::path& what, const std::string& why) {
  throw BundleError(what.string() + ": " + why);
}

std::string ReadInfoPlist(const fs::path& path) {
  std::error_code error;
  if (fs::file_size(path, error) > kLargestInfoPlist && !error) Fail(path, "it is too large");
  std::ifstream file(path, std::ios::binary);
  if (error || !file) Fail(path, error ? error.message() : std::generic_category().message(errno));
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string ProgramName(const fs::path& bundle, const std::string& bundle_name) {
  const fs::path info = bundle / "Contents" / "Info.plist";
  std::string name = bundle_name;
  if (fs::exists(info)) {
    const std::string text = ReadInfoPlist(info);
    try {
      name = ExecutableNamedIn(text).value_or(name);
    } catch (const std::runtime_error& fault) {
      Fail(info, fault.what());
    }
  }
  if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos) {
    Fail(info, "CFBundleExecutable is no file name: \"" + name + "\"");
  }
  return name;
}

}  // namespace

bool IsBundle(const fs::path& path) {
  return WithoutTrailingSlash(path).extension() == kExtension;
}

fs::path ProgramOf(const fs::path& application, const fs::path& new_name) {
  const fs::path bundle = WithoutTrailingSlash(application);
  const fs::path called = new_name.empty() ? bundle.filename() : new_name;
  if (!IsBundle(called)) {
    fs::path program = bundle / (called.string() + ".exe");
    if (!fs::is_regular_file(program)) Fail(bundle, "it has no " + program.filename().string());
    return program;
  }
  std::error_code error;
  const fs::file_status status = fs::status(bundle, error);
  if (!fs::exists(status)) Fail(bundle, error.message());
  if (!fs::is_directory(status)) Fail(bundle, "it is no application: not a folder");
  const std::string name = ProgramName(bundle, called.stem());
  for (const char* folder : {"Linux", "MacOS"}) {
    fs::path program = bundle / "Contents" / folder / name;
    if (!fs::is_regular_file(program, error)) continue;
    if (access(program.c_str(), X_OK) != 0) Fail(program, "it may not be executed");
    if (fs::is_empty(program)) Fail(program, "it is empty");
    return program;
  }
  Fail(bundle, "it has no program \"" + name + "\" in Contents/Linux or Contents/MacOS");
}

}  // namespace vantorel
