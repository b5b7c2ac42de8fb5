// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/part_records.h"

#include <algorithm>

#include "base/owned.h"

namespace larkspur {

cPartSoftRAIDInfo::cPartSoftRAIDInfo(const cPartSoftRAIDInfo& other)
    : cPartExtension(other),
      m_name(other.m_name),
      m_layout(other.m_layout),
      m_blockBytes(other.m_blockBytes),
      m_one(other.m_one),
      m_columns(other.m_columns),
      m_index(other.m_index),
      m_constants(other.m_constants) {
  SetIdentifier(other.Identifier());
}

cPartSoftRAIDInfo::~cPartSoftRAIDInfo() {
  delete[] m_set;
}

void cPartSoftRAIDInfo::SetIdentifier(std::span<const u8> identifier) {
  auto* set = new u8[identifier.size()];
  delete[] m_set;
  m_set = set;
  m_setBytes = identifier.size();
  std::copy(identifier.begin(), identifier.end(), m_set);
}

void* cNWPartData::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

void* cPartNameData::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

void* cPartSoftRAIDInfo::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

void* cSoftRAIDMember::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

void* cSBRLegacyOffset::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

void* cLUKSPartInfo::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

void* cBtrfsVolumeInfo::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

void* cStorServDBMD::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

void* cSymhonySANInfo::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

void* cLeftHandSANInfo::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

void* cHPEVASANInfo::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

static_assert(sizeof(cPartSoftRAIDInfo) == 64);
static_assert(sizeof(cSBRLegacyOffset) == 16);

}  // namespace larkspur
