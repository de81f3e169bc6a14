// A stand-in for the application that the launcher starts: a small window that shows which version it is, on
// the project's own windows. The version is read from the bundle's Info.plist, two folders up from the
// program.
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/run/Runtime.h"
#include "platform/text/TextFunctions.h"
#include "platform/ui/BackEnd.h"
#include "platform/ui/PushButton.h"
#include "platform/ui/StaticText.h"
#include "platform/ui/Window.h"

namespace vantorel {
namespace {

String BundleVersion() {
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  std::ifstream stream(program.parent_path().parent_path() / "Info.plist");
  const std::string plist{std::istreambuf_iterator<char>(stream), {}};
  const String after_key = NthField(String::Adopt(plist, Encodings::UTF8()), "CFBundleShortVersionString", 2);
  return NthField(NthField(after_key, "<string>", 2), "</string>", 1);
}

class SampleWindow : public Window {
 public:
  SampleWindow() : Window("SampleWindow") {
    Width = 360;
    Height = 150;
    SetTitle("Vantorel");
    const auto label = New<StaticText>(Bounds{24, 28, 312, 44});
    label->Style.TextSize = 20;
    label->Style.Bold = true;
    label->SetText("Vantorel " + BundleVersion());
    _AddControl("label", label);
    const auto button = New<PushButton>(Bounds{236, 102, 100, 26});
    button->Caption = "Beenden";
    button->Default = true;
    button->Cancel = true;
    button->Action = [] { Quit(0); };
    _AddControl("button", button);
  }
};

}  // namespace
}  // namespace vantorel

int main(int argc, char** argv) {
  using namespace vantorel;
  RuntimeInit(argc, argv);
  try {
    BackEnd::Install(MakeDesktopBackEnd());
    _RuntimeRegisterAppObject(New<Application>());
    ImplicitWindow<SampleWindow>("SampleWindow");
    RuntimeRun();
  } catch (const EndException&) {
    // Quit before the loop ran.
  } catch (const std::exception& fault) {
    RuntimeUnhandledException(fault);
  }
  CloseAllWindows();
  BackEnd::Install(nullptr);
  return RuntimeExit();
}
