#include "launcher/License.h"

#include "http/HTTPSocket.h"
#include "launcher/Globals.h"
#include "platform/run/Runtime.h"
#include "platform/text/TextEncoding.h"
#include "platform/ui/EditField.h"
#include "platform/ui/PushButton.h"
#include "platform/ui/StaticText.h"

namespace vantorel {

constexpr std::int32_t kChangelogTimeout = 10;

License::License() : Window("License") {
  Placement = kPlacedOverParent;
  Width = 640;
  Height = 464;
  Frame = kFrameTitled;
  SetTitle("Informationen");
  LiveResize = true;
  AddNotes();
  AddButtons();
  AddTexts();
}

void License::AddNotes() {
  const auto notes =
      _AddControl("message", New<EditField>(Bounds{.Left = 20, .Top = 40, .Width = 600, .Height = 324}));
  notes->TabIndex = 0;
  notes->LockLeft = notes->LockTop = notes->LockRight = notes->LockBottom = true;
  notes->Multiline = true;
  notes->ScrollbarVertical = true;
  notes->UseFocusRing = false;
  notes->AccessibleName = "Informationen";
}

void License::AddButtons() {
  const auto agree = _AddControl(
      "PushButton1", New<PushButton>(Bounds{.Left = 475, .Top = 424, .Width = 145, .Height = 20}));
  agree->TabIndex = 1;
  agree->Caption = "Update installieren";
  agree->Default = true;
  agree->Action = [this] { PushButton1_Action(); };

  const auto leave =
      _AddControl("PushButton2", New<PushButton>(Bounds{.Left = 366, .Top = 424, .Width = 97, .Height = 20}));
  leave->TabIndex = 2;
  leave->Caption = "Abbrechen";
  leave->Cancel = true;
  leave->Action = [this] { PushButton2_Action(); };
}

void License::AddTexts() {
  const auto info =
      _AddControl("info", New<StaticText>(Bounds{.Left = 20, .Top = 14, .Width = 550, .Height = 20}));
  info->TabIndex = 3;
  info->SetText("UPDATE INFO");
  info->Style.Bold = true;

  const auto condition =
      _AddControl("StaticText1", New<StaticText>(Bounds{.Left = 20, .Top = 379, .Width = 600, .Height = 33}));
  condition->TabIndex = 4;
  condition->Multiline = true;
  condition->SetText(
      "Um Vantorel verwenden zu können müssen sie den oben genannten Informationen zustimmen und das Update "
      "durchführen!");
}

void License::PushButton1_Action() {
  Close();
}

void License::PushButton2_Action() {
  Quit(0);
}

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
