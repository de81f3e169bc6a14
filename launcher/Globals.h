// The module of the launcher's settings, and what is built upon them: the launcher folder, the version store
// and the hand-over to the target. Nothing here catches a fault: where the launcher folder cannot be had, or
// a file in it not be opened, NilObjectException goes up to the program's entry.
#pragma once

#include <cstdint>

#include "platform/base/Ref.h"
#include "platform/files/FolderItem.h"
#include "platform/text/String.h"

namespace vantorel::Globals {

// Settings. Written by Initialize, by the application's Open event and, the last, by the update check.
extern String TargetApplication;     // name of the target: in every path and URL
extern String UpdateServer;          // base URL, ends in a slash
extern String ApplicationParameter;  // read by nothing
extern String CurrentOS;             // the platform word in URLs and in the version store; empty before Open
extern String newVersion;            // the version that the server offers; empty before the check

// Gives the settings their initial values.
void Initialize();
// Releases them at the end of the program.
void Finalize();

// The path of the folder that all files of the launcher lie in, ready for a name to be appended. Makes the
// folder if it is not there.
String LauncherFolderPath();
// The same folder as an item.
Ref<FolderItem> LauncherFolder();
// What the installed target is called in it: a bundle or, on the other arm, a folder.
String TargetItemName();

// The URL of one of the server's resources: "_version", "_changelog" or "_update".
String ResourceURL(const String& suffix);

// What CheckApplicationVersion gives when no target is installed. No plain version text equals it, since it
// keeps its platform word.
String NotInstalled();
// The recorded version if the target is there, else NotInstalled. What stands between the first and the
// second underscore of the file `version` counts: a version text with an underscore in it never compares
// equal to itself after an update.
String CheckApplicationVersion();
// Records a version, as CurrentOS + "_" + version and without a line end.
void UpdateApplicationVersion(const String& version);

// The text of the shell command that starts the target.
String TargetCommand();
// Leaves `checkfile` and `updatepath` for the target, starts it, pauses for a second and quits with 0,
// whether or not the target has started.
[[noreturn]] void RunApplication();
// Blocks for that time; no handler runs meanwhile.
void Pause(double seconds);

}  // namespace vantorel::Globals
