// The cooperative yield of long loops.
#pragma once

namespace vantorel {

// Lets the windows repaint, at most every 50 ms; never runs a handler. Costs about a nanosecond when nothing
// is due, so it may stand in the hottest loop.
void RuntimeBackgroundTask();

}  // namespace vantorel
