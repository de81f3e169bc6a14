#include "zip/write/EntryWriter.h"

#include <utility>

#include "platform/base/Arithmetic.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/RuntimeGuard.h"
#include "zip/extract/MacBinaryHeader.h"
#include "zip/records/ZipRecords.h"
#include "zip/write/AddResult.h"
#include "zip/write/DosTime.h"

namespace vantorel {

EntryWriter::EntryWriter(ZipArchive& archive, MemberForks source)
    : archive_(archive), source_(std::move(source)) {}

std::int32_t EntryWriter::Store(const String& name, const Ref<Date>& date, const Ref<ZipExtraField>& extra) {
  if (name.empty()) return Fail(AddResult::kBadArgument, "Name must not be empty");
  encoded_name_ = archive_.z_pathToEncName(name);
  SettleLengths();
  if (extra) {
    extra_data_ = extra->AsData();
    extra->Lock();
  }
  record_ = MakeCentralRecord(date);
  // The monitor sees the entry in this unfinished state.
  entry_ = New<ZipEntry>(archive_.d, record_, encoded_name_, extra, String());
  // From here on the directory in the file is lost, whatever happens.
  archive_.d->dirty = true;

  WriteLocalHeader();
  if (total_ != 0) {
    if (const auto failure = WriteData()) return *failure;
  }
  return AppendEntry();
}

// Streams that there is no place for count as empty. The header block must agree with the lengths.
void EntryWriter::SettleLengths() {
  if (!source_.rsrc_in || !source_.HasHeader()) source_.rsrc_length = 0;
  if (!source_.data_in) source_.data_length = 0;
  if (!source_.HasHeader()) {
    total_ = source_.data_length;
    return;
  }
  const MemoryBlock& header = *source_.mac_binary_header;
  if (header.Long(MacBinaryHeader::kDataLength) != source_.data_length ||
      header.Long(MacBinaryHeader::kResourceLength) != source_.rsrc_length) {
    throw RuntimeException("the MacBinary header states other fork lengths");
  }
  total_ = MacBinaryHeader::TotalLength(source_.data_length, source_.rsrc_length);
}

Ref<MemoryBlock> EntryWriter::MakeCentralRecord(const Ref<Date>& date) const {
  const DosTime stamp = date ? ToDosTime(date) : DosTime{};
  const Ref<TextEncoding> name_encoding = Encoding(encoded_name_);
  const bool utf8_name = name_encoding && name_encoding->Equals(Encodings::UTF8());

  auto record = New<MemoryBlock>(CentralHeader::kSize, ByteOrder::kLittle);
  record->SetLong(CentralHeader::kSignature, CentralHeader::kMagic);
  record->SetByte(CentralHeader::kVersionMadeBy, kZipFormatVersion);
  record->SetByte(CentralHeader::kOSMadeBy, archive_.d->defaultOSMadeBy);
  record->SetUShort(CentralHeader::kVersionNeeded, kZipFormatVersion);
  // The total alone decides, and nothing falls back to stored where deflating makes the data larger.
  record->SetUShort(CentralHeader::kMethod, total_ > 0 ? ZipMethod::kDeflated : ZipMethod::kStored);
  record->SetUShort(CentralHeader::kTime, stamp.time);
  record->SetUShort(CentralHeader::kDate, stamp.date);
  record->SetLong(CentralHeader::kUncompressedSize, total_);
  record->SetUShort(CentralHeader::kNameLength, LenB(encoded_name_));
  record->SetUShort(CentralHeader::kExtraLength, LenB(extra_data_));
  // How this engine marks a UTF-8 name; no read-only attribute.
  record->SetLong(CentralHeader::kExternalAttributes, utf8_name ? 1 : 0);
  return record;
}

void EntryWriter::WriteLocalHeader() {
  const auto header = New<MemoryBlock>(LocalHeader::kSize, ByteOrder::kLittle);
  header->SetLong(LocalHeader::kSignature, LocalHeader::kMagic);
  header->SetStringValue(LocalHeader::kVersionNeeded, CentralHeader::kSharedSize,
                         record_->StringValue(CentralHeader::kVersionNeeded, CentralHeader::kSharedSize));
  header->SetLong(LocalHeader::kCompressedSize, total_ > 0 ? 0 : total_);
  header->SetLong(LocalHeader::kUncompressedSize, total_);
  header->SetUShort(LocalHeader::kNameLength, LenB(encoded_name_));
  header->SetUShort(LocalHeader::kExtraLength, LenB(extra_data_));

  // A forged directory offset: the position would be beyond any file.
  if (archive_.startOfDirInArchive < 0) throw RuntimeException("the archive ends beyond 2^31 bytes");
  BinaryStream& stream = *archive_.d->zipStream;
  write_faults_before_ = stream.WriteFaults();
  stream.SetPosition(ToPosition(archive_.startOfDirInArchive));
  crc_field_ = stream.Position() + LocalHeader::kCrc;
  stream.WriteBytes(header->View());
  stream.Write(encoded_name_);
  stream.Write(extra_data_);
  header_length_ = AddSInt32(LocalHeader::kSize, AddSInt32(LenB(encoded_name_), LenB(extra_data_)));
  data_start_ = AddSInt32(archive_.startOfDirInArchive, header_length_);
  member_end_ = data_start_;
}

std::int32_t EntryWriter::AppendEntry() {
  BinaryStream& stream = *archive_.d->zipStream;
  // The position counts what the stream was given; whether the disk took it shows here.
  stream.Flush();
  const bool beyond_the_format = member_end_ < 0;
  if (beyond_the_format || stream.WriteFaults() != write_faults_before_) return FailToWrite();
  record_->SetLong(CentralHeader::kCrc, crc_);
  record_->SetLong(CentralHeader::kCompressedSize, SubtractSInt32(member_end_, data_start_));
  record_->SetLong(CentralHeader::kLocalHeaderOffset, archive_.startOfDirInArchive);
  archive_.startOfDirInArchive = member_end_;
  archive_.d->entries_1.push_back(entry_);
  return archive_.d->UpperBound();
}

std::int32_t EntryWriter::FailToWrite() {
  return Fail(AddResult::kStoreFailed, "Write error, the archived item may be corrupted");
}

std::int32_t EntryWriter::Fail(std::int32_t result, const char* message) {
  archive_.errmsg = message;
  return result;
}

std::int32_t ZipArchive::AddItemByStreams(const Ref<SeqDataInputStream>& dataIn, std::int32_t dataLength,
                                          const Ref<SeqDataInputStream>& rsrcIn, std::int32_t rsrcLength,
                                          const Ref<MemoryBlock>& macBinaryHeader, const String& name,
                                          const Ref<ZipExtraField>& extra, const Ref<Date>& date) {
  if (rsrcIn && (!macBinaryHeader || macBinaryHeader->Size() == 0)) {
    throw RuntimeException("a resource fork can only be stored behind a MacBinary header");
  }
  if (!writeMode) {
    z_noWriteMsg();
    return AddResult::kNotStored;
  }
  return z_zip(dataIn, dataLength, rsrcIn, rsrcLength, macBinaryHeader, name, date, extra);
}

std::int32_t ZipArchive::z_zip(const Ref<SeqDataInputStream>& dataIn, std::int32_t dataLength,
                               const Ref<SeqDataInputStream>& rsrcIn, std::int32_t rsrcLength,
                               const Ref<MemoryBlock>& macBinaryHeader, const String& name,
                               const Ref<Date>& date, const Ref<ZipExtraField>& extra) {
  return WithRuntimeGuard(errmsg, AddResult::kUnexpectedFault, AddResult::kStoreFailed, [&] {
    EntryWriter writer(*this, {dataIn, dataLength, rsrcIn, rsrcLength, macBinaryHeader});
    return writer.Store(name, date, extra);
  });
}

}  // namespace vantorel
