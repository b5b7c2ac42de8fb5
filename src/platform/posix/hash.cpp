// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/hash.h"

#include <nettle/md5.h>
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

std::optional<std::array<u8, 16>> Md5(std::span<const u8> bytes) {
  md5_ctx context;
  std::array<u8, 16> digest;
  md5_init(&context);
  md5_update(&context, bytes.size(), bytes.data());
  md5_digest(&context, digest.size(), digest.data());
  return digest;
}

}  // namespace larkspur::platform
