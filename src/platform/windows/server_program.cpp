// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/server_program.h"

namespace larkspur::platform {

bool HasServers() {
  return false;
}

std::optional<std::string> FindProgram(const std::string&) {
  return std::nullopt;
}

std::string ProgramFolder() {
  return {};
}

std::optional<std::string> OutputOf(const std::vector<std::string>&) {
  return std::nullopt;
}

PortOutcome AskPort(const std::string&, u16) {
  return PortOutcome::kNotPermitted;
}

bool MayListenAt(const std::string&) {
  return false;
}

bool IsAbandonedSocket(const std::string&) {
  return false;
}

std::unique_ptr<ServerProgram> ServerProgram::Start(std::vector<std::string>, const std::string&,
                                                    const std::string&) {
  return nullptr;
}

}  // namespace larkspur::platform
