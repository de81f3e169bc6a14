#include "launcher/ShowFault.h"

#include <cerrno>
#include <string>

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
    case EIO:
      return "Ein-/Ausgabefehler";
    case ELOOP:
      return "Zu viele Verweise hintereinander";
    case EMFILE:
    case ENFILE:
      return "Zu viele offene Dateien";
    case ENAMETOOLONG:
      return "Der Name ist zu lang";
    case ENOMEM:
      return "Nicht genügend Arbeitsspeicher";
    default:
      return "Systemfehler " + std::to_string(error_number);
  }
}

std::string Text(const std::exception& fault) {
  const std::vector<Failure> failures = FailuresBehind(fault);
  std::string text = "Vantorel muss beendet werden.\n";
  if (failures.empty()) return text + "\nEin unerwarteter Fehler ist aufgetreten (" + fault.what() + ").";
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
