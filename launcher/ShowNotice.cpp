#include "launcher/ShowNotice.h"

#include <cstdint>

#include "http/HTTPSocket.h"
#include "launcher/Globals.h"
#include "launcher/License.h"
#include "platform/text/TextEncoding.h"
#include "platform/ui/EditField.h"
#include "platform/ui/StaticText.h"

namespace vantorel {

namespace {

constexpr std::int32_t kChangelogTimeout = 10;

}  // namespace

void Globals::ShowNotice(bool firstInstallation) {
  const auto socket = New<HTTPSocket>();
  const String notes = socket->Get(ResourceURL("_changelog"), kChangelogTimeout);

  const Ref<License> notice = License::Implicit();
  ControlByName<StaticText>(notice, "info")
      ->SetText(firstInstallation ? "Informationen zur Installation von Vantorel:"
                                  : "Informationen zum Update von Vantorel:");
  notice->SetTitle(firstInstallation ? "Informationen zur Installation von Vantorel"
                                     : "Informationen zum Update von Vantorel");
  ControlByName<EditField>(notice, "message")->SetText(DefineEncoding(notes, Encodings::UTF8()));
  notice->ShowModal();
}

}  // namespace vantorel
