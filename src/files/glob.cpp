// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "files/glob.h"

#include <string>

namespace larkspur {

Glob::Glob(std::string_view text) {
  const std::string glob = text.starts_with('/') ? std::string(text) : "/**/" + std::string(text);
  for (std::string_view left = glob; !left.empty();) {
    if (left.starts_with("/**/")) {
      // A slash, and maybe folders with a slash after them.
      m_tokens.insert(m_tokens.end(),
                      {{Kind::kByte, '/'}, {Kind::kMaybeFolders, 0}, {Kind::kFolders, 0}});
      left.remove_prefix(4);
    } else if (left.starts_with("**")) {
      AddStars(Kind::kPath);
      left.remove_prefix(2);
    } else if (left[0] == '*') {
      AddStars(Kind::kName);
      left.remove_prefix(1);
    } else {
      m_tokens.push_back({left[0] == '?' ? Kind::kOne : Kind::kByte, left[0]});
      left.remove_prefix(1);
    }
  }
}

// Stars after stars say nothing more, and each would have to be entered with the one before it.
void Glob::AddStars(Kind kind) {
  const Kind last = m_tokens.empty() ? Kind::kByte : m_tokens.back().kind;
  if (last != Kind::kPath && last != kind) m_tokens.push_back({kind, 0});
}

bool Glob::Fits(std::string_view path) const {
  std::vector<bool> states(m_tokens.size() + 1), next(m_tokens.size() + 1);
  Enter(0, &states);
  for (const char byte : path) {
    next.assign(next.size(), false);
    for (size_t at = 0; at < m_tokens.size(); ++at) {
      if (states[at]) Step(at, byte, &next);
    }
    states.swap(next);
  }
  return states.back();
}

void Glob::Enter(size_t at, std::vector<bool>* states) const {
  (*states)[at] = true;
  if (at == m_tokens.size()) return;
  const Kind kind = m_tokens[at].kind;
  if (kind == Kind::kName || kind == Kind::kPath) Enter(at + 1, states);
  if (kind == Kind::kMaybeFolders) {
    Enter(at + 1, states);
    Enter(at + 2, states);
  }
}

void Glob::Step(size_t at, char byte, std::vector<bool>* states) const {
  switch (m_tokens[at].kind) {
    case Kind::kByte:
      if (byte == m_tokens[at].byte) Enter(at + 1, states);
      return;
    case Kind::kOne:
      if (byte != '/') Enter(at + 1, states);
      return;
    case Kind::kName:
      if (byte != '/') Enter(at, states);
      return;
    case Kind::kPath:
      return Enter(at, states);
    case Kind::kMaybeFolders:
      return;
    case Kind::kFolders:
      Enter(at, states);
      if (byte == '/') Enter(at + 1, states);
  }
}

}  // namespace larkspur
