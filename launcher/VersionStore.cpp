// The record of the installed version: the file `version` in the launcher folder.
#include "launcher/Globals.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {

String Globals::NotInstalled() {
  return CurrentOS + "_00000000";
}

String Globals::CheckApplicationVersion() {
  const String path = LauncherFolderPath();
  const Ref<FolderItem> file = GetFolderItem(path + "version");
  String result;
  if (file->Exists()) {
    result = NthField(file->OpenAsTextFile()->ReadAll(), "_", 2);
  } else {
    result = NotInstalled();
  }
  const Ref<FolderItem> target = GetFolderItem(path + TargetItemName());
  if (!target->Exists()) result = NotInstalled();
  return result;
}

void Globals::UpdateApplicationVersion(const String& version) {
  const String path = LauncherFolderPath();
  const Ref<FolderItem> file = GetFolderItem(path + "version");
  file->Delete();
  const Ref<TextOutputStream> stream = file->CreateTextFile();
  stream->Write(CurrentOS + "_" + version);
  stream->Close();
}

}  // namespace vantorel
