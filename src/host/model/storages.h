// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The host's open storages: the list that modules read and append to, and what the host alone knows
// of each. Used by one thread.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/model/open_storage.h"
#include "host/model/tree_rows.h"
#include "io/kvr_sparse_io.h"
#include "module/host_contract.h"

namespace larkspur::host {

// What a module's user chose in its dialog, as far as the host can see it.
struct MadeFrom {
  std::u16string cachePath;   // empty when not seen
  cBaseIO* source = nullptr;  // one of the host's storages; null for another device
};

// What a storage is read from, to be asked whether it is still there; empty when not known.
struct Watched {
  Owned<cBaseIO> io;
  std::shared_ptr<SourceTraffic> traffic;
  u64 sectors = 0;  // when it was opened
  std::u16string path;

  // Whether it is as large as it was. It asks its file; of a drive it is known after a failed read.
  bool IsThere() const;
  // For another thread; empty when that cannot be made.
  Watched Clone() const;
};

struct Storage {
  HostStorageNode* node = nullptr;
  StorageKind kind = StorageKind::kReadOnce;
  std::u16string path;   // of the file or device; of the cache for what a module made
  std::u16string title;  // for lists
  u64 sectors = 0;       // when it was opened
  std::vector<TreeRow> tree;
  Watched source;           // of an image or drive itself
  Owned<cKVRSparseIO> map;  // the host's own look at the cache; null when there is none to see
  bool mayBeRead = true;    // false of a drive that the user has not said this of

  cBaseIO* IO() const { return node->storage; }
  // A cache alone has no source to read what it lacks from.
  bool CanBeReadWhole() const { return mayBeRead && kind != StorageKind::kCache; }
};

// The storage once more, for another thread; null when it cannot be opened again.
Owned<cBaseIO> CloneOf(const Storage& storage);
// What is said when CloneOf has just answered null on this thread.
std::u16string NoCloneWords(const Storage& storage);

class cStorages final : public HostStorageList {
 public:
  cStorages();
  cStorages(const cStorages&) = delete;
  cStorages& operator=(const cStorages&) = delete;
  ~cStorages();

  void OnNodeAdded(HostStorageNode* node) override;

  size_t Count() const { return m_storages.size(); }
  Storage& At(size_t index) { return *m_storages[index]; }
  const Storage& At(size_t index) const { return *m_storages[index]; }
  // The storage with that object; null when it is closed by now.
  Storage* Find(const cBaseIO* io) const;

  // A storage's place in the list, and whether it was not open before.
  struct Taken {
    size_t index;
    bool isNew;
  };
  // Takes an opened storage, with the tree of its partitions. A drive is not read for that: a
  // failing one is to be read through a cache. None when there is not enough memory.
  std::optional<Taken> Add(OpenedStorage opened);

  // What no output may overwrite: the files and devices of all that is open.
  std::vector<std::u16string> Files() const;

  // Lets a drive be read as it stands, and reads its partitions.
  void LetRead(size_t index);

  // Completes the last storage, which a module has appended. It is closed again when it is the same
  // as an open one or its cache is that of an open one, which is then answered.
  Taken TakeMade(const MadeFrom& from);

  // Ends the storage with its tree. What was made from it lives on by its own clones.
  void Close(size_t index);

 private:
  bool AppendNode(cBaseIO* io);
  size_t IndexOfSame(const Storage& storage) const;

  std::vector<std::unique_ptr<Storage>> m_storages;  // in the list's order
};

}  // namespace larkspur::host
