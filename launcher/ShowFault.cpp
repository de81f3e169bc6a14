#include "launcher/ShowFault.h"

#include <clocale>
#include <cstring>
#include <string>

#include "platform/base/Exceptions.h"
#include "platform/run/Runtime.h"
#include "platform/ui/MsgBox.h"
#include "platform/ui/Window.h"

namespace vantorel {

namespace {

// The system's words for an error: German ones where it has them.
std::string Reason(int error_number) {
  static const locale_t german = newlocale(LC_ALL_MASK, "de_DE.UTF-8", nullptr);
  return german != nullptr ? strerror_l(error_number, german) : std::strerror(error_number);
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
