// The notice: shows the release notes of a new version and lets the user agree or leave.
#pragma once

#include "platform/ui/Window.h"

namespace vantorel {

class License : public Window {
 public:
  // Lays the window out. Use Implicit.
  License();
  // The instance; made and opened on first use.
  static Ref<License> Implicit() { return ImplicitWindow<License>("License"); }

  // "Update installieren": the window closes, and the run goes on.
  void PushButton1_Action();
  // "Abbrechen": the program ends.
  void PushButton2_Action();

 private:
  void AddNotes();
  void AddButtons();
  void AddTexts();
};

// Fetches the release notes and shows them in the window. Returns when the user has agreed; if the user
// cancels, the program ends. Notes that cannot be had show as an empty field.
namespace Globals {
void ShowNotice(bool firstInstallation);
}

}  // namespace vantorel
