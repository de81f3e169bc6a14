// The launcher's windows on a back end that records.
#include <cstdlib>

#include "launcher/BuildSettings.h"
#include "launcher/Globals.h"
#include "launcher/License.h"
#include "launcher/ProgramPictures.h"
#include "launcher/ShowFault.h"
#include "launcher/VantorelLauncher.h"
#include "launcher/Window1.h"
#include "launcher/updateSocket.h"
#include "platform/run/EventLoop.h"
#include "platform/run/Runtime.h"
#include "platform/ui/EditField.h"
#include "platform/ui/PushButton.h"
#include "tests/support/RecordingBackEnd.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/ZipBytes.h"

namespace vantorel::testing {
namespace {

// A download, as the socket tells of it.
struct Download : updateSocket {
  using updateSocket::Event_DownloadComplete;
  using updateSocket::Event_ReceiveProgress;
};

class WindowsTest : public ::testing::Test {
 protected:
  WindowsTest() {
    setenv("XDG_DATA_HOME", data_.Path().c_str(), 1);
    Globals::Initialize();
    AddProgramPictures();
    _RuntimeRegisterAppObject(New<VantorelLauncher>());
    App()->Event_Open();
    Globals::UpdateServer = "http://127.0.0.1:1/";  // nobody listens there
  }
  ~WindowsTest() override {
    CloseAllWindows();
    ReleaseSplash();
    RuntimeExit();
  }

  static Ref<StaticText> Label(const Ref<Window>& window, const char* name) {
    return ControlByName<StaticText>(window, name);
  }
  static std::string Status() { return std::string(Label(Window1::Implicit(), "statusText")->Text().view()); }
  static Ref<ProgressBar> Bar() { return ControlByName<ProgressBar>(Window1::Implicit(), "ProgressBar1"); }
  static Ref<Timer> HandOver() { return ControlByName<Timer>(Window1::Implicit(), "Timer2"); }

  RecordingBackEnd& screen_ = RecordingBackEnd::Install();
  const ScratchFolder data_;
};

TEST_F(WindowsTest, TheNoticeSaysInItsTitleAndAboveItsTextWhatItIsAbout) {
  std::string seen;
  screen_.on_modal = [&](Window& shown) {
    const Ref<Window> window(&shown);
    seen += std::string((window->Title() + "|" + Label(window, "info")->Text() + "|").view());
    Press(window, "PushButton1");
  };
  for (const bool first : {true, false}) Globals::ShowNotice(first);
  const std::string installation = "Informationen zur Installation von Vantorel";
  const std::string update = "Informationen zum Update von Vantorel";
  EXPECT_EQ(seen, installation + "|" + installation + ":|" + update + "|" + update + ":|");
}

TEST_F(WindowsTest, UnreachableAndNothingInstalledIsSaid) {
  EXPECT_THROW(Window1::Implicit()->Timer1_Action(), EndException);
  EXPECT_EQ(
      screen_.messages,
      std::vector<std::string>{
          "Der Updatesever ist nicht erreichbar. Bitte stellen Sie sicher das Sie mit dem Internet verbunden "
          "sind und versuchen es dann nochmal!"});
}

TEST_F(WindowsTest, AFaultIsShownWithItsCause) {
  GetFolderItem("/nowhere/download")->CreateTextFile();
  GetFolderItem("/proc/none")->CreateAsFolder();
  GetFolderItem("/proc/none/version")->OpenAsTextFile();
  GetFolderItem("/nowhere/optional")->OpenAsBinaryFile(false);
  const auto show = [&](const RuntimeException& fault) {
    Window1::Implicit();
    ShowFault(fault);
    EXPECT_TRUE(_GetImplicitWindow("Window1") == nil) << "what is left of the program runs on";
    return screen_.messages.back();
  };
  const std::string reason = ": Datei oder Verzeichnis nicht gefunden";
  EXPECT_EQ(show(NilObjectException()),
            "Vantorel muss beendet werden.\n\nWahrscheinliche Ursache: /proc/none" + reason +
                "\nWahrscheinliche Ursache: /proc/none/version" + reason)
      << "another refusal than the last, or one that a caller tests for, is named, or the folder's is not";
  EXPECT_EQ(show(RuntimeException("no memory")),
            "Vantorel muss beendet werden.\n\nEin unerwarteter Fehler ist aufgetreten (no memory).")
      << "a failure that has nothing to do with the fault is named";
  BackEnd::Install(nullptr);
  ShowFault(NilObjectException());  // nobody to show it to
}

TEST_F(WindowsTest, ProgressIsCountedInHundredsOfBytes) {
  const std::tuple<std::int32_t, std::int32_t, std::int32_t, std::int32_t, const char*> cases[] = {
      {2500, 10000, 25, 100, "Herunterladen... (25%)"},
      {333, 1000, 3, 10, "Herunterladen... (33%)"},
      {2147483647, 2147483647, 21474836, 21474836, "Herunterladen... (100%)"},
      {5000, 0, 50, 0, "Herunterladen... (0%)"},
  };
  const auto socket = New<Download>();
  for (const auto& [received, total, value, maximum, status] : cases) {
    socket->Event_ReceiveProgress(received, total, "");
    EXPECT_EQ(Bar()->Value(), value) << status;
    EXPECT_EQ(Bar()->Maximum(), maximum) << status;
    EXPECT_EQ(Status(), status);
  }
}

TEST_F(WindowsTest, WhatWasDownloadedIsInstalledAndTheOutcomeTold) {
  const std::string word = TargetMacBuild ? "mac_" : "win_";
  const std::string target = TargetMacBuild ? "Vantorel.app" : "Vantorel";
  const std::string folder = data_.Path("Vantorel");
  std::string above_the_root;
  for (int i = 0; i < 40; ++i) above_the_root += "../";
  const std::string mine = target + "/mine";  // cannot be deleted
  const std::tuple<std::string, std::vector<std::string>, std::string, std::string> cases[] = {
      {mine + "/new", {}, "Update erfolgreich!", word + "18_1\r\n"},
      {above_the_root + "new",
       {"Konnte Update nicht entpacken! (" + folder + "/Vantorel.zip -> " + folder + ")"},
       "Update nicht erfolgreich! Versuche Vantorel zu starten...",
       word + "17"},
  };
  for (const auto& [member, messages, status, version] : cases) {
    const bool stays = member.starts_with(mine);
    data_.Run("rm -rf Vantorel; mkdir -p Vantorel/" + (stays ? mine : target));
    data_.Write("Vantorel/version", word + "17");
    data_.Write("Vantorel/Vantorel.zip", MakeZip({{.name = member}}));
    Globals::newVersion = "18_1\r\n";  // recorded as it is
    HandOver()->SetMode(0);
    New<Download>()->Event_DownloadComplete("", 404, nil, nil);
    EXPECT_EQ(screen_.messages, messages);
    EXPECT_EQ(Status(), status);
    EXPECT_EQ(data_.Read("Vantorel/version"), version) << status;
    EXPECT_EQ(HandOver()->Mode(), 1) << status;
    EXPECT_FALSE(data_.Has("Vantorel/Vantorel.zip")) << status;
    EXPECT_EQ(data_.Has("Vantorel/" + target), stays) << status;
    EXPECT_EQ(data_.Has("Vantorel/" + mine + "/new"), stays) << status;
  }
}

}  // namespace
}  // namespace vantorel::testing
