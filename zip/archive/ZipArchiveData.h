// The state that an archive shares with all of its entries: the open file, the entry list, the encoding of
// the names, and the low-level operations that need nothing else. Made by ZipArchive; entries hold it too,
// which is a cycle that ZipArchive::Close breaks. Used from one thread.
//
// The operations lie in Names.cpp (names, encodings, look-up), Companions.cpp (checkDirectory) and
// FileReferences.cpp (references to files, modes of files, the shifts); ZipArchiveData.cpp holds the rest.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/base/Ref.h"
#include "platform/files/BinaryStream.h"
#include "platform/files/Dictionary.h"
#include "platform/files/FolderItem.h"
#include "platform/files/MemoryBlock.h"
#include "platform/text/String.h"
#include "platform/text/TextEncoding.h"
#include "zip/archive/ZipProgressNotifier.h"

namespace vantorel {

class MemberDeflater;
class ZipEntry;

// A folder that a destination lay in, once no link was met on the way to it below its root. It is known again
// by its identity, so that what happens to the path meanwhile does not matter.
struct FolderWithoutLinks {
  std::string root;
  std::string path;
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  bool operator==(const FolderWithoutLinks&) const = default;
};

class ZipArchiveData : public Object {
 public:
  bool dirty = false;                    // the directory must be rewritten on Close or Flush
  Ref<ZipProgressNotifier> monitor;      // or nil
  std::vector<Ref<ZipEntry>> entries_1;  // entry i is at index i; index 0 exists, is nil and never used
  Ref<FolderItem> theFile;               // the archive file
  Ref<BinaryStream> zipStream;           // the open file, little-endian; nil means closed
  std::int32_t copyChunkSize = 0;        // bytes per step of a bulk copy
  Ref<TextEncoding> archiveEncoding;     // of the names and comments stored in this archive
  Ref<TextEncoding> filenameEncoding;    // what archiveEncoding falls back to
  Ref<TextEncoding> dosLatinUS;          // kept, never read
  std::int32_t defaultOSMadeBy = 0;      // what new entries get as their OSMadeBy
  bool addUnixPerm = false;              // new entries record Unix permissions
  Ref<MemoryBlock> mb4;                  // 4-byte big-endian scratch block of the shifts
  bool dittoFormat = false;              // the archive held AppleDouble companions

  // `name` with "/" and "\" made "-", so that it can stand as one component of a path.
  virtual String cleanName(const String& name);
  // `text` converted to the archive's encoding. A text without a label counts as SystemDefault.
  virtual String encodeForZip(const String& text);

  ZipArchiveData();
  ~ZipArchiveData() override;

  // Stored bytes labelled with the archive's encoding. The bytes do not change.
  virtual String decodeFromZip(const String& bytes);
  // nil stands for filenameEncoding.
  virtual void setArchiveEncoding(const Ref<TextEncoding>& encoding);
  virtual Ref<TextEncoding> findFileNameEncoding();
  // Whether a central header is a fake duplicate: a second record for data that another record owns.
  // `localFlags` is the flag word of its local header as a signed 16-bit value, or -1 to have it read from
  // the file, which moves the stream's position.
  virtual bool isFakeEntry(const Ref<MemoryBlock>& header, std::int32_t localFlags);
  // The 16-bit mode of the file that makeFSRef referred to. 0 on success, else a negative code and `mode`
  // untouched.
  virtual std::int32_t getUnixPermissionsFromFile(const Ref<MemoryBlock>& reference, std::int32_t& mode);
  // An opaque reference to an item, which need not exist until it is used; nil for nil.
  virtual Ref<MemoryBlock> makeFSRef(const Ref<FolderItem>& item);
  // The file's mode becomes `setBits` OR (`keepMask` AND mode). 0 on success, else a negative code.
  virtual std::int32_t updateUnixPermissions(const Ref<MemoryBlock>& reference, std::int32_t keepMask,
                                             std::int32_t setBits);
  // The high 16 bits of `value` as an unsigned number.
  virtual std::int32_t shiftRight16(std::int32_t value);
  // The low 16 bits of `value` moved to the high half; may be negative.
  virtual std::int32_t shiftLeft16(std::int32_t value);
  // Folds AppleDouble companions into their main entries and drops the folders of the __MACOSX tree. `index`
  // maps Base64 of a stored name, less a trailing "/", to its ZipEntry; the keys of main entries are used up.
  virtual void checkDirectory(const Ref<Dictionary>& index);
  // Position (from 1) of the last match of `pattern`, ignoring case; 0 if there is none.
  virtual std::int32_t lastInStr(const String& text, const String& pattern);
  // Index of the first entry at or after `start` (1 or more) with this stored name, ignoring case; 0 if none.
  // A linear scan: who looks up many names keeps an index of his own.
  virtual std::int32_t lookup(const String& storedName, std::int32_t start);

  // The parent's identity and the leaf name of an item: 70 bytes in the machine's order, with the low half of
  // MacVRefNum at 0, MacDirID at 2 and the name as a Pascal string at 6. nil if the item does not exist or
  // its name is longer than 63 bytes.
  virtual Ref<MemoryBlock> FSSpecOfFSRef(const Ref<MemoryBlock>& reference);
  virtual Ref<MemoryBlock> FSRefOfFolderItem(const Ref<FolderItem>& item);
  virtual Ref<MemoryBlock> FSSpecOfFolderItem(const Ref<FolderItem>& item);

  FolderWithoutLinks last_folder;  // of the last destination: most members lie where the one before does

  // Upper bound of entries_1: the count of entries.
  std::int32_t UpperBound() const { return static_cast<std::int32_t>(entries_1.size()) - 1; }
  // What a reader of the directory does last: checkDirectory with the index of the entries from `first` on.
  // What an earlier reading left before them may leave the list, but finds no companion.
  void CheckNewEntries(std::size_t first);
  // Makes what deflates the data of a new member, at the default level if none is set.
  std::function<std::unique_ptr<MemberDeflater>()> new_deflater;

 private:
  // What a reference stands for, whether or not it exists.
  static Ref<FolderItem> ItemOf(const Ref<MemoryBlock>& reference);
};

}  // namespace vantorel
