// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// A disk that is dying, for any program to read: a file system in user space with one file, `disk`,
// which answers as slowly and as badly as a plan says. Behind a loop device with direct I/O it is a
// block device (bench/dying/disk.py does that):
//
//   dying-disk PLAN FOLDER LOG
//   losetup --find --show --read-only --direct-io=on FOLDER/disk
//
// It runs in the foreground until SIGTERM. SIGUSR1 kills the disk, SIGUSR2 brings it back.
//
// The plan is a text file, one word with its values a line; '#' begins a comment. Places and
// lengths are sectors of 512 bytes; areas of a kind stand in order and do not overlap.
//
// clang-format off
//   size SECTORS
//   seed N                      of the contents and the costs (0)
//   rate MIB                    a second, of healthy reading (40)
//   ahead KIB                   what the drive reads ahead while idle (256)
//   seek MS                     an ask that does not begin where the last one ended costs this more (0)
//   failed LOW HIGH             milliseconds that a failed ask costs (40 120)
//   refusal ERROR               what it fails with: EIO, ENODATA (EIO)
//   bad FIRST COUNT             an ask that touches one of these sectors fails as a whole
//   slow FIRST COUNT FACTOR     these sectors take so many times as long
//   dies failures N [LIVES]     the disk is dead after N failed asks,
//   dies seconds N [LIVES]      or so many seconds after it came to life; each line is good for one life,
//                               or for so many, and the life after the last line does not end
//   dead ERROR MS               how a dead disk answers, and after how long: EIO, ENODEV, ETIMEDOUT (EIO 1000)
//   dead hang                   or not at all until it is back
//   returns SECONDS             a dead disk is back after that time (only by SIGUSR2)
// clang-format on
//
// Sector S of a disk with seed N holds sixteen times the 32 bytes that
// printf("sector %014d seed %04d\n", S, N % 10000) gives.
//
// The log has one line for each ask: when it came and when it was answered, both in seconds of the
// monotonic clock; its first sector; their number; 0, the name of the error, or `dead`. The disk
// handles one ask at a time. Costs are waited for by the clock.

#define FUSE_USE_VERSION 31
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <deque>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include <fuse.h>
#include <fuse_lowlevel.h>
#include <sys/prctl.h>

namespace {

using u64 = std::uint64_t;

constexpr u64 kSector = 512;
constexpr char kPath[] = "/disk";
constexpr double kForEver = std::numeric_limits<double>::infinity();
constexpr int kHangs = -1;  // in the place of an error

struct Area {
  u64 first;
  u64 count;
  double factor;
};

struct Life {
  double failures = kForEver;
  double seconds = kForEver;
};

struct Plan {
  u64 sectors = 0;
  u64 seed = 0;
  double rate = 40;
  double aheadKib = 256;
  double seekMs = 0;
  double failedLowMs = 40;
  double failedHighMs = 120;
  int refusal = EIO;
  std::vector<Area> bad;
  std::vector<Area> slow;
  std::deque<Life> lives;
  int deadError = EIO;
  double deadMs = 1000;
  double returnsAfter = kForEver;
};

const struct {
  const char* name;
  int code;
} kErrors[] = {{"EIO", EIO}, {"ENODATA", ENODATA}, {"ENODEV", ENODEV}, {"ETIMEDOUT", ETIMEDOUT}};

bool FindError(const std::string& name, int* code) {
  for (const auto& error : kErrors) {
    if (name != error.name) continue;
    *code = error.code;
    return true;
  }
  return false;
}

bool ReadError(std::istream& in, int* code) {
  std::string name;
  return in >> name && FindError(name, code);
}

const char* ErrorName(int code) {
  for (const auto& error : kErrors) {
    if (code == error.code) return error.name;
  }
  return "0";
}

bool ReadArea(std::istream& in, bool hasFactor, std::vector<Area>* areas) {
  Area area = {0, 0, 1};
  if (!(in >> area.first >> area.count) || (hasFactor && !(in >> area.factor))) return false;
  if (!areas->empty() && area.first < areas->back().first + areas->back().count) return false;
  areas->push_back(area);
  return true;
}

bool ReadLives(std::istream& in, std::deque<Life>* lives) {
  std::string kind;
  double value = 0;
  u64 count = 1;
  if (!(in >> kind >> value)) return false;
  if (!(in >> count)) count = 1;
  Life life;
  if (kind == "failures") life.failures = value;
  if (kind == "seconds") life.seconds = value;
  lives->insert(lives->end(), count, life);
  return kind == "failures" || kind == "seconds";
}

bool ReadDead(std::istream& in, Plan* plan) {
  std::string word;
  in >> word;
  if (word != "hang") return FindError(word, &plan->deadError) && in >> plan->deadMs;
  plan->deadError = kHangs;
  return true;
}

bool ReadLine(const std::string& line, Plan* plan) {
  std::istringstream in(line.substr(0, line.find('#')));
  std::string word;
  if (!(in >> word)) return true;
  if (word == "size") return !!(in >> plan->sectors);
  if (word == "seed") return !!(in >> plan->seed);
  if (word == "rate") return in >> plan->rate && plan->rate > 0;
  if (word == "ahead") return !!(in >> plan->aheadKib);
  if (word == "seek") return !!(in >> plan->seekMs);
  if (word == "failed") return !!(in >> plan->failedLowMs >> plan->failedHighMs);
  if (word == "refusal") return ReadError(in, &plan->refusal);
  if (word == "bad") return ReadArea(in, false, &plan->bad);
  if (word == "slow") return ReadArea(in, true, &plan->slow);
  if (word == "dies") return ReadLives(in, &plan->lives);
  if (word == "dead") return ReadDead(in, plan);
  if (word == "returns") return !!(in >> plan->returnsAfter);
  return false;
}

bool ReadPlan(const char* path, Plan* plan) {
  std::ifstream file(path);
  if (!file) {
    fprintf(stderr, "%s: %s\n", path, strerror(errno));
    return false;
  }
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (ReadLine(line, plan)) continue;
    fprintf(stderr, "%s:%d: cannot be understood: %s\n", path, number, line.c_str());
    return false;
  }
  if (plan->sectors == 0) fprintf(stderr, "%s: there is no size\n", path);
  return plan->sectors > 0;
}

double Now() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

bool IsUnmounting() {
  return fuse_session_exited(fuse_get_session(fuse_get_context()->fuse)) != 0;
}

// Ends earlier only when the file system is to end.
void WaitUntil(double time) {
  constexpr double kGlance = 0.05;
  for (double now = Now(); now < time && !IsUnmounting(); now = Now()) {
    const double next = std::min(time, now + kGlance);
    timespec until = {};
    until.tv_sec = static_cast<time_t>(next);
    until.tv_nsec = static_cast<long>((next - std::floor(next)) * 1e9);
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
  }
}

// A number that looks random and depends on `value` alone (the finishing steps of SplitMix64).
u64 Scatter(u64 value) {
  value += 0x9E3779B97F4A7C15;
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
  return value ^ (value >> 31);
}

// How many sectors of [first, first+count) lie in the area.
u64 Common(const Area& area, u64 first, u64 count) {
  const u64 begin = std::max(area.first, first);
  const u64 end = std::min(area.first + area.count, first + count);
  return begin < end ? end - begin : 0;
}

// The first of the areas, which are in order, that does not end before `sector`.
std::vector<Area>::const_iterator AreaAt(const std::vector<Area>& areas, u64 sector) {
  return std::partition_point(areas.begin(), areas.end(), [sector](const Area& area) {
    return area.first + area.count <= sector;
  });
}

volatile std::sig_atomic_t g_signal = 0;  // the last one of SIGUSR1 and SIGUSR2 not yet obeyed

class Disk {
 public:
  Disk(Plan plan, FILE* log) : m_plan(std::move(plan)), m_log(log) { Live(Now()); }

  u64 SizeBytes() const { return m_plan.sectors * kSector; }

  // Waits as long as the ask costs. Gives the bytes read or a negative error.
  int Read(char* buffer, u64 length, u64 offset) {
    const double came = Now();
    const u64 end = std::min(offset + length, SizeBytes());
    if (offset >= end) return 0;
    const u64 first = offset / kSector;
    const u64 count = (end + kSector - 1) / kSector - first;
    const int error = Answer(first, count, came);
    fprintf(m_log, "%.6f %.6f %llu %llu %s\n", came, Now(), static_cast<unsigned long long>(first),
            static_cast<unsigned long long>(count), m_isDead ? "dead" : ErrorName(error));
    if (error != 0) return -error;
    Fill(buffer, offset, end);
    return static_cast<int>(end - offset);
  }

 private:
  void Live(double now) {
    m_life = Life();
    if (!m_plan.lives.empty()) {
      m_life = m_plan.lives.front();
      m_plan.lives.pop_front();
    }
    m_life.seconds += now;
    m_isDead = false;
  }
  void Die(double now) {
    m_isDead = true;
    m_returnAt = now + m_plan.returnsAfter;
  }
  bool IsDead() {
    const double now = Now();
    const int order = g_signal;
    g_signal = 0;
    if (!m_isDead && (order == SIGUSR1 || m_life.failures <= 0 || now >= m_life.seconds)) Die(now);
    if (m_isDead && (order == SIGUSR2 || now >= m_returnAt)) Live(now);
    return m_isDead;
  }

  int Answer(u64 first, u64 count, double came) {
    if (IsDead() && m_plan.deadError != kHangs) {
      WaitUntil(Now() + m_plan.deadMs / 1000);
      return m_plan.deadError;
    }
    while (IsDead() && !IsUnmounting()) WaitUntil(Now() + 0.01);
    const auto bad = AreaAt(m_plan.bad, first);
    if (bad != m_plan.bad.end() && Common(*bad, first, count) > 0)
      return Refuse(first, count, came);
    return Give(first, count, came);
  }
  int Refuse(u64 first, u64 count, double came) {
    m_free = std::max(came, m_free) + FailureCost(first, count) + SeekCost(first);
    m_next = m_plan.sectors;
    m_life.failures -= 1;
    WaitUntil(m_free);
    return m_plan.refusal;
  }
  int Give(u64 first, u64 count, double came) {
    const double rate = m_plan.rate * (1 << 20);
    // A drive reads ahead, so that time between asks in order is not lost.
    const double ahead = first == m_next ? m_plan.aheadKib * 1024 / rate : 0;
    m_free = std::max(came - ahead, m_free) + ReadCost(first, count, rate) + SeekCost(first);
    m_next = first + count;
    WaitUntil(m_free);
    return 0;
  }
  double SeekCost(u64 first) const { return first == m_next ? 0 : m_plan.seekMs / 1000; }
  double FailureCost(u64 first, u64 count) const {
    const double share =
        static_cast<double>(Scatter(Scatter(m_plan.seed) ^ (first * 4096 + count)) >> 11) * 0x1p-53;
    return (m_plan.failedLowMs + share * (m_plan.failedHighMs - m_plan.failedLowMs)) / 1000;
  }
  double ReadCost(u64 first, u64 count, double rate) const {
    double sectors = static_cast<double>(count);
    for (auto area = AreaAt(m_plan.slow, first);
         area != m_plan.slow.end() && area->first < first + count; ++area) {
      sectors += static_cast<double>(Common(*area, first, count)) * (area->factor - 1);
    }
    return sectors * kSector / rate;
  }

  void Fill(char* buffer, u64 offset, u64 end) const {
    constexpr u64 kName = 32;
    char name[2 * kName] = {};
    for (u64 at = offset; at < end; ++at) {
      if (at == offset || at % kSector == 0) {
        snprintf(name, sizeof(name), "sector %014llu seed %04llu\n",
                 static_cast<unsigned long long>(at / kSector),
                 static_cast<unsigned long long>(m_plan.seed % 10000));
      }
      buffer[at - offset] = name[at % kName];
    }
  }

  Plan m_plan;
  FILE* m_log;
  Life m_life;
  bool m_isDead = false;
  double m_returnAt = kForEver;
  double m_free = 0;  // when the drive has done what it was asked so far
  u64 m_next = 0;     // the sector after the last ask
};

Disk* g_disk = nullptr;

int GetAttributes(const char* path, struct stat* attributes, fuse_file_info*) {
  *attributes = {};
  const bool isFolder = strcmp(path, "/") == 0;
  if (!isFolder && strcmp(path, kPath) != 0) return -ENOENT;
  attributes->st_mode = isFolder ? S_IFDIR | 0555 : S_IFREG | 0444;
  attributes->st_nlink = isFolder ? 2 : 1;
  attributes->st_size = isFolder ? 0 : static_cast<off_t>(g_disk->SizeBytes());
  return 0;
}

int ListFolder(const char*, void* list, fuse_fill_dir_t add, off_t, fuse_file_info*,
               fuse_readdir_flags) {
  for (const char* name : {".", "..", kPath + 1})
    add(list, name, nullptr, 0, fuse_fill_dir_flags());
  return 0;
}

int Open(const char*, fuse_file_info* info) {
  info->direct_io = 1;
  return (info->flags & O_ACCMODE) == O_RDONLY ? 0 : -EROFS;
}

int Read(const char*, char* buffer, size_t size, off_t offset, fuse_file_info*) {
  return g_disk->Read(buffer, size, static_cast<u64>(offset));
}

void OnSignal(int number) {
  g_signal = number;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: dying-disk PLAN FOLDER LOG\n");
    return 2;
  }
  Plan plan;
  if (!ReadPlan(argv[1], &plan)) return 1;
  FILE* log = fopen(argv[3], "a");
  if (log == nullptr) {
    fprintf(stderr, "%s: %s\n", argv[3], strerror(errno));
    return 1;
  }
  setvbuf(log, nullptr, _IOLBF, 0);
  Disk disk(std::move(plan), log);
  g_disk = &disk;

  prctl(PR_SET_TIMERSLACK, 1);
  struct sigaction action = {};
  action.sa_handler = OnSignal;
  sigaction(SIGUSR1, &action, nullptr);
  sigaction(SIGUSR2, &action, nullptr);

  fuse_operations operations = {};
  operations.getattr = GetAttributes;
  operations.readdir = ListFolder;
  operations.open = Open;
  operations.read = Read;
  char foreground[] = "-f", oneThread[] = "-s";
  char* arguments[] = {argv[0], foreground, oneThread, argv[2], nullptr};
  return fuse_main(4, arguments, &operations, nullptr);
}
