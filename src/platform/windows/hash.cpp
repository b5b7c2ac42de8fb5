// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/hash.h"

#include <windows.h>

#include <algorithm>

#include <bcrypt.h>

namespace larkspur::platform {
namespace {

class Digest {
 public:
  explicit Digest(const wchar_t* name) {
    m_works = BCryptOpenAlgorithmProvider(&m_algorithm, name, nullptr, 0) == 0 &&
              BCryptCreateHash(m_algorithm, &m_hash, nullptr, 0, nullptr, 0, 0) == 0;
  }
  ~Digest() {
    if (m_hash) BCryptDestroyHash(m_hash);
    if (m_algorithm) BCryptCloseAlgorithmProvider(m_algorithm, 0);
  }
  Digest(const Digest&) = delete;
  Digest& operator=(const Digest&) = delete;

  void Add(const void* bytes, size_t count) {
    auto* next = static_cast<u8*>(const_cast<void*>(bytes));
    while (m_works && count > 0) {
      const ULONG piece = static_cast<ULONG>(std::min<size_t>(count, 1 << 30));
      m_works = BCryptHashData(m_hash, next, piece, 0) == 0;
      next += piece;
      count -= piece;
    }
  }

  bool Finish(std::span<u8> digest) {
    return m_works &&
           BCryptFinishHash(m_hash, digest.data(), static_cast<ULONG>(digest.size()), 0) == 0;
  }

 private:
  BCRYPT_ALG_HANDLE m_algorithm = nullptr;
  BCRYPT_HASH_HANDLE m_hash = nullptr;
  bool m_works = false;
};

}  // namespace

struct Sha256::State {
  Digest digest{BCRYPT_SHA256_ALGORITHM};
};

Sha256::Sha256() : m_state(new State) {}

Sha256::~Sha256() = default;

void Sha256::Add(const void* bytes, size_t count) {
  m_state->digest.Add(bytes, count);
}

bool Sha256::Finish(std::array<u8, 32>* digest) {
  return m_state->digest.Finish(*digest);
}

std::optional<std::array<u8, 16>> Md5(std::span<const u8> bytes) {
  Digest md5(BCRYPT_MD5_ALGORITHM);
  std::array<u8, 16> digest;
  md5.Add(bytes.data(), bytes.size());
  if (!md5.Finish(digest)) return std::nullopt;
  return digest;
}

}  // namespace larkspur::platform
