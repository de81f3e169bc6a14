// The encoding of names in archives that do not tell it.
#pragma once

#include <string>

#include "platform/base/Ref.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::forkzip {

// Stands on the command line for a guess.
inline constexpr const char* kGuessEncoding = "auto";

// The most plausible of the encodings, by the bytes of the names that are not marked as UTF-8.
std::string GuessEncoding(const Ref<ZipArchive>& archive);

}  // namespace vantorel::forkzip
