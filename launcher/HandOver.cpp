// The hand-over to the installed target, the end of every successful run.
#include "launcher/BuildSettings.h"
#include "launcher/Globals.h"
#include "launcher/VantorelLauncher.h"
#include "platform/base/Arithmetic.h"
#include "platform/run/Runtime.h"
#include "platform/run/Shell.h"
#include "platform/run/System.h"
#include "platform/text/TextEncoding.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {

namespace {

constexpr std::int32_t kAsynchronous = 1;

void WriteText(const Ref<FolderItem>& file, const String& text) {
  const Ref<TextOutputStream> stream = file->CreateTextFile();
  stream->Write(text);
  stream->Close();
}

// Where the launcher lies. Of a command line with a bundle in it only the bundle's path remains; the first
// ".app" decides, also that of a folder whose name merely begins so further up.
String OwnLocation() {
  const String command_line = DefineEncoding(System::CommandLine(), Encodings::SystemDefault());
  return TargetMacBuild ? NthField(command_line, ".app", 1) + ".app" : command_line;
}

}  // namespace

// Only the folder is escaped for the shell: the target's name needs no escaping.
String Globals::TargetCommand() {
  const String folder = LauncherFolder()->ShellPath();
  if (TargetMacBuild) return "open " + folder + "/" + TargetApplication + ".app";
  return folder + "\\" + TargetApplication + "\\" + TargetApplication + ".exe ";
}

void Globals::RunApplication() {
  const auto shell = New<Shell>();
  const String path = LauncherFolderPath();

  const Ref<FolderItem> checkfile = GetFolderItem(path + "checkfile");
  if (!checkfile->Exists()) WriteText(checkfile, "check");

  const Ref<FolderItem> updatepath = GetFolderItem(path + "updatepath");
  updatepath->Delete();
  WriteText(updatepath, OwnLocation());

  shell->SetMode(kAsynchronous);
  shell->Execute(TargetCommand());
  Pause(1.0);
  Quit(0);
}

void Globals::Pause(double seconds) {
  App()->SleepCurrentThread(RuntimeCvtReal64ToSInt32(seconds * 1000.0));
}

}  // namespace vantorel
