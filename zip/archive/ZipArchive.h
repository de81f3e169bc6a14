// A Zip archive: opened, read, changed in place and closed. Open it, then walk Entry(1) to
// Entry(EntryCount()); a writable archive that is dropped without Close or Desctructor is left without a
// directory. Single-volume archives of format version 2.0, up to 2^31 - 1 bytes. Used from one thread; the
// archive and its entries share one file position.
//
// Operations answer with a Boolean or a number and leave the reason of a failure in errmsg, which a success
// does not clear. Only misuse raises: RuntimeException before a successful Open, OutOfBoundsException for an
// index. Changes to an archive that is not writable fail with "Archive was opened read-only".
//
// The operations lie in
//   ZipArchiveOpening.cpp    construction, Open, Close, Desctructor
//   ZipArchiveReading.cpp    z_readDirectory
//   ZipArchiveAccess.cpp     Entry, EntryCount, SetComment, EncodedAsMacDefault
//   ZipArchiveNames.cpp      raw paths, look-up, CleanName, IsValidName, z_sameFolderItem
//   FileReferences.cpp       GetUnixPermissions
//   zip/write                MakeZipExtraField (MakeZipExtraField.cpp); z_zip, AddItemByStreams; z_addItem,
//                            z_addFolder, AddItem…, AddFolderContents, Calc…Size; z_writeDirectory, Flush;
//                            Compact, RemoveEntry, ReplaceEntry, Mark, Rollback, z_abort, z_copy and the
//                            sort; MakeMacBinaryHeader, z_makeMBHdr, AddFakeDuplicate, z_dblToLong, z_cloneMB
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/base/Ref.h"
#include "platform/files/Date.h"
#include "platform/files/FolderItem.h"
#include "platform/files/MemoryBlock.h"
#include "platform/text/String.h"
#include "platform/text/TextEncoding.h"
#include "zip/archive/ZipArchiveData.h"
#include "zip/archive/ZipEntry.h"
#include "zip/archive/ZipProgressNotifier.h"
#include "zip/write/ZipExtraField.h"

namespace vantorel {

class SeqDataInputStream;

class ZipArchive : public Object {
 public:
  bool entriesRead = false;  // the entry list is valid
  String errmsg;             // message of the last failure
  String comment_;           // the archive comment: bytes without a label
  static constexpr double maxIntPlus1 = 2147483648.0;
  bool writeMode = false;                // the archive may be changed
  std::int32_t startOfDirInArchive = 0;  // offset of the directory, and of the next member to be written
  bool justCreated = false;              // Open made the file
  bool marked = false;                   // a rollback mark is set
  std::int32_t markEntries = 0;          // count of entries at the mark
  std::int32_t markDirStart = 0;         // startOfDirInArchive at the mark
  std::vector<Ref<MemoryBlock>> compactEntries;  // working list of Compact
  std::vector<std::int32_t> compactOffset;       // working list of Compact
  Ref<ZipArchiveData> d;                         // the shared state; made once, never replaced
  bool centralDirCorrupted = false;              // more records than announced; blocks writing

  // As Open(file, writable, EncodedAsUnicode()).
  virtual bool Open(const Ref<FolderItem>& file, bool writable);
  // Counts from 1. Raises OutOfBoundsException.
  virtual Ref<ZipEntry> Entry(std::int32_t index);
  virtual std::int32_t EntryCount();
  // Reads the central directory of the open stream into d->entries_1. Sets entriesRead, or errmsg.
  virtual void z_readDirectory();
  // Writes the directory if it is due, closes the file and forgets the entries. False with a message if an
  // entry or the place of the directory is not sound; the archive is closed all the same. A full disk
  // does not show here: take d->zipStream before, and ask it for WriteError() after. A comment that a record
  // took over from the one before it is written out as its own. Open may follow.
  virtual bool Close();
  // Close; if that fails for an archive that this object created, the file is deleted. Must be called:
  // nothing else does.
  virtual void Desctructor();
  virtual String ErrorMessage() { return errmsg; }
  virtual String Comment() { return comment_; }
  // Adds one item under `path`. `mode`: see MacBinaryNever. Index of the new entry, or 0, -1, -2, -38, -50.
  // With `sizeOnly` nothing is stored, and the result is the number of bytes that would be.
  virtual std::int32_t z_addItem(const Ref<FolderItem>& item, const String& path, std::int32_t mode,
                                 bool unixPermissions, bool sizeOnly);
  // Closes the holes that removed members left, in place. Loses data descriptors.
  virtual bool Compact();
  // Drops an entry from the list; its bytes stay until Compact.
  virtual bool RemoveEntry(std::int32_t index);

  ZipArchive();
  // Writes nothing and closes nothing in order: an archive that is dropped without Close is not finished.
  ~ZipArchive() override;

  virtual void z_setup();
  // Puts `newEntry` at `index`; returns the one that was there, nil if the archive is not writable.
  virtual Ref<ZipEntry> ReplaceEntry(std::int32_t index, const Ref<ZipEntry>& newEntry);
  // Stores the bytes of `text` as they stand, in no matter what encoding.
  virtual bool SetComment(const String& text);
  // Adds what is in `folder`, recursively, with `prefix` in front of the names.
  virtual bool AddFolderContents(const Ref<FolderItem>& folder, const String& prefix, std::int32_t mode,
                                 bool followAliases);
  virtual void SetProgressMonitor(const Ref<ZipProgressNotifier>& monitor) { d->monitor = monitor; }
  virtual Ref<ZipProgressNotifier> ProgressMonitor() { return d->monitor; }
  // Stores one member from unopened streams, any object argument may be nil. Index of the new entry, or 0,
  // -2, -38, -50. At the end the file has no directory until Flush or Close.
  virtual std::int32_t z_zip(const Ref<SeqDataInputStream>& dataIn, std::int32_t dataLength,
                             const Ref<SeqDataInputStream>& rsrcIn, std::int32_t rsrcLength,
                             const Ref<MemoryBlock>& macBinaryHeader, const String& name,
                             const Ref<Date>& date, const Ref<ZipExtraField>& extra);
  virtual void z_noWriteMsg() { errmsg = "Archive was opened read-only"; }
  // Writes central directory and end record and cuts the file there, if d->dirty. False with a message.
  virtual bool z_writeDirectory();
  // As z_addItem, for the contents of a folder: 0 when all is done, negative on a failure.
  virtual std::int32_t z_addFolder(const Ref<FolderItem>& folder, const String& prefix, bool followAliases,
                                   std::int32_t mode, bool unixPermissions, bool sizeOnly);
  // Puts a failed item to the monitor. True means stop.
  virtual bool z_abort(const Ref<FolderItem>& item, std::int32_t code, const String& message,
                       bool canContinue);
  // Remembers the present end, for Rollback.
  virtual void Mark();
  // Drops what was added since Mark. False if there is no mark, or it has been passed by.
  virtual bool Rollback();
  // Sorts compactEntries and compactOffset by offset.
  virtual void z_ArrayQuickSort(std::int32_t low, std::int32_t high);
  virtual std::int32_t z_partition(std::int32_t low, std::int32_t high);
  virtual std::int32_t z_Compare(std::int32_t a, std::int32_t b);
  virtual void z_Swap(std::int32_t a, std::int32_t b);
  // Writes the directory now; the archive stays open. A first failed write still answers true.
  virtual bool Flush();
  // Moves bytes within the archive file, front to back.
  virtual void z_copy(std::int32_t source, std::int32_t target, std::int32_t length);
  virtual std::int32_t AddItemWithRawPath(const Ref<FolderItem>& item, const String& path, std::int32_t mode);
  virtual std::int32_t AddItemToRoot(const Ref<FolderItem>& item, std::int32_t mode);
  // The raw path of `item` below `baseFolder`, without a trailing "/"; "" if it is not below it.
  virtual String RawPath(const Ref<FolderItem>& baseFolder, const Ref<FolderItem>& item);
  // The components, each cleaned, joined by "/".
  virtual String RawPath(const std::vector<String>& components);
  // The same item by parent and name. Raises NilObjectException.
  virtual bool z_sameFolderItem(const Ref<FolderItem>& a, const Ref<FolderItem>& b);
  // Whether CleanName would leave the name as it is.
  virtual bool IsValidName(const String& name);
  virtual bool IsOpen() { return d->zipStream != nil; }
  virtual bool IsWritable() { return d->zipStream != nil && writeMode; }
  virtual Ref<MemoryBlock> z_makeMBHdr(std::int32_t dataLength, std::int32_t rsrcLength, const String& name,
                                       const String& type, const String& creator, const Ref<Date>& created,
                                       const Ref<Date>& modified, const Ref<FolderItem>& item);
  // As z_zip; mind the order of the last two arguments.
  virtual std::int32_t AddItemByStreams(const Ref<SeqDataInputStream>& dataIn, std::int32_t dataLength,
                                        const Ref<SeqDataInputStream>& rsrcIn, std::int32_t rsrcLength,
                                        const Ref<MemoryBlock>& macBinaryHeader, const String& name,
                                        const Ref<ZipExtraField>& extra, const Ref<Date>& date);
  // A 128-byte MacBinary header. Raises RuntimeException on an empty name.
  virtual Ref<MemoryBlock> MakeMacBinaryHeader(const Ref<FolderItem>& item);
  virtual Ref<MemoryBlock> MakeMacBinaryHeader(const Ref<FolderItem>& item, std::int32_t dataLength,
                                               std::int32_t rsrcLength, const String& name);
  virtual Ref<MemoryBlock> MakeMacBinaryHeader(std::int32_t dataLength, std::int32_t rsrcLength,
                                               const String& name, const String& type, const String& creator,
                                               const Ref<Date>& created, const Ref<Date>& modified);
  // The others take Finder data that cannot be read for none; for who has read them himself.
  Ref<MemoryBlock> MakeMacBinaryHeader(const Ref<FolderItem>& item, std::int32_t dataLength,
                                       std::int32_t rsrcLength, const String& name,
                                       const FinderInfo& catalog);
  // A number from 0 to 2^32 - 1 as the signed number of the same bit pattern.
  virtual std::int32_t z_dblToLong(double value);
  // A ZPIT record for an item, with its own name or the given one; none (nil) for a folder with no name.
  virtual Ref<ZipExtraField> MakeZipExtraField(const Ref<FolderItem>& item);
  virtual Ref<ZipExtraField> MakeZipExtraField(const Ref<FolderItem>& item, const String& name);
  // A ZPIT record; `type` and `creator` are 4 bytes, of `name` at most 255 bytes are kept.
  virtual Ref<ZipExtraField> MakeZipExtraField(const String& type, const String& creator, const String& name);
  // Any block, made elsewhere.
  virtual Ref<ZipExtraField> MakeZipExtraField(const String& block);
  // The encodings that an archive's names may be in.
  virtual Ref<TextEncoding> EncodedAsWinLatin1() { return GetTextEncoding(1280, 0, 0); }
  virtual Ref<TextEncoding> EncodedAsUnicode() { return Encodings::UTF8(); }
  virtual Ref<TextEncoding> EncodedAsMacDefault();
  virtual Ref<TextEncoding> EncodedAsDOSLatinUS() { return GetTextEncoding(1024, 0, 0); }
  // Opens an archive and reads its directory; with `writable` a missing file is created. `encoding` is that
  // of the names, nil for UTF-8. False with a message. A directory with more records than it announces opens,
  // but not for writing. REQUIRES: not open.
  virtual bool Open(const Ref<FolderItem>& file, bool writable, const Ref<TextEncoding>& encoding);
  // Modes of adding: data fork only, MacBinary for files with a resource fork, MacBinary for everything.
  virtual std::int32_t MacBinaryNever() { return 0; }
  virtual std::int32_t MacBinarySmart() { return 1; }
  virtual std::int32_t MacBinaryAlways() { return 2; }
  // Bytes that adding would store before compression. Of a file's length the low 32 bits count, here as in
  // adding: 4 GiB and 100 bytes give 100.
  virtual std::int32_t CalcItemSize(const Ref<FolderItem>& item, std::int32_t mode);
  // The sum for the contents of a folder; -1 beyond 2^31.
  virtual std::int32_t CalcFolderSize(const Ref<FolderItem>& folder, bool followAliases, std::int32_t mode);
  // A second name for a member's data. Index of the new entry, or 0 with a message. REQUIRES: a date.
  virtual std::int32_t AddFakeDuplicate(const Ref<ZipEntry>& entry, const String& name, const Ref<Date>& date,
                                        const Ref<ZipExtraField>& extra);
  virtual Ref<MemoryBlock> z_cloneMB(const Ref<MemoryBlock>& block);
  // The name with "/" and "\" made "-". REQUIRES: the name has an encoding.
  virtual String CleanName(const String& name);
  virtual void SetDefaultOSMadeBy(std::int32_t value) { d->defaultOSMadeBy = value; }
  virtual std::int32_t DefaultOSMadeBy() { return d->defaultOSMadeBy; }
  // The 16-bit Unix mode of an item. False, with `mode` untouched, if it cannot be had.
  virtual bool GetUnixPermissions(const Ref<FolderItem>& item, std::int32_t& mode);
  virtual void PreserveUnixPermissions(bool flag) { d->addUnixPerm = flag; }
  virtual bool PreservingUnixPermissions() { return d->addUnixPerm; }
  // Of the Zip engine.
  virtual double Version() { return 1.3; }
  // Index of the first entry at or after `start` of this raw path, ignoring case; 0 if none. `start` is 1 to
  // EntryCount() + 1, else OutOfBoundsException. A linear scan.
  virtual std::int32_t EntryIdxByRawPath(const String& rawPath, std::int32_t start);
  // The stored form of a raw path, without a leading "/".
  virtual String z_pathToEncName(const String& rawPath);
  // Whether companions were folded into their main entries.
  virtual bool UsesAppleDittoFormat() { return d->dittoFormat; }
  virtual std::vector<String> AllEntriesAsRawPaths();

 private:
  // Sets errmsg; false.
  bool Fail(const char* message);

  // Open without its guard, and its two ways.
  bool OpenUnguarded(const Ref<FolderItem>& file, bool writable, const Ref<TextEncoding>& encoding);
  bool OpenCreating();
  bool OpenExisting(bool writable);

  // The steps of z_readDirectory; false with a message. FindEndRecord leaves the stream behind the signature
  // of the end record.
  bool CheckFirstRecord();
  bool FindEndRecord();
  bool ReadEndRecord(std::int32_t& count, std::int32_t& size);
  bool ReadRecords(std::int32_t count, std::int32_t size);
  bool CheckRecord(std::string_view record);
};

}  // namespace vantorel
