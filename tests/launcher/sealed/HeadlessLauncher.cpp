// The sealed launcher without a screen and at once: agrees to the notice and dismisses every message.
//
//   sealed_headless SERVER
//
// Prints the messages, each with "! " in front, and the last status line.
#include <exception>
#include <iostream>

#include "launcher/Globals.h"
#include "launcher/ProgramPictures.h"
#include "launcher/VantorelLauncher.h"
#include "launcher/Window1.h"
#include "platform/run/Runtime.h"
#include "tests/support/RecordingBackEnd.h"

namespace {

using namespace vantorel;

class Headless : public VantorelLauncher {
 public:
  explicit Headless(const char* server) : server_(server) {}
  void Event_Open() override {
    VantorelLauncher::Event_Open();
    Globals::UpdateServer = server_;
  }

 private:
  const char* server_;
};

void Run(const char* server) {
  testing::RecordingBackEnd& screen = testing::RecordingBackEnd::Install();
  screen.on_modal = [](Window& notice) { testing::Press(Ref<Window>(&notice), "PushButton1"); };
  screen.on_message = [](const std::string& text) { std::cout << "! " << text << "\n"; };
  _RuntimeRegisterAppObject(New<Headless>(server));
  for (const char* timer : {"Timer1", "Timer2"})
    ControlByName<Timer>(Window1::Implicit(), timer)->SetPeriod(0);
  RuntimeRun();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  RuntimeInit(argc, argv);
  Globals::Initialize();
  AddProgramPictures();
  try {
    Run(argv[1]);
  } catch (const EndException&) {
    // Quit before the event loop ran.
  } catch (const std::exception& fault) {
    RuntimeUnhandledException(fault);
  }
  std::cout << ControlByName<StaticText>(Window1::Implicit(), "statusText")->Text().view() << "\n";
  CloseAllWindows();
  ReleaseSplash();
  BackEnd::Install(nullptr);
  return RuntimeExit();
}
