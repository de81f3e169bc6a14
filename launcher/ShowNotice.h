#pragma once

namespace vantorel::Globals {

// Fetches the release notes and shows them in the window License. Returns when the user has agreed; if the
// user cancels, the program ends. Notes that cannot be had show as an empty field.
void ShowNotice(bool firstInstallation);

}  // namespace vantorel::Globals
