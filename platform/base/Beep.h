// The system sound.
#pragma once

namespace vantorel {

// Rings the bell of the terminal that shows this process's messages; silent where there is none.
void Beep();

}  // namespace vantorel
