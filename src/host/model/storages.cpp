// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/storages.h"

#include <algorithm>
#include <array>
#include <new>

#include "base/heap.h"
#include "host/model/words.h"
#include "imaging/cache.h"
#include "imaging/output_file.h"
#include "partitions/detection.h"
#include "platform/file.h"
#include "platform/system_error.h"

namespace larkspur::host {
namespace {

constexpr i32 kDescriptionCharacters = 256;

std::u16string FileName(const std::u16string& path) {
  const size_t slash = path.find_last_of(u"/\\");
  return slash == std::u16string::npos ? path : path.substr(slash + 1);
}

std::u16string DescriptionOf(cBaseIO* io) {
  std::array<char16_t, kDescriptionCharacters + 1> text{};
  if (!io->GetDescription(text.data(), kDescriptionCharacters)) return {};
  return text.data();
}

std::u16string TitleOf(const Storage& storage) {
  if (storage.kind == StorageKind::kDrive) return DescriptionOf(storage.IO());
  if (!storage.path.empty()) return FileName(storage.path);
  return DescriptionOf(storage.IO());
}

// The host's look at a cache; null when it is none, or another storage's.
Owned<cKVRSparseIO> LookAt(const std::u16string& cachePath, u64 sectors) {
  if (cachePath.empty()) return nullptr;
  auto cache = OpenCache(cachePath, CacheAccess::kLook, sectors);
  return cache ? std::move(cache->image) : nullptr;
}

bool IsSamePath(const std::u16string& one, const std::u16string& other) {
  return !one.empty() && !other.empty() &&
         (one == other || platform::AreSameFile(one.c_str(), other.c_str()));
}

}  // namespace

bool Watched::IsThere() const {
  return !io || (!(traffic && traffic->gone) && io->GetByteSize() >> kSectorShift >= sectors);
}

Watched Watched::Clone() const {
  return {Owned<cBaseIO>(io ? io->Clone() : nullptr), traffic, sectors, path};
}

Owned<cBaseIO> CloneOf(const Storage& storage) {
  platform::SetLastFailure(0);
  return Owned<cBaseIO>(storage.IO()->Clone());
}

std::u16string NoCloneWords(const Storage& storage) {
  const u32 systemError = platform::LastFailure();
  return Words(
      "{}\nIt cannot be opened again for reading{}\nIf its file or drive is gone, close it "
      "here, and open it again when that is back.",
      Utf8(storage.path.empty() ? storage.title : storage.path),
      systemError ? ":\n" + platform::FailureText(systemError) : ".");
}

cStorages::cStorages() {
  m_head = nullptr;
  m_tail = nullptr;
}

cStorages::~cStorages() {
  while (Count() > 0) Close(Count() - 1);
}

Storage* cStorages::Find(const cBaseIO* io) const {
  for (const auto& storage : m_storages) {
    if (io && storage->IO() == io) return storage.get();
  }
  return nullptr;
}

void cStorages::OnNodeAdded(HostStorageNode* node) {
  auto storage = std::make_unique<Storage>();
  storage->node = node;
  storage->sectors = node->storage->GetSectorCount();
  storage->tree = TreeRows(node->tree);
  storage->title = DescriptionOf(node->storage);
  m_storages.push_back(std::move(storage));
}

bool cStorages::AppendNode(cBaseIO* io) {
  void* const memory = HeapAllocate(sizeof(HostStorageNode));
  if (!memory) return false;
  HostStorageNode* const node = new (memory) HostStorageNode{io, nullptr, nullptr};
  (m_tail ? m_tail->next : m_head) = node;
  m_tail = node;
  OnNodeAdded(node);
  return true;
}

size_t cStorages::IndexOfSame(const Storage& storage) const {
  size_t index = 0;
  for (; index < Count(); ++index) {
    const Storage& other = At(index);
    if (&other == &storage) continue;
    const bool sharesCache = storage.kind == StorageKind::kReadOnce && other.kind == storage.kind &&
                             IsSamePath(storage.path, other.path);
    if (sharesCache || storage.IO()->IsSameAs(other.IO())) break;
  }
  return index;
}

std::optional<cStorages::Taken> cStorages::Add(OpenedStorage opened) {
  const size_t index = Count();
  for (size_t open = 0; open < index; ++open) {
    if (opened.io->IsSameAs(At(open).IO())) return Taken{open, false};
  }
  if (!AppendNode(opened.io.get())) return std::nullopt;
  Storage& storage = At(index);
  static_cast<void>(opened.io.release());  // the list's from now on
  storage.kind = opened.kind;
  storage.path = opened.path;
  storage.title = TitleOf(storage);
  storage.mayBeRead = false;
  if (storage.kind == StorageKind::kCache) {
    storage.map = LookAt(storage.path, storage.sectors);
  } else {
    storage.source = {Owned<cBaseIO>(storage.IO()->Clone()), opened.traffic, storage.sectors,
                      storage.path};
  }
  if (storage.kind != StorageKind::kDrive) LetRead(index);
  return Taken{index, true};
}

std::vector<std::u16string> cStorages::Files() const {
  std::vector<std::u16string> files;
  for (const auto& storage : m_storages) {
    files.insert(files.end(), {storage->path, storage->source.path});
    if (!storage->map) continue;
    for (std::u16string& file : FilesOfCache(storage->path)) files.push_back(std::move(file));
  }
  return files;
}

void cStorages::LetRead(size_t index) {
  Storage& storage = At(index);
  if (storage.mayBeRead) return;
  storage.mayBeRead = true;
  // A cache, which the host opened itself, is its own.
  cKVRSparseIO* const cache = storage.kind == StorageKind::kCache
                                  ? static_cast<cKVRSparseIO*>(storage.IO())
                                  : storage.map.get();
  TreeNotes notes;
  BuildPartitionTree(&storage.node->tree, storage.IO(), {.notes = &notes, .cache = cache});
  storage.tree = TreeRows(storage.node->tree, notes);
}

cStorages::Taken cStorages::TakeMade(const MadeFrom& from) {
  const size_t last = Count() - 1;
  Storage& made = At(last);
  if (!from.cachePath.empty()) made.path = platform::FullPath(from.cachePath.c_str());
  if (const size_t same = IndexOfSame(made); same < Count()) {
    Close(last);
    return {same, false};
  }
  if (const Storage* source = Find(from.source)) made.source = source->source.Clone();
  made.map = LookAt(made.path, made.sectors);
  if (!made.path.empty()) made.title = FileName(made.path) + u" " + made.title;
  return {last, true};
}

void cStorages::Close(size_t index) {
  const std::unique_ptr<Storage> storage = std::move(m_storages[index]);
  m_storages.erase(m_storages.begin() + static_cast<std::ptrdiff_t>(index));
  HostStorageNode* const node = storage->node;
  HostStorageNode* const before = index > 0 ? At(index - 1).node : nullptr;
  (before ? before->next : m_head) = node->next;
  if (m_tail == node) m_tail = before;
  DeleteTree(&node->tree);
  node->storage->Destroy(kFreeMemory);
  HeapRelease(node);
}

}  // namespace larkspur::host
