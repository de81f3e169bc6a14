#include "launcher/updateSocket.h"

#include <functional>

#include "launcher/Globals.h"
#include "launcher/Window1.h"
#include "platform/base/Arithmetic.h"
#include "platform/text/TextFunctions.h"
#include "platform/ui/MsgBox.h"
#include "zip/archive/ZipExtractor.h"

namespace vantorel {

namespace {

// The bar counts hundreds of bytes.
constexpr double kBytesPerStep = 100.0;

// Runs a step of the installation. If an object is missing, tells the user so and gives false; any other
// fault passes on, as does one in `message` itself.
bool Protected(const std::function<void()>& step, const std::function<String()>& message) {
  try {
    step();
    return true;
  } catch (const NilObjectException&) {
    MsgBox(message());
    return false;
  }
}

}  // namespace

// Without a "Content-length", `totalBytes` is 0: the bar then has no end, and the percentage stays 0.
void updateSocket::Event_ReceiveProgress(std::int32_t bytesReceived, std::int32_t totalBytes,
                                         const String& /*newData*/) {
  const Ref<Window1> window = Window1::Implicit();
  const auto bar = ControlByName<ProgressBar>(window, "ProgressBar1");
  const double received = RuntimeCvtSInt32ToReal64(bytesReceived);
  const double total = RuntimeCvtSInt32ToReal64(totalBytes);
  bar->SetMaximum(RuntimeCvtReal64ToSInt32(total / kBytesPerStep));
  bar->SetValue(RuntimeCvtReal64ToSInt32(received / kBytesPerStep));
  const std::int32_t percent = RuntimeCvtReal64ToSInt32((100.0 / total) * received);
  ControlByName<StaticText>(window, "statusText")->SetText("Herunterladen... (" + Str(percent) + "%)");
}

void updateSocket::Event_DownloadComplete(const String& /*url*/, std::int32_t /*httpStatus*/,
                                          const Ref<InternetHeaders>& /*headers*/,
                                          const Ref<FolderItem>& /*file*/) {
  const auto extractor = New<ZipExtractor>();
  const Ref<Window1> window = Window1::Implicit();
  const auto status = ControlByName<StaticText>(window, "statusText");
  ControlByName<ProgressWheel>(window, "ProgressWheel1")->SetVisible(true);
  status->SetText("Entpacken...");

  const String path = Globals::LauncherFolderPath();
  const Ref<FolderItem> archive = GetFolderItem(path + Globals::TargetApplication + ".zip");
  const Ref<FolderItem> target = GetFolderItem(path + Globals::TargetItemName());
  const Ref<FolderItem> destination = GetFolderItem(path);

  const bool target_gone = Protected(
      [&] { target->Delete(); }, [&] { return "Konnte Datei nicht löschen! (" + target->ShellPath() + ")"; });
  const bool unpacked = Protected([&] { extractor->ExtractAllSilently(archive, destination); },
                                  [&] {
                                    return "Konnte Update nicht entpacken! (" + archive->ShellPath() +
                                           " -> " + destination->ShellPath() + ")";
                                  });
  // A stale archive is no failed update.
  Protected([&] { archive->Delete(); },
            [&] { return "Konnte Updatedatei nicht löschen! (" + archive->ShellPath() + ")"; });

  if (target_gone && unpacked) {
    Globals::UpdateApplicationVersion(Globals::newVersion);
    status->SetText("Update erfolgreich!");
  } else {
    status->SetText("Update nicht erfolgreich! Versuche " + Globals::TargetApplication + " zu starten...");
  }
  ControlByName<Timer>(window, "Timer2")->SetMode(1);
}

}  // namespace vantorel
