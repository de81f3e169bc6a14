// SIGINT, SIGTERM and SIGHUP while files are being made: the work stops at the next chance, cleans up, and
// then the process ends by that very signal.
#pragma once

namespace vantorel::forkzip::Interruption {

// From now on those signals are only noted. One that was ignored stays ignored.
void Watch();

bool Requested();

// Ends the process by the signal that was noted; returns if there was none.
void Obey();

}  // namespace vantorel::forkzip::Interruption
