#pragma once

#include <atomic>
#include <istream>
#include <ostream>

#include "voran/export.h"

inline namespace voran {

/// The stream identity of a class, one static instance for each: the name and version that head its objects.
///
/// What Check() remembers belongs to the class: objects of one class are read by one thread at a time.
class VORAN_EXPORT VStreamableData {
 public:
  /// `name` has at most 255 bytes and outlives this object.
  constexpr VStreamableData(short currentVersion, const char* name) noexcept
      : name_(name), currentVersion_(currentVersion) {}

  /// Writes the header. A stream that cannot seek fails, with nothing written to it.
  bool Write(std::ostream& stream) const;
  /// Reads a header: true if it is undamaged and bears this class's name, in any version, which is remembered.
  bool Check(std::istream& stream);

  /// The version that the last successful Check() read.
  short GetVStreamVersionNumber() const noexcept { return versionRead_.load(std::memory_order_relaxed); }
  /// The version that this program writes.
  short GetMyVStreamVersionNumber() const noexcept { return currentVersion_; }

 private:
  const char* name_;
  short currentVersion_;
  std::atomic<short> versionRead_{0};
};

/// Everything that can be written to a stream and read back.
///
/// A walk visits an object once: the first VStreamableStartWrite or VStreamableStartRead marks it, and the next one
/// does nothing and returns true, until VStreamableReset. That is how an object that is reached from two places comes
/// to be written once. WriteStreamable and ReadStreamable below are whole walks, and what a program mostly wants.
///
/// The streams are binary and must be able to seek; one that cannot gets failbit, and nothing is written to it. A false
/// result tells of a failed stream, another class or version, or damage; the object then is valid but empty, or as it
/// was if its header had been refused. Whatever the bytes are, no more memory is taken than they account for. Walks are
/// for one thread.
///
/// A class of its own identity derives from StreamWalk below. One that derives from this class alone has nothing of its
/// own in a stream but the header of VStreamBase.
class VORAN_EXPORT VStreamBase {
 public:
  virtual ~VStreamBase();

  /// Write or read this object, unless the walk has been here. The bodies of this class write and check the header of
  /// VStreamBase itself, which follows that of a derived class.
  virtual bool VStreamableStartWrite(std::ostream& stream);
  virtual bool VStreamableStartRead(std::istream& stream);
  /// Makes the object ready for another walk.
  virtual void VStreamableReset();

 protected:
  VStreamBase() noexcept = default;
  VStreamBase(const VStreamBase&) noexcept = default;
  VStreamBase& operator=(const VStreamBase&) noexcept = default;
};

/// Take part in a walk: VStreamableStartWrite or VStreamableStartRead, with failbit set where they return false. The
/// constant object is marked as visited; its value does not change.
VORAN_EXPORT std::ostream& operator<<(std::ostream& stream, const VStreamBase& object);
VORAN_EXPORT std::istream& operator>>(std::istream& stream, VStreamBase& object);

/// Writes or reads one object by itself, whether or not a walk has visited it, and leaves it ready for another. Objects
/// may follow one another in a stream, which afterwards stands right behind this one.
VORAN_EXPORT bool WriteStreamable(std::ostream& stream, const VStreamBase& object);
VORAN_EXPORT bool ReadStreamable(std::istream& stream, VStreamBase& object);

namespace detail {

/// The mark that a walk leaves in an object. It is no part of the value: a copy starts without, and an assignment
/// leaves it alone.
class WalkMark {
 public:
  WalkMark() noexcept = default;
  WalkMark(const WalkMark& /*other*/) noexcept {}
  WalkMark& operator=(const WalkMark& /*other*/) noexcept {
    return *this;
  }  // NOLINT(bugprone-unhandled-self-assignment)
  ~WalkMark() = default;

  /// Whether the walk was here before.
  bool TestAndSet() noexcept {
    const bool before = isSet_;
    isSet_ = true;
    return before;
  }
  void Clear() noexcept { isSet_ = false; }

 private:
  bool isSet_ = false;
};

}  // namespace detail

/// The walk of class `Object`, which derives from StreamWalk<Object>, has the static member
///
///     static DerivedStreamableData MyStreamableData;
///
/// and the members VStreamableWrite and VStreamableRead, to which it makes this class a friend: what follows its header
/// and the part of its base. A base that has an identity of its own is named as the second argument.
template <class Object, class Base = VStreamBase>
class VORAN_EXPORT StreamWalk : public Base {
 public:
  struct DerivedStreamableData : VStreamableData {
    using VStreamableData::VStreamableData;
  };

  bool VStreamableStartWrite(std::ostream& stream) override {
    if (streamed_.TestAndSet()) return true;
    return Object::MyStreamableData.Write(stream) && VStreamableWriteBases(stream) &&
           static_cast<Object&>(*this).VStreamableWrite(stream);
  }
  bool VStreamableStartRead(std::istream& stream) override {
    if (streamed_.TestAndSet()) return true;
    return Object::MyStreamableData.Check(stream) && static_cast<Object&>(*this).VStreamableRead(stream);
  }
  void VStreamableReset() override {
    streamed_.Clear();
    Base::VStreamableReset();
  }

  /// The version read last by any object of the class, and the one that is written.
  short GetVStreamVersionNumber() const { return Object::MyStreamableData.GetVStreamVersionNumber(); }
  short GetMyVStreamVersionNumber() const { return Object::MyStreamableData.GetMyVStreamVersionNumber(); }

 protected:
  using Base::Base;
  StreamWalk() = default;

  /// The part of the base by itself.
  bool VStreamableWriteBases(std::ostream& stream) { return Base::VStreamableStartWrite(stream); }
  bool VStreamableReadBases(std::istream& stream) { return Base::VStreamableStartRead(stream); }
  /// What VStreamableRead begins with: the part of the base, and whether the header bore the version that is written,
  /// the only one that readers accept.
  bool VStreamableReadBasesOfMyVersion(std::istream& stream) {
    return VStreamableReadBases(stream) && GetVStreamVersionNumber() == GetMyVStreamVersionNumber();
  }

 private:
  detail::WalkMark streamed_;
};

namespace detail {

/// The base for classes that are to share one VStreamBase with others in a host's object.
class VORAN_EXPORT VirtualStreamBase : public virtual VStreamBase {};

/// Writes a member by a copy, which shares its elements and has no mark: a member that a walk has met elsewhere would
/// be skipped and its data lost.
template <typename Object>
void WriteMember(std::ostream& stream, const Object& member) {
  stream << Object(member);
}

/// The same for reading, with the mark taken off before and after.
template <typename Object>
void ReadMember(std::istream& stream, Object& member) {
  member.VStreamableReset();
  stream >> member;
  member.VStreamableReset();
}

}  // namespace detail
}  // namespace voran
