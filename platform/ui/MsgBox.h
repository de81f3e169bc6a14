// The modal message.
#pragma once

#include "platform/text/String.h"

namespace vantorel {

// Shows `text` with one button and returns when the user has dismissed it; handlers run meanwhile.
void MsgBox(const String& text);

}  // namespace vantorel
