#include "launcher/VantorelLauncher.h"

#include "launcher/BuildSettings.h"
#include "launcher/Globals.h"
#include "platform/run/Runtime.h"

namespace vantorel {

void VantorelLauncher::Event_Open() {
  Globals::UpdateServer = kUpdateServer;
  Globals::TargetApplication = "Vantorel";
  Globals::ApplicationParameter = "-auc";
  Globals::CurrentOS = "win";
  if (TargetMacBuild) Globals::CurrentOS = "mac";
}

Ref<VantorelLauncher> App() {
  return Cast<VantorelLauncher>(_GetAppObject());
}

}  // namespace vantorel
