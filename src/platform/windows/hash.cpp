// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/hash.h"

#include <windows.h>

#include <algorithm>

#include <bcrypt.h>

namespace larkspur::platform {

struct Sha256::State {
  BCRYPT_ALG_HANDLE algorithm = nullptr;
  BCRYPT_HASH_HANDLE hash = nullptr;
  bool works = false;
};

Sha256::Sha256() : m_state(new State) {
  State& state = *m_state;
  state.works =
      BCryptOpenAlgorithmProvider(&state.algorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0) == 0 &&
      BCryptCreateHash(state.algorithm, &state.hash, nullptr, 0, nullptr, 0, 0) == 0;
}

Sha256::~Sha256() {
  if (m_state->hash) BCryptDestroyHash(m_state->hash);
  if (m_state->algorithm) BCryptCloseAlgorithmProvider(m_state->algorithm, 0);
}

void Sha256::Add(const void* bytes, size_t count) {
  auto* next = static_cast<u8*>(const_cast<void*>(bytes));
  while (m_state->works && count > 0) {
    const ULONG piece = static_cast<ULONG>(std::min<size_t>(count, 1 << 30));
    m_state->works = BCryptHashData(m_state->hash, next, piece, 0) == 0;
    next += piece;
    count -= piece;
  }
}

bool Sha256::Finish(std::array<u8, 32>* digest) {
  return m_state->works && BCryptFinishHash(m_state->hash, digest->data(),
                                            static_cast<ULONG>(digest->size()), 0) == 0;
}

}  // namespace larkspur::platform
