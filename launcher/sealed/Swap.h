// The swap of what is installed for what an update holds. Its items change hands one by one, the target last;
// that is the moment from which the update counts as installed. The journal in the work folder names the
// items, so that a later run can take back or complete a swap that was broken off.
#pragma once

#include <string>
#include <vector>

#include "launcher/sealed/WorkFolder.h"

namespace vantorel::sealed {

// Puts the items of the folder `new` in their places, each by an exchange of two names where the system has
// one. `names` are all of them, the target's last. Raises Refusal, and then leaves what it has done.
void Swap(const WorkFolder& work, const std::vector<std::string>& names);

// Ends a swap, if there was one. If the target has changed hands, places what is left, and the files `serial`
// and `version` with it; if not, puts back what was there before. Raises Refusal if that cannot be done now.
void SettleSwap(const WorkFolder& work);

}  // namespace vantorel::sealed
