// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "base/owned.h"
#include "io/base_io.h"
#include "io/base_io_resource.h"

namespace larkspur {

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
