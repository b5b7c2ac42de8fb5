// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The records that parsers attach to nodes, apart from the parsers themselves. Their fields stand
// in the order in which a host reads them.

#include <array>
#include <span>

#include "base/wide_string.h"
#include "partitions/part_extension.h"

namespace larkspur {

// A field's value, or the largest that fits.
constexpr u32 Clamp32(u64 value) {
  return value < ~u32{0} ? static_cast<u32>(value) : ~u32{0};
}

// A NetWare partition's redirection area, and the volume that a segment belongs to.
class cNWPartData final : public cPartExtension {
 public:
  cNWPartData* Clone() override { return CopyOf(*this); }
  void Reset() override {}
  u32 GetKind() override { return kKindNWPartData; }
  void* Destroy(u32 flags) override;

  u32 m_partitionId = 0;
  u32 m_hotFixSectors = 0;
  u32 m_dataSectors = 0;
  u32 m_clusterBytes = 0;
  u32 m_segmentIndex = 0;
  u32 m_segmentCount = 0;
};

class cPartNameData final : public cPartExtension {
 public:
  cPartNameData* Clone() override { return CopyOf(*this); }
  void Reset() override { m_name.Assign({}); }
  u32 GetKind() override { return kKindPartName; }
  void* Destroy(u32 flags) override;

  cWideString m_name;
};

enum RaidLayout : u32 {
  kLayoutNone = 0,  // a level without a code of its own
  kLayoutSimple = 1,
  kLayoutStripe = 2,
  kLayoutMirror = 3,
  kLayoutRaid5 = 6,
};

// A member of a software RAID or a piece of a volume manager's volume.
class cPartSoftRAIDInfo : public cPartExtension {
 public:
  cPartSoftRAIDInfo() = default;
  cPartSoftRAIDInfo(const cPartSoftRAIDInfo& other);

  cPartExtension* Clone() override { return CopyOf(*this); }
  void Reset() override {}
  u32 GetKind() override { return kKindSoftRAID; }
  void* Destroy(u32 flags) override;

  // Copies the bytes.
  void SetIdentifier(std::span<const u8> identifier);
  std::span<const u8> Identifier() const { return {m_set, m_setBytes}; }

  cWideString m_name;
  u8* m_set = nullptr;  // owned
  u64 m_setBytes = 0;
  u32 m_layout = kLayoutNone;
  u32 m_blockBytes = 512;
  u32 m_one = 1;  // again 1 for RAID 5 members
  u32 m_columns = 0;
  u32 m_index = 0;
  std::array<u32, 3> m_constants{1, 1, 2};

 protected:
  ~cPartSoftRAIDInfo();

 private:
  template <typename T>
  friend void* DestroyAs(T* object, u32 flags);
};

// What our parsers attach: the record above, and after its fields the level in the words of the
// format that describes the set.
class cSoftRAIDMember final : public cPartSoftRAIDInfo {
 public:
  cPartExtension* Clone() override { return CopyOf(*this); }
  void* Destroy(u32 flags) override;

  cWideString m_level;
};

// The start that an extended boot record gave a logical drive.
class cSBRLegacyOffset final : public cPartExtension {
 public:
  explicit cSBRLegacyOffset(u64 offset) : m_offset(offset) {}

  cSBRLegacyOffset* Clone() override { return CopyOf(*this); }
  void Reset() override {}
  u32 GetKind() override { return kKindSBRLegacyOffset; }
  void* Destroy(u32 flags) override;

  u64 m_offset;
};

class cLUKSPartInfo final : public cPartExtension {
 public:
  cLUKSPartInfo* Clone() override { return CopyOf(*this); }
  void Reset() override {}
  u32 GetKind() override { return kKindLUKS; }
  void* Destroy(u32 flags) override;

  u32 m_version = 0;
  u32 m_keyBytes = 0;
  u64 m_payloadOffset = 0;  // sectors from the node's start
  cWideString m_cipherName;
  cWideString m_cipherMode;
  cWideString m_hash;
  cWideString m_uuid;
};

class cBtrfsVolumeInfo final : public cPartExtension {
 public:
  cBtrfsVolumeInfo* Clone() override { return CopyOf(*this); }
  void Reset() override {}
  u32 GetKind() override { return kKindBtrfsVolume; }
  void* Destroy(u32 flags) override;

  std::array<u64, 3> m_numbers{};
  cWideString m_name;
};

class cStorServDBMD final : public cPartExtension {
 public:
  cStorServDBMD* Clone() override { return CopyOf(*this); }
  void Reset() override {}
  u32 GetKind() override { return kKindStorServDBMD; }
  void* Destroy(u32 flags) override;

  std::array<u64, 5> m_numbers{};
};

class cSymhonySANInfo final : public cPartExtension {
 public:
  cSymhonySANInfo* Clone() override { return CopyOf(*this); }
  void Reset() override {}
  u32 GetKind() override { return kKindSymhonySAN; }
  void* Destroy(u32 flags) override;

  std::array<u8, 16> m_bytes{};
};

class cLeftHandSANInfo final : public cPartExtension {
 public:
  cLeftHandSANInfo* Clone() override { return CopyOf(*this); }
  void Reset() override {}
  u32 GetKind() override { return kKindLeftHandSAN; }
  void* Destroy(u32 flags) override;
};

class cHPEVASANInfo final : public cPartExtension {
 public:
  cHPEVASANInfo* Clone() override { return CopyOf(*this); }
  void Reset() override {}
  u32 GetKind() override { return kKindHPEVASAN; }
  void* Destroy(u32 flags) override;
};

}  // namespace larkspur
