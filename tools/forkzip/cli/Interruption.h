// SIGINT, SIGTERM, SIGHUP and SIGPIPE while files are being made: the work stops at the next chance, cleans
// up, and then the process ends by that very signal.
#pragma once

#include <cstdint>
#include <exception>

namespace vantorel::forkzip {

// Raised where the work is to stop: unwinds to the end of the verb, which says nothing about it.
class Interrupted : public std::exception {};

namespace Interruption {

// From now on those signals are only noted. One that was ignored stays ignored.
void Watch();

bool Requested();
// Raises Interrupted if such a signal has come.
void Check();

// Ends the process by the signal that was noted; returns if there was none.
void Obey();

}  // namespace Interruption

// As vantorel::CopyBytes, but raises Interrupted if such a signal comes meanwhile.
void CopyBytes(int from, std::uint64_t from_position, int to, std::uint64_t to_position, std::uint64_t count);

}  // namespace vantorel::forkzip
