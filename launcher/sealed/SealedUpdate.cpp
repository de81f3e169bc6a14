#include "launcher/sealed/SealedUpdate.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <limits>
#include <vector>

#include "launcher/BuildSettings.h"
#include "launcher/Globals.h"
#include "launcher/Window1.h"
#include "launcher/sealed/Installation.h"
#include "launcher/sealed/NewUpdateSocket.h"
#include "launcher/sealed/Release.h"
#include "platform/base/Exceptions.h"
#include "platform/run/Runtime.h"
#include "platform/text/Utf8.h"
#include "platform/ui/MsgBox.h"

namespace vantorel::sealed {
namespace {

// A download that is slower than 1 KiB a second is given up, and a signature that takes as long as that look.
constexpr std::int32_t kPaceMilliseconds = 30000;
constexpr std::int64_t kPaceBytes = 30LL * 1024;
constexpr std::int32_t kMostSignatureBytes = 4096;
constexpr std::size_t kMostHeaderBytes = 65536;
// The largest archive that can be read.
constexpr std::int64_t kMostBytes = std::numeric_limits<std::int32_t>::max();
constexpr std::size_t kMostDetailBytes = 1000;
constexpr std::int32_t kNotFound = 404;
constexpr std::int32_t kGone = 410;

bool IsGood(std::int32_t http_status) {
  return http_status >= 200 && http_status <= 299;
}

void CheckSignaturePage(std::int32_t http_status, bool is_empty) {
  if (http_status == kNotFound || http_status == kGone || (IsGood(http_status) && is_empty)) {
    throw Refusal(Status::kNoSignature, "the server has no signature");
  }
  if (!IsGood(http_status)) {
    throw Refusal(Status::kNotLoaded, "the server answers the request for the signature with an error");
  }
}

std::vector<PublicKey> Keys() {
  std::vector<PublicKey> keys;
  for (const std::string_view line : kUpdateKeys) {
    if (const auto key = ParsePublicKey(line)) keys.push_back(*key);
  }
  return keys;
}

// On one line of standard error, whatever a server put into the text.
void Tell(const char* what, const std::exception& fault) {
  std::string detail = std::string(fault.what()).substr(0, kMostDetailBytes);
  detail.resize(SoundUtf8(detail));
  std::replace_if(
      detail.begin(), detail.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
  std::fprintf(stderr, "VantorelLauncher: %s: %s\n", what, detail.c_str());
}

void ShowStatus(const char* text) {
  ControlByName<StaticText>(Window1::Implicit(), "statusText")->SetText(text);
}

// The serial number of the archive with this hash, if it may be installed. Raises Refusal.
std::int64_t CheckArchive(const std::string& signature_file, const ArchiveHash::Value& hash,
                          const std::string& version_record, const std::string& launcher_folder) {
  const auto signature = ParseSignature(signature_file);
  if (!signature) throw Refusal(Status::kBadSignature, "this is no signature, or of another algorithm");
  if (!IsSignedBy(Keys(), *signature, hash)) {
    throw Refusal(Status::kBadSignature, "no key of this launcher has signed the archive");
  }
  const std::int64_t serial = SerialOf(signature->comment, Globals::newVersion.view());
  CheckSucceeds(serial, version_record, launcher_folder);
  return serial;
}

}  // namespace

Ref<updateSocket> NewUpdateSocket(Window& window) {
  return window.__New<SealedUpdate>();
}

SealedUpdate::SealedUpdate() : work_(std::string(Globals::LauncherFolderPath().view())) {
  TryToSettle();
  work_.Leave();
  pace_->SetPeriod(kPaceMilliseconds);
  pace_->Action = [this] { Step([this] { CheckPace(); }); };
}

void SealedUpdate::Get(const String& url, const Ref<FolderItem>& /*file*/) {
  Step([&] {
    work_.Enter();
    Settle(work_);
    work_.Make();
    hash_.emplace();
    updateSocket::Get(url, GetFolderItem(String::Bytes(work_.Path("Vantorel.zip"))));
  });
}

void SealedUpdate::Event_HTTPConnected() {
  pace_->SetMode(1);
}

// What arrives in one go holds more than the headers: only once those have been looked for in it does its
// size tell something.
void SealedUpdate::Event_DataAvailable() {
  updateSocket::Event_DataAvailable();
  if (synchronous || _pageHeaders || Lookahead().size() <= kMostHeaderBytes) return;
  Refuse(Refusal(Status::kNotLoaded, archive_is_whole_ ? "the signature's headers do not end"
                                                       : "the headers of the update do not end"));
}

void SealedUpdate::Event_ReceiveProgress(std::int32_t bytesReceived, std::int32_t totalBytes,
                                         const String& newData) {
  if (archive_is_whole_) {
    if (bytesReceived <= kMostSignatureBytes) return;
    return Step([this] {
      CheckSignaturePage(HTTPStatusCode(), false);
      throw Refusal(Status::kBadSignature, "the signature is longer than 4 KiB");
    });
  }
  received_ += static_cast<std::int64_t>(newData.size());
  if (received_ > kMostBytes) {
    Refuse(Refusal(Status::kNotLoaded, "the archive is larger than 2 GiB"));
    return;
  }
  hash_->Add(newData.view());
  updateSocket::Event_ReceiveProgress(bytesReceived, totalBytes, newData);
}

void SealedUpdate::Event_DownloadComplete(const String& /*url*/, std::int32_t httpStatus,
                                          const Ref<InternetHeaders>& /*headers*/,
                                          const Ref<FolderItem>& file) {
  pace_->SetMode(0);
  Step([&] {
    CheckDownload(httpStatus, file);
    archive_is_whole_ = true;
    ControlByName<ProgressWheel>(Window1::Implicit(), "ProgressWheel1")->SetVisible(true);
    ShowStatus("Prüfen...");
    pace_->SetMode(1);
    Get(Globals::ResourceURL("_signature"));
  });
}

void SealedUpdate::Event_PageReceived(const String& /*url*/, std::int32_t httpStatus,
                                      const Ref<InternetHeaders>& /*headers*/, const String& content) {
  pace_->SetMode(0);
  Step([&] {
    CheckSignaturePage(httpStatus, content.empty());
    InstallIfSigned(std::string(content.view()));
  });
}

void SealedUpdate::Event_HTTPError(std::int32_t code) {
  Refuse(Refusal(Status::kNotLoaded, archive_is_whole_
                                         ? "the signature cannot be fetched"
                                         : "the download failed with code " + std::to_string(code)));
}

// What was written must be what was received, and hashed.
void SealedUpdate::CheckDownload(std::int32_t http_status, const Ref<FolderItem>& file) const {
  const auto refuse = [](const std::string& detail) { throw Refusal(Status::kNotLoaded, detail); };
  if (!IsGood(http_status)) refuse("the server answers with status " + std::to_string(http_status));
  if (_totalLength > 0 && received_ != _totalLength) refuse("the download is not as long as announced");
  if (file->Length() != static_cast<std::uint64_t>(received_)) refuse("the archive could not be written");
}

void SealedUpdate::CheckPace() {
  if (archive_is_whole_) throw Refusal(Status::kNotLoaded, "the signature takes too long");
  if (received_ - received_before_ < kPaceBytes) throw Refusal(Status::kNotLoaded, "the download stalls");
  received_before_ = received_;
  pace_->SetMode(1);
}

void SealedUpdate::InstallIfSigned(const std::string& signature_file) {
  Update update{.target = std::string(Globals::TargetItemName().view()),
                .version_record = std::string((Globals::CurrentOS + "_" + Globals::newVersion).view())};
  update.serial =
      CheckArchive(signature_file, hash_->Finish(), update.version_record, work_.LauncherFolder());
  ShowStatus("Entpacken...");
  Install(work_, update);
  TryToSettle();
  ShowStatus("Update erfolgreich!");
  ControlByName<Timer>(Window1::Implicit(), "Timer2")->SetMode(1);
  ended_ = true;
}

void SealedUpdate::Step(const std::function<void()>& step) {
  if (ended_) return;
  try {
    step();
  } catch (const EndException&) {
    throw;
  } catch (const Refusal& refusal) {
    Refuse(refusal);
  } catch (const std::exception& fault) {
    Refuse(Refusal(Status::kFailed, fault.what()));
  }
}

void SealedUpdate::TryToSettle() noexcept {
  try {
    if (work_.Folders().empty()) return;
    work_.Enter();
    Settle(work_);
  } catch (const std::exception& fault) {
    Tell("an update cannot be settled now", fault);
  }
}

void SealedUpdate::Refuse(const Refusal& refusal) {
  if (ended_) return;
  ended_ = true;
  pace_->SetMode(0);
  Close();
  Tell("the update is refused", refusal);
  if (work_.IsEntered()) TryToSettle();
  const Ref<Window1> window = Window1::Implicit();
  ControlByName<ProgressBar>(window, "ProgressBar1")->SetVisible(false);
  ControlByName<ProgressWheel>(window, "ProgressWheel1")->SetVisible(false);
  ShowStatus(refusal.StatusText());
  if (!GetFolderItem(Globals::LauncherFolderPath() + Globals::TargetItemName())->Exists()) {
    MsgBox(String(refusal.StatusText()) + " " + Globals::TargetApplication +
           " konnte deshalb nicht installiert werden. Bitte versuchen Sie es später noch einmal. "
           "Hilft das nicht, fragen Sie Ihren Administrator!");
    Quit(0);
  }
  ControlByName<Timer>(window, "Timer2")->SetMode(1);
}

}  // namespace vantorel::sealed
