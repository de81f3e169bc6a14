// Parses the input as an extra field, and builds a record with it as the name.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "zip/archive/ZipArchive.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vantorel;
  const auto require = [](bool holds) {
    if (!holds) std::abort();
  };
  static const Ref<ZipArchive> archive = New<ZipArchive>();
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  String type;
  String creator;
  String name;

  const Ref<ZipExtraField> field = archive->MakeZipExtraField(String::Bytes(bytes));
  require(field->AsData().view() == bytes);
  if (field->GetTypeCreatorName(type, creator, name)) require(type.size() == 4 && creator.size() == 4);
  std::int32_t access = 0;
  std::int32_t modification = 0;
  if (field->GetUnixTimes(access, modification)) require(field->IsUnixType1Only());

  const Ref<ZipExtraField> built = archive->MakeZipExtraField("TEXT", "ttxt", String::Bytes(bytes));
  require(built->GetTypeCreatorName(type, creator, name));
  require(type.view() == "TEXT" && creator.view() == "ttxt");
  return 0;
}
