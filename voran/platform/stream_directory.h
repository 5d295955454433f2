#pragma once

#include <cstdint>
#include <istream>
#include <memory>
#include <ostream>

#include "voran/export.h"

inline namespace voran {
namespace detail {

class InputLevel;
class InputRoot;
class OutputLevel;
class OutputRoot;

}  // namespace detail

/// A directory of numbered entries inside a stream, for writing.
///
///     OutputStreamDirectory directory(file, 2);
///     WriteFourBytes(&count, 1, directory.GetOutput(0));
///     directory.GetOutput(1) << matrix;
///     if (!directory.Close()) ...
///
/// One entry is open at a time: opening the next one ends it for good, in any order. An entry that is never opened is
/// absent in the file, which a reader tells from an empty one. The stream of an entry may hold directories of its own.
/// It is buffered, can tell its position and not be moved, and is good until Close(). A byte is copied once, whatever
/// the depth, into a buffer of 64 KiB per outermost directory.
///
/// The host's stream must be able to seek; one that cannot gets failbit and nothing is written. It is not to be used
/// otherwise until Close(). Any failure shows in it as failbit; if it is set to throw, Close() throws.
class VORAN_EXPORT OutputStreamDirectory {
 public:
  OutputStreamDirectory(std::ostream& stream, unsigned short entries);
  /// Closes; during the unwinding of an exception it does not: the directory then is marked as broken in the file, and
  /// the stream as failed.
  ~OutputStreamDirectory();

  OutputStreamDirectory(const OutputStreamDirectory&) = delete;
  OutputStreamDirectory& operator=(const OutputStreamDirectory&) = delete;

  /// The stream of entry i, counted from 0; for an entry that is open already, where it stands. A failed stream, and
  /// no true from Close(), if i is too large or the entry was ended before.
  std::ostream& GetOutput(unsigned short i);

  /// Ends the open entry and writes the table. The host's stream then stands right behind the directory; an outermost
  /// one is flushed. True if everything was written; a directory of which anything failed reads as damaged.
  bool Close();

 private:
  void EndEntry();
  void Abandon();
  void TellHost() noexcept;

  std::ostream& enclosing_;
  std::shared_ptr<detail::OutputRoot> root_;
  detail::OutputLevel* level_ = nullptr;  ///< null when closed, or if there could be none
  std::uint64_t begin_ = 0;
  int openEntry_ = -1;
  int exceptionsAtStart_;
  bool result_ = false;
};

/// The same for reading.
///
/// Nothing is believed: the table has to be undamaged and consistent and to lie within what the stream holds, an
/// entry cannot be read past its end, and when an entry that was opened ends, by opening another or by Close(), it must
/// have been read completely and have the right checksum. Otherwise its stream and the enclosing one get failbit, and
/// Close() returns false. Entries that are never opened are not checked. Entries may be opened in any order and more
/// than once; all share one stream object, so that after a failure none reads on.
class VORAN_EXPORT InputStreamDirectory {
 public:
  explicit InputStreamDirectory(std::istream& stream);
  /// Closes.
  ~InputStreamDirectory();

  InputStreamDirectory(const InputStreamDirectory&) = delete;
  InputStreamDirectory& operator=(const InputStreamDirectory&) = delete;

  /// The stream of entry i, or null if the file has no such entry, or if the directory is damaged or closed.
  std::istream* GetInput(unsigned short i);

  /// The host's stream then stands right behind the directory. True if nothing was found wrong.
  bool Close();

 private:
  bool ReadTable(std::uint64_t limit);
  void EndEntry();

  std::istream& enclosing_;
  std::shared_ptr<detail::InputRoot> root_;
  detail::InputLevel* level_ = nullptr;  ///< null when closed, or if there could be none
  std::uint64_t begin_ = 0;
  std::uint64_t end_ = 0;
  int openEntry_ = -1;
  bool result_ = false;
};

}  // namespace voran
