// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/hash.h"

#include <nettle/sha2.h>

namespace larkspur::platform {

struct Sha256::State {
  sha256_ctx context;
};

Sha256::Sha256() : m_state(new State) {
  sha256_init(&m_state->context);
}

Sha256::~Sha256() = default;

void Sha256::Add(const void* bytes, size_t count) {
  sha256_update(&m_state->context, count, static_cast<const u8*>(bytes));
}

bool Sha256::Finish(std::array<u8, 32>* digest) {
  sha256_digest(&m_state->context, digest->size(), digest->data());
  return true;
}

}  // namespace larkspur::platform
