// The download and installation of an update in a build that has keys: nothing is installed but what one of
// them signed, and the installed target stays until the new one takes its place.
#pragma once

#include <functional>
#include <optional>

#include "launcher/sealed/Refusal.h"
#include "launcher/sealed/Signature.h"
#include "launcher/sealed/WorkFolder.h"
#include "launcher/updateSocket.h"
#include "platform/run/Timer.h"

namespace vantorel::sealed {

// Two requests, one after the other: the archive goes to a file and is hashed on its way; its signature is a
// page.
class SealedUpdate : public updateSocket {
 public:
  // Settles what a run that was broken off has left, if that can be done.
  SealedUpdate();

  using updateSocket::Get;
  // Downloads to the work folder, whatever `file` is.
  void Get(const String& url, const Ref<FolderItem>& file) override;

 protected:
  void Event_HTTPConnected() override;
  void Event_DataAvailable() override;
  void Event_ReceiveProgress(std::int32_t bytesReceived, std::int32_t totalBytes,
                             const String& newData) override;
  void Event_DownloadComplete(const String& url, std::int32_t httpStatus, const Ref<InternetHeaders>& headers,
                              const Ref<FolderItem>& file) override;
  void Event_PageReceived(const String& url, std::int32_t httpStatus, const Ref<InternetHeaders>& headers,
                          const String& content) override;
  void Event_HTTPError(std::int32_t code) override;

 private:
  // Runs a step, unless the update has ended. If the step raises, that is the end of it.
  void Step(const std::function<void()>& step);
  // Settles what this run or an earlier one has left, if that can be done now.
  void TryToSettle() noexcept;
  void CheckDownload(std::int32_t http_status, const Ref<FolderItem>& file) const;
  void CheckPace();
  void InstallIfSigned(const std::string& signature_file);
  // Tells the user, and starts the installed target or quits.
  void Refuse(const Refusal& refusal);

  WorkFolder work_;
  std::optional<ArchiveHash> hash_;
  bool archive_is_whole_ = false;     // what is received now is its signature
  std::int64_t received_ = 0;         // of the archive
  std::int64_t received_before_ = 0;  // at the last look at the pace
  Ref<Timer> pace_ = New<Timer>();
  bool ended_ = false;
};

}  // namespace vantorel::sealed
