// Recognises a name that a record took over from the one before it, which then is the same bytes in memory.
// Whoever does work per name asks, so that a short file with one long name and many records costs no more
// than it holds.
#pragma once

#include "platform/text/String.h"

namespace vantorel {

inline bool IsCarriedOver(const String& name, const String& previous) {
  return name.size() == previous.size() && name.view().data() == previous.view().data();
}

}  // namespace vantorel
