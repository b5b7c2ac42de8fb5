// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Another program that serves something for as long as this one wants.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/types.h"

namespace larkspur::platform {

// Whether this system has the servers that this program starts; Windows has none.
bool HasServers();

// The path of a program as the shell would find it; none when it is not installed.
std::optional<std::string> FindProgram(const std::string& name);

// The folder of the running program.
std::string ProgramFolder();

// What a program prints when it is run to its end; none when it fails.
std::optional<std::string> OutputOf(const std::vector<std::string>& command);

enum class PortOutcome { kFree, kTaken, kNotAnAddress, kNoSuchAddress, kNotPermitted };
// Whether a server could listen there now.
PortOutcome AskPort(const std::string& address, u16 port);

// Whether a server could listen at a socket of this path, at most 107 bytes, where there is nothing
// yet; why not, the last failure says.
bool MayListenAt(const std::string& path);

// Whether `path`, at most 107 bytes, itself is a socket at which nothing listens: what a server
// that was killed leaves.
bool IsAbandonedSocket(const std::string& path);

class ServerProgram {
 public:
  // kFinished: it was asked to end and has nothing left to save.
  enum class State { kStarting, kServing, kFinished, kEnded };

  // Starts command[0] with its arguments; its messages go where ours go. Two last arguments are
  // `readyKey` with the path of a file into which it is to write a line when it serves, and another
  // when it is kFinished; and `untilKey` with that of one that ends when it is to end. It ends with
  // this program. Null on failure: platform::LastFailure() says why.
  static std::unique_ptr<ServerProgram> Start(std::vector<std::string> command,
                                              const std::string& readyKey,
                                              const std::string& untilKey);
  // Ends it: asks it to, and makes it when it has finished, or after some seconds, or when a signal
  // comes meanwhile.
  virtual ~ServerProgram() = default;

  // Waits up to `seconds`, or until that is its state, or a signal comes; the state then.
  virtual State WaitFor(State state, double seconds) = 0;
};

}  // namespace larkspur::platform
