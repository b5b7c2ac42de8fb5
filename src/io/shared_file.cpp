// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

#include "io/shared_file.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <string>

namespace larkspur {
namespace {

struct Registry {
  cCriticalSection guard;
  std::map<std::u16string, cCriticalSection, std::less<>> sections;
  std::map<platform::FileIdentity, std::weak_ptr<SharedFile>> files;
};

// Not destroyed at the end of main, which an image may outlive.
std::atomic<Registry*> g_registry{nullptr};

Registry& TheRegistry() {
  Registry* registry = g_registry;
  if (registry) return *registry;
  auto made = std::make_unique<Registry>();
  // Another thread may have been faster.
  if (!g_registry.compare_exchange_strong(registry, made.get())) return *registry;
  return *made.release();
}

}  // namespace

cCriticalSection* FindPathLock(std::u16string_view path) {
  try {
    Registry& registry = TheRegistry();
    cSafeCriticalSectionAccess access(&registry.guard);
    const auto found = registry.sections.find(path);
    if (found != registry.sections.end()) return &found->second;
    return &registry.sections[std::u16string(path)];
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

std::shared_ptr<SharedFile> ShareFile(const std::optional<platform::FileIdentity>& identity) {
  try {
    if (!identity) return std::make_shared<SharedFile>();
    Registry& registry = TheRegistry();
    cSafeCriticalSectionAccess access(&registry.guard);
    if (const auto found = registry.files.find(*identity); found != registry.files.end()) {
      if (auto file = found->second.lock()) return file;
    }
    std::erase_if(registry.files, [](const auto& entry) { return entry.second.expired(); });
    auto file = std::make_shared<SharedFile>();
    registry.files[*identity] = file;
    return file;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void ReleasePathLocks() {
  delete g_registry.exchange(nullptr);
}

}  // namespace larkspur
