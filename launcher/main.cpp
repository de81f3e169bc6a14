// The entry of the launcher.
#include <exception>

#include "launcher/Globals.h"
#include "launcher/ProgramPictures.h"
#include "launcher/ShowFault.h"
#include "launcher/VantorelLauncher.h"
#include "launcher/Window1.h"
#include "platform/base/Exceptions.h"
#include "platform/run/Runtime.h"
#include "platform/ui/BackEnd.h"
#include "platform/ui/Window.h"

namespace vantorel {

namespace {

void initialize() {
  Globals::Initialize();
  AddProgramPictures();
}

void _ConnectDesktop() {
  BackEnd::Install(MakeDesktopBackEnd());
  BackEnd::Current().SetProgramIcon(ProgramIcon());
}

void _NewAppInstance() {
  _RuntimeRegisterAppObject(New<VantorelLauncher>());
}

// The window keeps itself until it is closed.
void _MakeDefaultView() {
  Window1::Implicit();
}

void _Main() {
  try {
    _ConnectDesktop();
    _NewAppInstance();
    _MakeDefaultView();
    RuntimeRun();
  } catch (const EndException&) {
    // Quit before the event loop ran.
  } catch (const std::exception& fault) {
    RuntimeUnhandledException(fault);
    ShowFault(fault);
  }
}

void finalize() {
  CloseAllWindows();
  ReleaseSplash();
  BackEnd::Install(nullptr);
  Globals::Finalize();
}

}  // namespace

}  // namespace vantorel

int main(int argc, char** argv) {
  vantorel::RuntimeInit(argc, argv);
  vantorel::initialize();
  vantorel::_Main();
  vantorel::finalize();
  return vantorel::RuntimeExit();
}
