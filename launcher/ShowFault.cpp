#include "launcher/ShowFault.h"

#include <cerrno>
#include <string>
#include <system_error>

#include "platform/base/Exceptions.h"
#include "platform/run/Runtime.h"
#include "platform/ui/MsgBox.h"
#include "platform/ui/Window.h"

namespace vantorel {

namespace {

// The system speaks German only where its translations are installed.
std::string Reason(int error_number) {
  switch (error_number) {
    case EACCES:
    case EPERM:
      return "Keine Berechtigung";
    case ENOENT:
      return "Datei oder Verzeichnis nicht gefunden";
    case ENOTDIR:
      return "Ist kein Verzeichnis";
    case EROFS:
      return "Das Dateisystem ist nur lesbar";
    case ENOSPC:
    case EDQUOT:
      return "Kein Speicherplatz mehr verfügbar";
    default:
      return std::generic_category().message(error_number);
  }
}

std::string Text(const std::exception& fault) {
  const std::vector<Failure> failures = FailuresBehind(fault);
  std::string text = "Vantorel muss beendet werden.\n";
  if (failures.empty()) return text + "\n" + fault.what();
  for (const Failure& failure : failures) {
    text += "\nWahrscheinliche Ursache: " + failure.path + ": " + Reason(failure.error_number);
  }
  return text;
}

}  // namespace

void ShowFault(const std::exception& fault) {
  try {
    CloseAllWindows();
    MsgBox(String::Adopt(Text(fault), Encodings::UTF8()));
  } catch (const std::exception&) {
    // No window system is up, or it fails too: standard error has to do.
  }
}

}  // namespace vantorel
