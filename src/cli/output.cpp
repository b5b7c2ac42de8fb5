// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <nlohmann/json.hpp>

#include "base/printable.h"
#include "base/types.h"
#include "platform/system_error.h"

namespace larkspur::cli {
namespace {

// The first error of standard output; 0: none.
int g_outputError = 0;

void NoteOutputError() {
  if (g_outputError == 0) g_outputError = errno ? errno : EIO;
}

// Of control characters, the serializer escapes those below the space only.
std::string Dump(const Json& value, int indent) {
  const std::string text = value.dump(indent, ' ', false, Json::error_handler_t::replace);
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const u8 byte = static_cast<u8>(text[i]);
    const bool isLead = byte == 0xC2 && static_cast<u8>(text[i + 1]) < 0xA0;  // U+0080 to U+009F
    if (byte == 0x7F || isLead) {
      out += fmt::format("\\u{:04x}", isLead ? static_cast<u8>(text[++i]) : byte);
    } else {
      out += text[i];
    }
  }
  return out;
}

}  // namespace

void Print(const std::string& text) {
  const std::string shown = Printable(text, "\n\t");
  errno = 0;
  if (std::fwrite(shown.data(), 1, shown.size(), stdout) != shown.size()) NoteOutputError();
}

ExitStatus FinishOutput(ExitStatus status) {
  errno = 0;
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) NoteOutputError();
  if (g_outputError == 0) return status;
  Tell("standard output: the results could not be written: " +
       std::generic_category().message(g_outputError));
  return status == kExitDone || status == kExitSomeUnreadable ? kExitFailed : status;
}

void PrintJson(const Json& document) {
  Print(Dump(document, 2) + "\n");
}

std::string JsonText(const std::string& text) {
  const bool isAsItIs =
      PlainLength(text) == text.size() && text.find_first_of("\"\\") == std::string::npos;
  if (isAsItIs) return '"' + text + '"';
  return Dump(text, -1);
}

std::string JsonText(const Json& value) {
  return Dump(value, -1);
}

void Tell(const std::string& message) {
  std::fflush(stdout);
  std::fprintf(stderr, "larkspur: %s\n", Printable(message).c_str());
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
