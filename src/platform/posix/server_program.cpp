// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/server_program.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/clock.h"
#include "platform/system_error.h"

namespace larkspur::platform {
namespace {

constexpr double kFinishSeconds = 10;  // what was read is flushed to disk meanwhile
constexpr double kEndSeconds = 1;

std::vector<char*> Arguments(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  return arguments;
}

// Signals that we ignore, it ignores too.
[[noreturn]] void Become(const std::vector<char*>& arguments, int output) {
  if (output >= 0) dup2(output, STDOUT_FILENO);
  execv(arguments[0], arguments.data());
  _exit(127);
}

void CloseBoth(const int (&ends)[2]) {
  for (const int end : ends) close(end);
}

class ForkedServer final : public ServerProgram {
 public:
  // `ready` is the end of the pipe that tells: a line when it serves, one when it has finished, and
  // closed when it has ended. `until` is closed to have it end.
  ForkedServer(pid_t process, int ready, int until)
      : m_process(process), m_ready(ready), m_until(until) {}
  ~ForkedServer() override {
    close(m_until);
    if (m_state != State::kEnded) kill(m_process, SIGTERM);
    // One that waits for its disk in the kernel ends when that answers; and one that has clients,
    // when these go.
    WaitFor(State::kFinished, kFinishSeconds);
    if (WaitFor(State::kEnded, kEndSeconds) != State::kEnded) {
      kill(m_process, SIGKILL);
      WaitFor(State::kEnded, kEndSeconds);
    }
    close(m_ready);
  }

  State WaitFor(State state, double seconds) override {
    const double end = MonotonicSeconds() + seconds;
    for (double left = seconds; m_state < state && left > 0; left = end - MonotonicSeconds()) {
      pollfd told{m_ready, POLLIN, 0};
      if (poll(&told, 1, static_cast<int>(left * 1000) + 1) < 0) break;
      if (told.revents) Hear();
    }
    return m_state;
  }

 private:
  void Hear() {
    char text[64];
    const ssize_t got = read(m_ready, text, sizeof text);
    if (got < 0) return;
    m_lines += std::count(text, text + got, '\n');
    m_state = got == 0 ? State::kEnded : m_lines > 1 ? State::kFinished : State::kServing;
    if (got == 0) waitpid(m_process, nullptr, 0);
  }

  const pid_t m_process;
  const int m_ready;
  const int m_until;
  std::ptrdiff_t m_lines = 0;
  State m_state = State::kStarting;
};

// An address in numbers, with its port.
struct Endpoint {
  sockaddr_storage storage{};
  socklen_t length = 0;
};

Endpoint MakeEndpoint(const std::string& address, u16 port) {
  Endpoint end;
  auto* four = reinterpret_cast<sockaddr_in*>(&end.storage);
  auto* six = reinterpret_cast<sockaddr_in6*>(&end.storage);
  if (inet_pton(AF_INET, address.c_str(), &four->sin_addr) == 1) {
    four->sin_family = AF_INET;
    four->sin_port = htons(port);
    end.length = sizeof *four;
  } else if (inet_pton(AF_INET6, address.c_str(), &six->sin6_addr) == 1) {
    six->sin6_family = AF_INET6;
    six->sin6_port = htons(port);
    end.length = sizeof *six;
  }
  return end;
}

sockaddr_un PlaceOf(const std::string& path) {
  sockaddr_un place{};
  place.sun_family = AF_UNIX;
  std::copy_n(path.begin(), std::min(path.size(), sizeof place.sun_path - 1), place.sun_path);
  return place;
}

}  // namespace

bool HasServers() {
  return true;
}

std::optional<std::string> FindProgram(const std::string& name) {
  const char* variable = std::getenv("PATH");
  std::string folders = variable ? variable : "";
  folders += ":/usr/sbin:/usr/bin:/sbin:/bin:";  // not every user's path has the servers
  for (size_t at = 0, end; (end = folders.find(':', at)) != std::string::npos; at = end + 1) {
    const std::string path = folders.substr(at, end - at) + "/" + name;
    if (end > at && access(path.c_str(), X_OK) == 0) return path;
  }
  return std::nullopt;
}

std::string ProgramFolder() {
  char path[4096];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  const std::string program(path, length > 0 ? static_cast<size_t>(length) : 0);
  return program.substr(0, program.rfind('/') == std::string::npos ? 0 : program.rfind('/'));
}

std::optional<std::string> OutputOf(const std::vector<std::string>& command) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
  const std::vector<char*> arguments = Arguments(command);
  const pid_t process = fork();
  if (process == 0) Become(arguments, ends[1]);
  close(ends[1]);
  std::string output;
  char piece[4096];
  for (ssize_t got; (got = read(ends[0], piece, sizeof piece)) > 0;) {
    output.append(piece, static_cast<size_t>(got));
  }
  close(ends[0]);
  int status = 0;
  const bool ended = process > 0 && waitpid(process, &status, 0) == process;
  return ended && status == 0 ? std::optional(output) : std::nullopt;
}

PortOutcome AskPort(const std::string& address, u16 port) {
  const Endpoint end = MakeEndpoint(address, port);
  if (end.length == 0) return PortOutcome::kNotAnAddress;
  const int socket = ::socket(end.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int yes = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  const int bound = bind(socket, reinterpret_cast<const sockaddr*>(&end.storage), end.length);
  const int error = errno;
  close(socket);
  if (bound == 0) return PortOutcome::kFree;
  if (error == EADDRINUSE) return PortOutcome::kTaken;
  return error == EACCES ? PortOutcome::kNotPermitted : PortOutcome::kNoSuchAddress;
}

bool MayListenAt(const std::string& path) {
  const sockaddr_un place = PlaceOf(path);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool bound = bind(socket, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0;
  if (!bound) SetLastFailure(static_cast<u32>(errno));
  close(socket);
  if (bound) unlink(path.c_str());
  return bound;
}

bool IsAbandonedSocket(const std::string& path) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return false;
  const sockaddr_un place = PlaceOf(path);
  // A server with a full queue must not make us wait.
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  const int connected = connect(socket, reinterpret_cast<const sockaddr*>(&place), sizeof place);
  const bool isRefused = connected != 0 && errno == ECONNREFUSED;
  close(socket);
  return isRefused;
}

std::unique_ptr<ServerProgram> ServerProgram::Start(std::vector<std::string> command,
                                                    const std::string& readyKey,
                                                    const std::string& untilKey) {
  int ready[2], until[2];
  const bool hasReady = pipe2(ready, O_CLOEXEC) == 0;
  if (!hasReady || pipe2(until, O_CLOEXEC) != 0) {
    SetLastFailure(static_cast<u32>(errno));
    if (hasReady) CloseBoth(ready);
    return nullptr;
  }
  command.push_back(readyKey + "/proc/self/fd/" + std::to_string(ready[1]));
  command.push_back(untilKey + "/proc/self/fd/" + std::to_string(until[0]));
  const std::vector<char*> arguments = Arguments(command);
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process == 0) {
    fcntl(ready[1], F_SETFD, 0);  // stays open as long as the server runs
    fcntl(until[0], F_SETFD, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);
    Become(arguments, -1);
  }
  const int error = errno;
  close(ready[1]);
  close(until[0]);
  if (process > 0) return std::make_unique<ForkedServer>(process, ready[0], until[1]);
  close(ready[0]);
  close(until[1]);
  SetLastFailure(static_cast<u32>(error));
  return nullptr;
}

}  // namespace larkspur::platform
