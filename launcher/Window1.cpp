#include "launcher/Window1.h"

#include "launcher/BuildSettings.h"
#include "launcher/Globals.h"
#include "launcher/License.h"
#include "launcher/ProgramPictures.h"
#include "launcher/sealed/NewUpdateSocket.h"
#include "launcher/updateSocket.h"
#include "platform/files/FolderItem.h"
#include "platform/run/Runtime.h"
#include "platform/text/TextFunctions.h"
#include "platform/ui/MsgBox.h"

namespace vantorel {

namespace {

// Seconds without progress, as HTTPSocketWaiting.cpp counts them.
constexpr std::int32_t kVersionTimeout = 30;

// The server has nothing to say: an installed target runs all the same.
[[noreturn]] void GoOnWithoutServer() {
  if (SameText(Globals::CheckApplicationVersion(), Globals::NotInstalled())) {
    MsgBox(
        "Der Updatesever ist nicht erreichbar. Bitte stellen Sie sicher das Sie mit dem Internet verbunden "
        "sind "
        "und versuchen es dann nochmal!");
    Quit(0);
  }
  Globals::RunApplication();
}

// The window's, so that the download outlives the handler that starts it.
Ref<updateSocket> NewUpdateSocket(Window& window) {
  if constexpr (!kUpdateKeys.empty()) return sealed::NewUpdateSocket(window);
  return window.__New<updateSocket>();
}

}  // namespace

Window1::Window1() : Window("Window1") {
  SetBackdrop(splash());
  Placement = kPlacedOnMainScreen;
  Width = 475;
  Height = 337;
  Frame = kFramePlainBox;
  Composite = true;
  HasBackColor = true;
  BackColor = 0xc5c4c4;
  SetTitle("<");
  AddControls();
}

void Window1::AddControls() {
  const auto bar = _AddControl("ProgressBar1",
                               New<ProgressBar>(Bounds{.Left = 172, .Top = 320, .Width = 289, .Height = 11}));
  bar->SetVisible(false);
  bar->SetValue(0);
  bar->SetMaximum(100);
  bar->AccessibleName = "Fortschritt";

  const auto check = _AddControl("Timer1", New<Timer>());
  check->SetPeriod(2500);
  check->Action = [this] { Timer1_Action(); };
  check->SetMode(1);

  const auto wheel = _AddControl(
      "ProgressWheel1", New<ProgressWheel>(Bounds{.Left = 1, .Top = 320, .Width = 15, .Height = 17}));
  wheel->TabIndex = 5;
  wheel->AccessibleName = "In Arbeit";

  const auto status =
      _AddControl("statusText", New<StaticText>(Bounds{.Left = 27, .Top = 317, .Width = 138, .Height = 20}));
  status->TabIndex = 6;
  status->SetText("Suche nach Updates...");
  status->TextColor = 0x000000;
  status->Style.TextSize = 9;

  const auto hand_over = _AddControl("Timer2", New<Timer>());
  hand_over->SetPeriod(2000);
  hand_over->Action = [this] { Timer2_Action(); };
}

void Window1::Event_Open() {
  const Ref<FolderItem> picture = GetFolderItem(Globals::LauncherFolderPath() + "splash");
  if (picture->Exists()) SetBackdrop(OpenAsPicture(picture));
}

void Window1::Timer1_Action() {
  const Ref<updateSocket> socket = NewUpdateSocket(*this);
  const String path = Globals::LauncherFolderPath();

  const String version = socket->Get(Globals::ResourceURL("_version"), kVersionTimeout);
  if (Len(version) == 0) GoOnWithoutServer();
  Globals::newVersion = version;
  if (SameText(Globals::CheckApplicationVersion(), version)) Globals::RunApplication();

  const Ref<Window> self(this);
  ControlByName<ProgressWheel>(self, "ProgressWheel1")->SetVisible(false);
  ControlByName<StaticText>(self, "statusText")->SetText("");
  Globals::ShowNotice(SameText(Globals::CheckApplicationVersion(), Globals::NotInstalled()));

  ControlByName<ProgressBar>(self, "ProgressBar1")->SetVisible(true);
  const Ref<FolderItem> archive = GetFolderItem(path + Globals::TargetApplication + ".zip");
  archive->Delete();
  socket->Yield = true;  // the asynchronous download does not look at it
  socket->Get(Globals::ResourceURL("_update"), archive);
}

void Window1::Timer2_Action() {
  Globals::RunApplication();
}

}  // namespace vantorel
