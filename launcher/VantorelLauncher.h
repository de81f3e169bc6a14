// The application object of the launcher.
#pragma once

#include "platform/run/Application.h"

namespace vantorel {

class VantorelLauncher : public Application {
 public:
  // Settles the settings in Globals: from here on URLs can be built.
  void Event_Open() override;
};

// The registered application object; nil before it is registered.
Ref<VantorelLauncher> App();

}  // namespace vantorel
