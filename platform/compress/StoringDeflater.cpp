#include <utility>

#include "platform/compress/Crc32.h"
#include "platform/compress/GzipFraming.h"
#include "platform/compress/MemberDeflater.h"

namespace vantorel {
namespace {

class StoringDeflater : public MemberDeflater {
 public:
  void Write(std::string_view data, IStreamWriter& writer) override {
    Begin(writer);
    crc_ = Crc32OfBytes(data, crc_);
    size_ += static_cast<std::uint32_t>(data.size());
    writer.Write(String::Bytes(data));
  }
  void Finish(IStreamWriter& writer) override {
    Begin(writer);
    writer.Write(String::Bytes(LittleEndian32(static_cast<std::uint32_t>(crc_)) + LittleEndian32(size_)));
  }
  bool Stored() const override { return true; }

 private:
  void Begin(IStreamWriter& writer) {
    if (!std::exchange(begun_, true)) writer.Write(String::Bytes(kPlainGzipHeader));
  }

  bool begun_ = false;
  std::int32_t crc_ = 0;
  std::uint32_t size_ = 0;  // modulo 2^32
};

}  // namespace

std::unique_ptr<MemberDeflater> NewStoringDeflater() {
  return std::make_unique<StoringDeflater>();
}

}  // namespace vantorel
