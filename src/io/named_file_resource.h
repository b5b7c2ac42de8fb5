// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "base/wide_string.h"
#include "io/base_io_resource.h"

namespace larkspur {

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

}  // namespace larkspur
