// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/helper_process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/system_error.h"

namespace larkspur::platform {
namespace {

constexpr int kHelperDescriptor = 3;

class SocketLine final : public HelperLine {
 public:
  // Without limits it waits for ever.
  SocketLine(int socket, const HelperLimits* limits)
      : m_socket(socket), m_limits(limits ? *limits : HelperLimits{}), m_waits(limits) {}

  bool Send(const void* bytes, size_t count) override {
    const auto* next = static_cast<const u8*>(bytes);
    return Move(POLLOUT, count, [&](size_t left) {
      const ssize_t moved = send(m_socket, next, left, MSG_NOSIGNAL);
      if (moved > 0) next += moved;
      return moved;
    });
  }
  // Small messages come many at once.
  bool Receive(void* bytes, size_t count) override {
    auto* next = static_cast<u8*>(bytes);
    while (count > 0) {
      if (m_taken == m_received && !Refill()) return false;
      const size_t here = std::min(count, m_received - m_taken);
      std::memcpy(next, m_buffer.data() + m_taken, here);
      m_taken += here;
      next += here;
      count -= here;
    }
    return true;
  }

 private:
  template <typename Transfer>
  bool Move(short event, size_t count, Transfer transfer) {
    while (count > 0) {
      if (m_waits && !Wait(event)) return false;
      const ssize_t moved = transfer(count);
      if (moved < 0 && errno == EINTR) continue;
      if (moved <= 0) return false;
      count -= static_cast<size_t>(moved);
    }
    return true;
  }

  bool Refill() {
    m_taken = m_received = 0;
    return Move(POLLIN, 1, [this](size_t) -> ssize_t {
      const ssize_t moved = recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
      if (moved <= 0) return moved;
      m_received = static_cast<size_t>(moved);
      return 1;
    });
  }

  bool Wait(short event) {
    pollfd wanted{m_socket, event, 0};
    for (;;) {
      const int ready = poll(&wanted, 1, static_cast<int>(m_limits.silentSeconds * 1000));
      const bool stopped = m_limits.stop && *m_limits.stop;
      if (ready >= 0 || errno != EINTR || stopped) return ready == 1 && !stopped;
    }
  }

  int m_socket;
  const HelperLimits m_limits;
  const bool m_waits;
  std::array<u8, 65536> m_buffer;
  size_t m_taken = 0;
  size_t m_received = 0;
};

class ForkedHelper final : public HelperProcess {
 public:
  ForkedHelper(pid_t process, int socket, const HelperLimits& limits)
      : m_process(process), m_socket(socket), m_line(socket, &limits) {}
  ~ForkedHelper() override {
    kill(m_process, SIGKILL);
    while (waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
    }
    close(m_socket);
  }

  HelperLine& Line() override { return m_line; }

 private:
  pid_t m_process;
  int m_socket;
  SocketLine m_line;
};

void Limit(__rlimit_resource resource, u64 value) {
  const rlimit limit{value, value};
  setrlimit(resource, &limit);
}

// Bytes of address space in use; under sanitizers that is a lot.
u64 AddressSpace() {
  unsigned long long pages = 0;
  if (FILE* file = std::fopen("/proc/self/statm", "re")) {
    if (std::fscanf(file, "%llu", &pages) != 1) pages = 0;
    std::fclose(file);
  }
  return pages * static_cast<u64>(sysconf(_SC_PAGESIZE));
}

[[noreturn]] void RunHelper(const std::function<void(HelperLine&)>& work,
                            const HelperLimits& limits, int socket, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  signal(SIGINT, SIG_IGN);  // the caller decides what Ctrl-C ends
  Limit(RLIMIT_AS, AddressSpace() + limits.memoryBytes);
  Limit(RLIMIT_CPU, limits.cpuSeconds);
  Limit(RLIMIT_CORE, 0);
  Limit(RLIMIT_FSIZE, 0);
  dup2(socket, kHelperDescriptor);
  close_range(kHelperDescriptor + 1, ~0U, 0);
  const int nowhere = open("/dev/null", O_RDWR);
  for (int standard = 0; standard < kHelperDescriptor; ++standard) dup2(nowhere, standard);
  if (nowhere > kHelperDescriptor) close(nowhere);
  SocketLine line(kHelperDescriptor, nullptr);
  work(line);
  _exit(0);
}

}  // namespace

bool HasHelpers() {
  return true;
}

std::unique_ptr<HelperProcess> HelperProcess::Start(const std::function<void(HelperLine&)>& work,
                                                    const HelperLimits& limits) {
  int sockets[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
    SetLastFailure(static_cast<u32>(errno));
    return nullptr;
  }
  std::fflush(nullptr);  // or the helper would have what is buffered, too
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process == 0) RunHelper(work, limits, sockets[1], parent);
  close(sockets[1]);
  if (process < 0) {
    SetLastFailure(static_cast<u32>(errno));
    close(sockets[0]);
    return nullptr;
  }
  return std::make_unique<ForkedHelper>(process, sockets[0], limits);
}

}  // namespace larkspur::platform
