#include "launcher/sealed/Release.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "launcher/sealed/Files.h"
#include "launcher/sealed/Refusal.h"

namespace vantorel::sealed {
namespace {

constexpr std::size_t kMostDigits = 18;

std::optional<std::int64_t> ParseSerial(std::string_view text) {
  const bool digits = std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (text.empty() || text.size() > kMostDigits || !digits) return std::nullopt;
  std::int64_t serial = 0;
  std::from_chars(text.data(), text.data() + text.size(), serial);
  return serial;
}

}  // namespace

std::int64_t SerialOf(std::string_view comment, std::string_view version) {
  const auto refuse = [&](const char* status) {
    throw Refusal(status, "the signed comment is \"" + std::string(comment) + "\", for the version \"" +
                              std::string(version) + "\"");
  };
  constexpr std::string_view kVersion = "version:";
  constexpr std::string_view kSerial = "\tserial:";
  const std::size_t tab = comment.rfind(kSerial);
  if (!comment.starts_with(kVersion) || tab == std::string_view::npos) refuse(Status::kBadSignature);
  const auto serial = ParseSerial(comment.substr(tab + kSerial.size()));
  if (!serial) refuse(Status::kBadSignature);
  if (comment.substr(kVersion.size(), tab - kVersion.size()) != version) refuse(Status::kOtherVersion);
  return *serial;
}

void CheckSucceeds(std::int64_t serial, const std::string& version_record,
                   const std::string& launcher_folder) {
  const std::string path = launcher_folder + "serial";
  const auto recorded = ReadFile(path);
  if (!recorded) return;
  const auto installed = ParseSerial(*recorded);
  if (!installed)
    throw Refusal(Status::kNotPlaced,
                  path + ": is no serial number; without that file any update is accepted");
  const bool same_version = ReadFile(launcher_folder + "version").value_or(version_record) == version_record;
  if (serial > *installed || (serial == *installed && same_version)) return;
  throw Refusal(Status::kNotNewer, "the serial number " + std::to_string(serial) + " does not follow " +
                                       std::to_string(*installed) + ", which is installed");
}

}  // namespace vantorel::sealed
