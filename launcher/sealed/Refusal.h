// Why an update is not installed.
#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace vantorel::sealed {

// What the user is told.
namespace Status {
inline constexpr char kBusy[] = "Ein anderes Update läuft noch.";
inline constexpr char kNotLoaded[] = "Das Update konnte nicht geladen werden.";
inline constexpr char kNoSignature[] = "Die Signatur des Updates fehlt.";
inline constexpr char kBadSignature[] = "Die Signatur des Updates ist ungültig.";
inline constexpr char kOtherVersion[] = "Die Signatur gehört zu einer anderen Version.";
inline constexpr char kNotNewer[] = "Das Update ist nicht neuer als das zuletzt installierte.";
inline constexpr char kNotUnpacked[] = "Das Update konnte nicht entpackt werden.";
inline constexpr char kIncomplete[] = "Das Update ist unvollständig.";
inline constexpr char kNotPlaced[] = "Das Update konnte nicht eingespielt werden.";
inline constexpr char kFailed[] = "Das Update ist fehlgeschlagen.";
}  // namespace Status

class Refusal : public std::runtime_error {
 public:
  // `status` is one of the above; `detail` goes to standard error.
  Refusal(const char* status, const std::string& detail) : std::runtime_error(detail), status_(status) {}
  const char* StatusText() const { return status_; }

 private:
  const char* status_;
};

// The system refused to change what lies at this path.
[[noreturn]] inline void RefuseWithErrno(const std::string& path) {
  throw Refusal(Status::kNotPlaced, path + ": " + std::strerror(errno));
}

}  // namespace vantorel::sealed
