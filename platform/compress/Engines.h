// The choice between the engines. One of EnginesFast.cpp and EnginesZlib.cpp is built.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/compress/CompressEngine.h"
#include "platform/compress/MemberDeflater.h"
#include "platform/compress/MemberInflater.h"

namespace vantorel {

// How much is asked of the reader at a time. A first piece of a member that is shorter is most likely all of
// it.
inline constexpr std::size_t kInputPiece = 65536;

// The contents of the member that `first` begins with, if the engine can tell in one step that the member is
// whole, small and right. Otherwise nothing is said about it.
std::optional<std::string> InflateAtOnce(CompressEngine engine, std::string_view first);

// For a member that begins with `first`, which is handed over again in the first call of Inflate.
std::unique_ptr<MemberInflater> NewInflater(CompressEngine engine, std::string_view first);

std::unique_ptr<MemberDeflater> NewDeflater(CompressEngine engine, const DeflateWays& ways = {});

// Members of up to this many bytes are held until they are deflated, so that those that did not shrink can be
// stored.
extern const std::size_t kHeldUpTo;

}  // namespace vantorel
