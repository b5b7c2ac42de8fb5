// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A resource names the target that an I/O object is opened on. Each I/O class takes one kind; an
// open object keeps a copy of its resource to clone itself and to compare its target.

#include "base/owned.h"
#include "base/types.h"
#include "base/wide_string.h"
#include "io/base_io.h"

namespace larkspur {

enum ResourceKind : u32 {
  kResourceNone = 0,
  kResourceNamedFile = 2,
  kResourceNumberedDevice = 3,
  kResourceNestedIO = 4,
};

class cBaseIoResource {
 public:
  virtual u32 GetKind() const { return kResourceNone; }  // slot 0
  // Becomes a copy of a resource of the same kind; false otherwise.
  virtual bool Assign(const cBaseIoResource& /*other*/) { return false; }  // slot 1
  // Whether both name the same target. A filled resource equals an empty one of its kind, but not
  // the reverse: `other` without a target is taken as "any".
  virtual bool Equals(const cBaseIoResource* other) const = 0;  // slot 2
  virtual void* Destroy(u32 flags) = 0;                         // slot 3

 protected:
  ~cBaseIoResource() = default;
};

// A file or device by its path; paths that differ in letter case are different.
class cNamedFileResource final : public cBaseIoResource {
 public:
  cNamedFileResource() = default;
  explicit cNamedFileResource(std::u16string_view path) : m_path(path) {}

  const cWideString& Path() const { return m_path; }

  u32 GetKind() const override { return kResourceNamedFile; }
  bool Assign(const cBaseIoResource& other) override;
  bool Equals(const cBaseIoResource* other) const override;
  void* Destroy(u32 flags) override;

 private:
  cWideString m_path;
};

// A drive by its number, or an optical drive by its letter's character code.
class cNumberedDeviceResource final : public cBaseIoResource {
 public:
  explicit cNumberedDeviceResource(i32 number = 0) : m_number(number) {}

  i32 Number() const { return m_number; }

  u32 GetKind() const override { return kResourceNumberedDevice; }
  bool Assign(const cBaseIoResource& other) override;
  bool Equals(const cBaseIoResource* other) const override;
  void* Destroy(u32 flags) override;

 private:
  i32 m_number;
};

// Another I/O object as the target: owned, and copied by its Clone.
class cNestedIOResource final : public cBaseIoResource {
 public:
  cNestedIOResource() = default;
  explicit cNestedIOResource(Owned<cBaseIO> io) : m_io(std::move(io)) {}

  // The nested object, still owned by the resource; null when it holds none.
  cBaseIO* IO() const { return m_io.get(); }
  void Clear() { m_io.reset(); }

  u32 GetKind() const override { return kResourceNestedIO; }
  // Takes a clone of the other's object. Without one the held object stays and the answer is false;
  // when cloning fails the answer is true and this resource is empty.
  bool Assign(const cBaseIoResource& other) override;
  bool Equals(const cBaseIoResource* other) const override;
  void* Destroy(u32 flags) override;

 private:
  Owned<cBaseIO> m_io;
};

}  // namespace larkspur
