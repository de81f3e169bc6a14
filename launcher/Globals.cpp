#include "launcher/Globals.h"

#include "launcher/BuildSettings.h"

namespace vantorel {

String Globals::TargetApplication;
String Globals::UpdateServer;
String Globals::ApplicationParameter;
String Globals::CurrentOS;
String Globals::newVersion;

void Globals::Initialize() {
  TargetApplication = "Vantorel";
  UpdateServer = kFirstUpdateServer;
  ApplicationParameter = "-auc";
}

void Globals::Finalize() {
  TargetApplication = UpdateServer = ApplicationParameter = CurrentOS = newVersion = String();
}

Ref<FolderItem> Globals::LauncherFolder() {
  Ref<FolderItem> folder = SpecialFolder::ApplicationData()->Child(TargetApplication);
  if (!folder->Exists()) folder->CreateAsFolder();
  return folder;
}

String Globals::LauncherFolderPath() {
  return LauncherFolder()->AbsolutePath();
}

String Globals::TargetItemName() {
  return TargetMacBuild ? TargetApplication + ".app" : TargetApplication;
}

String Globals::ResourceURL(const String& suffix) {
  return UpdateServer + CurrentOS + "_" + TargetApplication + suffix;
}

}  // namespace vantorel
