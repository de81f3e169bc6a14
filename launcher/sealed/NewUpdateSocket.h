// Where a build with keys leaves the default road: its updates are signed, and the installed target stays
// until the new one is in its place.
#pragma once

#include "launcher/updateSocket.h"
#include "platform/ui/Window.h"

namespace vantorel::sealed {

// A socket that lives as long as the window. Settles what a run that was broken off has left.
Ref<updateSocket> NewUpdateSocket(Window& window);

}  // namespace vantorel::sealed
