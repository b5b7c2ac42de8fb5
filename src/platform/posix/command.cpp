// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/command.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/system_error.h"

namespace larkspur::platform {

int RunCommand(const std::string& line,
               const std::vector<std::pair<std::string, std::string>>& environment) {
  std::vector<std::string> variables;
  variables.reserve(environment.size());
  for (const auto& [name, value] : environment) {
    variables.emplace_back(name).append("=").append(value);
  }
  std::vector<char*> words;
  for (char** word = environ; *word; ++word) words.push_back(*word);
  for (std::string& variable : variables) words.push_back(variable.data());
  words.push_back(nullptr);
  const char* arguments[] = {"sh", "-c", line.c_str(), nullptr};
  // This program ignores broken pipes; a shell and what it runs expect to end by them.
  sigset_t restored;
  sigemptyset(&restored);
  sigaddset(&restored, SIGPIPE);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigdefault(&attributes, &restored);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  posix_spawn_file_actions_t streams;
  posix_spawn_file_actions_init(&streams);
  posix_spawn_file_actions_adddup2(&streams, STDERR_FILENO, STDOUT_FILENO);
  pid_t child = 0;
  const int error = posix_spawn(&child, "/bin/sh", &streams, &attributes,
                                const_cast<char* const*>(arguments), words.data());
  posix_spawn_file_actions_destroy(&streams);
  posix_spawnattr_destroy(&attributes);
  if (error != 0) {
    SetLastFailure(static_cast<unsigned>(error));
    return -1;
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace larkspur::platform
