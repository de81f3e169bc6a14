#pragma once

#include <cstddef>

namespace vantorel::forkzip {

// Makes the heap ready for that many bytes in small objects, in large pages where the system has them: for a
// directory of tens of thousands of members, meeting each small page for the first time takes a third of all
// time. Only a hint.
void ExpectHeapOf(std::size_t bytes);

}  // namespace vantorel::forkzip
