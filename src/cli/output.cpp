// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/output.h"

#include <cstdio>

#include "platform/system_error.h"

namespace larkspur::cli {
namespace {

std::string Dump(const Json& value, int indent) {
  return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

void Print(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

void PrintJson(const Json& document) {
  Print(Dump(document, 2) + "\n");
}

std::string JsonText(const std::string& text) {
  return Dump(text, -1);
}

void Tell(const std::string& message) {
  std::fflush(stdout);
  std::fprintf(stderr, "larkspur: %s\n", message.c_str());
}

ExitStatus Fail(const std::string& message) {
  Tell(message);
  return kExitFailed;
}

std::string Failure(const std::string& name, const std::string& message, unsigned systemError) {
  const std::string text = name + ": " + message;
  return systemError ? text + ": " + platform::FailureText(systemError) : text;
}

}  // namespace larkspur::cli
