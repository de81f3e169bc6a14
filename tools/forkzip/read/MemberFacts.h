// What is known of a member, in the terms of users.
#pragma once

#include <cstdint>
#include <ctime>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "platform/base/Ref.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// The sizes that the engine's signed numbers or a Zip64 record stand for.
std::uint64_t SizeOf(const Ref<ZipEntry>& entry);
std::uint64_t CompressedSizeOf(const Ref<ZipEntry>& entry);
std::uint32_t CrcOf(const Ref<ZipEntry>& entry);

// Why a file's data cannot be had, as far as the directory tells, and what would unpack it; empty if it can,
// and for folders.
std::string WhyNotUnpacked(const Ref<ZipEntry>& entry);
// Raises Failure (kBadArchive) with that, for a folder that has data too. Comes before any unpacking: the
// engine would take the wrong sizes.
void RefuseIfNotUnpacked(const Ref<ZipEntry>& entry);

// The 16-bit Unix mode; none if the member was made where there are no such modes.
std::optional<std::uint32_t> ModeOf(const Ref<ZipEntry>& entry);
bool IsSymbolicLink(const Ref<ZipEntry>& entry);

// When the member was last changed: to the second, from the extended time stamp in its extra field, or else
// as the DOS time says, which counts in steps of two seconds.
std::optional<std::time_t> TimeOf(const Ref<ZipEntry>& entry);
// The latest second that the stamp may stand for.
std::optional<std::time_t> LatestTimeOf(const Ref<ZipEntry>& entry);

// The DOS time as YYYY-MM-DDThh:mm:ss, or empty if there is none; `between` stands in place of the T.
std::string TimeText(const Ref<ZipEntry>& entry, char between = 'T');
std::string CrcText(const Ref<ZipEntry>& entry);
// "-rw-r--r--".
std::string ModeText(std::uint32_t mode);
// "stored", "deflated", or the method's number.
std::string MethodText(const Ref<ZipEntry>& entry);

// All of it for programs; `index` is the member's number in the archive, from 1.
nlohmann::ordered_json MemberAsJson(const Ref<ZipEntry>& entry, std::int32_t index);
// On one line; or indented where `indent` is 0 or more. What is no UTF-8 comes out as U+FFFD.
std::string JsonText(const nlohmann::ordered_json& value, int indent = -1);

}  // namespace vantorel::forkzip
