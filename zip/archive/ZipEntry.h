// One member of an archive. Its core is the central file header as it stands in the file: accessors read the
// block in place and setters write there, so that the directory writer can put it back as it is. An entry
// outlives the closing of its archive; then only what needs the file fails, with a message in errmsg. Header,
// extra field and gzip header are made when someone asks for them, for each entry its own: a directory of
// tens of thousands of members then costs little more than its bytes. Where memory for them is short they
// raise OutOfMemoryException.
//
// The operations lie in
//   ZipEntry.cpp            construction, parts made on demand, z_setup, z_setAppleDoubleEntry
//   ZipEntryFields.cpp      accessors over the header block, times, comment, extra fields
//   ZipEntryNames.cpp       GetPath, SameRawPath, z_checkRawPath
//   zip/extract             Extract, Verify, z_unzip, MakeDestination…, z_icMapFilename, GetMacBinaryHeader,
//                           z_MBHdrLevel, Has/ApplyMacAttributes, ApplyMacBinaryInformation, z_CRC,
//                           z_adjustMacFilename, ApplyUnixPermissions, z_unzipMBHdr
#pragma once

#include <cstdint>
#include <vector>

#include "platform/base/Ref.h"
#include "platform/files/Date.h"
#include "platform/files/FolderItem.h"
#include "platform/files/MemoryBlock.h"
#include "platform/text/String.h"
#include "zip/archive/OnDemand.h"
#include "zip/archive/ZipArchiveData.h"
#include "zip/archive/ZipPath.h"
#include "zip/write/ZipExtraField.h"

namespace vantorel {

class SeqDataOutputStream;

// What lies behind the stated size in deflated data: nothing; more data; what is no deflated data, or a wrong
// sum.
enum class DataEnd : std::uint8_t { kSound, kGoesOn, kFaulty };

class ZipEntry : public Object {
  // The parts that are made on demand.
  Ref<MemoryBlock> MakeHeader() const;
  Ref<ZipExtraField> MakeExtra() const;
  Ref<MemoryBlock> MakeZlibPrefix() const;

 public:
  String sysEncComment;  // the comment as text, in the archive's encoding
  String zipEncName;     // the name as stored: bytes without a label
  // The 46-byte central header (CentralHeader), little-endian.
  OnDemand<ZipEntry, MemoryBlock, &ZipEntry::MakeHeader> header{*this};
  // The central extra field, locked.
  OnDemand<ZipEntry, ZipExtraField, &ZipEntry::MakeExtra> extra{*this};
  // The gzip header that goes ahead of deflated data.
  OnDemand<ZipEntry, MemoryBlock, &ZipEntry::MakeZlibPrefix> zlib_prefix{*this};
  String errmsg;          // message of the last failure; not cleared by a success
  ZipPath path;           // the name split at "/"
  bool isFolder = false;  // the name ends in "/"
  static constexpr double maxIntPlus1 = 2147483648.0;
  Ref<ZipArchiveData> d;                   // the shared state of the archive
  String sysEncName;                       // the name as text, in the archive's encoding: the raw path
  String zipEncComment;                    // the comment as stored: bytes without a label
  bool supportMB1 = false;                 // accept MacBinary I headers
  bool lockFiles = false;                  // apply the locked state on extraction
  Ref<ZipEntry> appleDoubleEntry;          // the companion with the resource fork and Finder data, or nil
  bool z_hasDittoName = false;             // the name has the form of such a companion's
  bool thisIsTheAppleDoubleEntry = false;  // this entry is another one's companion
  bool runningOnClassic = false;           // the system version is below 10
  DataEnd dataEnd = DataEnd::kSound;       // how deflated data went on when z_unzip came to the stated size

  // Signed: sizes of 2^31 bytes and more read as negative numbers.
  virtual std::int32_t CompressedSize();
  // The whole name as text; a folder's ends in "/".
  virtual String RawPath() { return sysEncName; }
  virtual void GetPath(std::vector<String>& result);
  // Only the name decides.
  virtual bool IsDirectory() { return isFolder; }
  // Local time as the header states it, without a range check; nil if date and time are both 0.
  virtual Ref<Date> Time();
  virtual bool IsEncrypted();
  // Stored or deflated, not encrypted, and no folder.
  virtual bool CanExtract();
  virtual std::int32_t CompressionMethod();
  // As Extract(destination, true).
  virtual bool Extract(const Ref<FolderItem>& destination) { return Extract(destination, true); }

  // `header_block` and `extra_field` may be nil; `name` and `comment` are stored bytes.
  ZipEntry(const Ref<ZipArchiveData>& data, const Ref<MemoryBlock>& header_block, const String& name,
           const Ref<ZipExtraField>& extra_field, const String& comment);
  // Of a record as it stands in the directory, which holds the extra field; the other texts may be another's.
  ZipEntry(const Ref<ZipArchiveData>& data, const String& record, const String& name, const String& comment);
  ~ZipEntry() override;

  // As header->UShort and header->Long, without the making of a block.
  std::uint16_t HeaderUShort(std::int32_t offset) const;
  std::int32_t HeaderLong(std::int32_t offset) const;
  // The bytes of zlib_prefix and of extra, likewise.
  String ZlibPrefix() const;
  String ExtraBytes() const;

  // Decompresses the member and throws the bytes away. False with a message if it is damaged.
  virtual bool Verify();
  virtual String Comment() { return sysEncComment; }
  // Streams the member's bytes into the outputs, either of which may be nil. They come unopened; what was
  // opened is closed. `header_block` is set to nil, and to the MacBinary header if one was found. False with
  // a message on a fault.
  virtual bool z_unzip(const Ref<SeqDataOutputStream>& data_out, const Ref<SeqDataOutputStream>& rsrc_out,
                       bool mac_binary, bool header_only, Ref<MemoryBlock>& header_block);
  virtual void z_setup();
  virtual String ErrorMessage() { return errmsg; }
  // Where this member belongs below `root`. The folders on the way are made, the item itself is not. nil if a
  // symbolic link is on the way below `root` and `resolve_aliases` is false. Does not keep to `root` if the
  // name holds ".." components; raises NilObjectException for one that climbs above the file system, and for
  // a folder whose name holds a zero byte.
  virtual Ref<FolderItem> MakeDestination(const Ref<FolderItem>& root, bool resolve_aliases);
  // Extraction into the caller's streams; one of them or `mac_binary` must be given, else RuntimeException.
  virtual bool Extract(bool mac_binary, const Ref<SeqDataOutputStream>& data_out,
                       const Ref<SeqDataOutputStream>& rsrc_out, Ref<MemoryBlock>& header_block);
  // Signed, as CompressedSize.
  virtual std::int32_t Size();
  // Changes the entry in memory and marks the directory as dirty, also in a read-only archive.
  virtual void SetComment(const String& text);
  // The central extra field, never nil. Raises RuntimeException if it is not locked.
  virtual Ref<ZipExtraField> ExtraFieldInCentralDir();
  // The block itself, not a copy.
  virtual Ref<MemoryBlock> z_Header() { return header; }
  // Builds path, isFolder and z_hasDittoName from sysEncName.
  virtual void z_checkRawPath();
  // The type and creator that go with a file name; false, with both untouched, if none are known.
  virtual bool z_icMapFilename(const String& name, String& type, String& creator);
  // As Extract(destination, true, true), whatever the flag says: callers rely on forks and execute bits.
  virtual bool Extract(const Ref<FolderItem>& destination, bool /*flag*/) {
    return Extract(destination, true, true);
  }
  // The member's header block, or nil in `header_block` if it has none. False with a message on a fault.
  virtual bool GetMacBinaryHeader(Ref<MemoryBlock>& header_block);
  // The MacBinary level of a 128-byte big-endian block: 0 (none) to 4.
  virtual std::int32_t z_MBHdrLevel(const Ref<MemoryBlock>& block);
  // Gives the item the dates, name, type, creator and Finder flags of a header block, as far as they can be
  // had. 0, or a negative error code (-errno) if it is not for the type, creator and flags; the engine itself
  // goes on all the same.
  virtual std::int32_t ApplyMacBinaryInformation(const Ref<FolderItem>& item,
                                                 const Ref<MemoryBlock>& header_block);
  // MacBinary's CRC-16 of the first `length` bytes, 0 to 65535.
  virtual std::int32_t z_CRC(const Ref<MemoryBlock>& block, std::int32_t length);
  // The 32-bit pattern read as an unsigned number.
  virtual double z_ulongToDouble(std::int32_t value);
  virtual String z_origEncodedName() { return zipEncName; }
  virtual String z_origEncodedComment() { return zipEncComment; }
  // Gives the item its exact Mac name, if that is clearly the same name.
  virtual void z_adjustMacFilename(const String& name, std::int32_t script, const Ref<FolderItem>& item);
  // Whether this is the stored name, ignoring case.
  virtual bool SameRawPath(const String& raw_path);
  // One step of MakeDestination.
  virtual Ref<FolderItem> MakeDestinationChild(const Ref<FolderItem>& parent, const String& name,
                                               bool resolve_aliases);
  virtual bool IsTextFile();
  // The three setters over the header do not mark the directory as dirty.
  virtual void SetTextFileFlag(bool flag);
  virtual std::int32_t OSMadeBy();
  virtual void SetOSMadeBy(std::int32_t value);
  // Locks and stores the field (nil: an empty one) and marks the directory as dirty.
  virtual void SetExtraFieldInCentralDir(const Ref<ZipExtraField>& field);
  // The local extra field, read from the file each time; the stream's position is put back. nil with a
  // message if the archive is closed or the local header damaged.
  virtual Ref<ZipExtraField> ExtraField();
  virtual void EnableMacBinary1Detection(bool flag) { supportMB1 = flag; }
  virtual void EnableFileLocking(bool flag) { lockFiles = flag; }
  // The last component. Raises OutOfBoundsException if there is none.
  virtual String Name() { return path.back(); }
  virtual std::int32_t ExternalFileAttributes();
  virtual void SetExternalFileAttributes(std::int32_t value);
  // Applies the Unix mode in the member's own external attributes. True if it was set.
  virtual bool ApplyUnixPermissions(const Ref<FolderItem>& item);
  // Extraction to a file or folder, with forks and metadata. `mac_binary`: unwrap MacBinary and use the
  // companion; `make_executable`: a file of no known mode that is no text gets the execute bits. An existing
  // file is replaced, and lost if the extraction fails. False with a message; "No destination given" also
  // where MakeDestination gave nil, since a symbolic link is in the way. A folder fails if its companion
  // is longer than a header of 82 bytes, as real ones are.
  virtual bool Extract(const Ref<FolderItem>& destination, bool mac_binary, bool make_executable);
  virtual bool ApplyUnixPermissions(const Ref<FolderItem>& item, std::int32_t attributes);
  virtual void z_setAppleDoubleEntry(const Ref<ZipEntry>& companion);
  // Looks at the first bytes of a member's stream for a header; false only for a bad AppleDouble one.
  virtual bool z_unzipMBHdr(bool is_apple_double, const String& data, Ref<MemoryBlock>& header_block,
                            std::int32_t& resource_offset);
  // Minutes east of UTC of the local time zone at this moment.
  virtual std::int32_t UTCOffsetInMinutes();

  // Whether anything is known of the type and creator: by a header block, or the extra field.
  bool HasMacAttributes(const Ref<MemoryBlock>& header_block) const;
  // Gives the item what goes with the member, from the first source there is: the header block, whose dates
  // count too; the extra field; the name. The result is as above.
  std::int32_t ApplyMacAttributes(const Ref<FolderItem>& item, const Ref<MemoryBlock>& header_block);

 private:
  String record_;  // what header and extra are made of; empty for an entry that comes from no directory
};

}  // namespace vantorel
